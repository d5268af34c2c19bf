#include "evaluation/Totals.h"

#include "data/ListStore.h"
#include "data/TreeRows.h"
#include "tally/Lookup.h"

#include <algorithm>

namespace brovant {
namespace {

std::optional<int> listFactor(Database& db, std::int64_t listId)
{
    const auto list = ListStore(db).byId(listId);
    if (!list)
        return std::nullopt;
    return int(list->number(u"KOR_FAKTOR_N"));
}

} // namespace

std::optional<Totals> Totals::compute(Database& db, std::int64_t listId, Order order)
{
    const auto factor = listFactor(db, listId);
    if (!factor)
        return std::nullopt;
    Totals totals;
    totals.m_factor = *factor;

    // The tally reads the trees in stored order.
    std::vector<SpeciesTotal>& species = totals.m_species;
    SpeciesTotal* current = nullptr;
    // Only the three columns summed.
    const TreeRows::Order treeOrder =
        order == Order::BySpecies ? TreeRows::Order::BySpecies : TreeRows::Order::Stored;
    const auto add = [&](const Database::Query& tree) {
        // Codes may come padded to the field's width (list files) or not (typed): one species.
        const QString code = withoutTrailingBlanks(tree.text(0));
        // Sorted by code, a record almost always belongs to the species of the one before.
        if (!current || current->species != code) {
            const auto found =
                std::find_if(species.begin(), species.end(),
                             [&](const SpeciesTotal& t) { return t.species == code; });
            if (found != species.end()) {
                current = &*found;
            } else {
                species.push_back({code, 0, 0});
                current = &species.back();
            }
        }
        current->count += tree.integer(1);
        current->volume += lookup::correctedVolume(tree.integer(2), totals.m_factor);
        return true;
    };
    if (!TreeRows(db).scan(listId, treeOrder, {"BAUMART", "STK", "KUBATUR"}, add))
        return std::nullopt;
    for (const SpeciesTotal& t : species) {
        totals.m_count += t.count;
        totals.m_volume += t.volume;
    }
    return totals;
}

Totals::Row Totals::cells(const QString& code, std::int64_t volume, std::int64_t count)
{
    // No trees, no mean: shown as 0 rather than divided by zero.
    // The quotient in single precision, as the device computes it: its cells are what the
    // office knows.
    const double mean = count == 0 ? 0.0 : double(float(volume) / float(count)) / 100.0 + 0.001;
    return {code, QString::asprintf("%7.2f", double(volume) / 100.0),
            QString::asprintf("%4lld", static_cast<long long>(count)),
            QString::asprintf("%5.2f", mean)};
}

std::vector<Totals::Row> Totals::rows() const
{
    std::vector<Row> out;
    out.reserve(m_species.size() + 2);
    for (const SpeciesTotal& t : m_species)
        out.push_back(cells(t.species, t.volume, t.count));
    out.push_back(Row{});
    out.push_back(cells(QString(), m_volume, m_count));
    return out;
}

bool hasTrees(Database& db, std::int64_t listId)
{
    return TreeRows(db).any(listId);
}

} // namespace brovant
