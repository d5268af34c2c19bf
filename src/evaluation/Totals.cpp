#include "evaluation/Totals.h"

#include "data/Database.h"
#include "data/FieldDescriptor.h"
#include "data/Schema.h"
#include "tally/Lookup.h"

#include <algorithm>

namespace brovant {
namespace {

QLatin1StringView tableName(const TableDescriptor& table)
{
    return QLatin1StringView(table.name);
}

// A number field as the record reads it: empty is 0, text holds digits.
std::int64_t numberOf(const FieldValue& value)
{
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return *n;
    if (const auto* s = std::get_if<QString>(&value))
        return s->trimmed().toLongLong();
    return 0;
}

std::optional<int> listFactor(Database& db, std::int64_t listId)
{
    auto q = db.query(QStringLiteral("SELECT KOR_FAKTOR_N FROM %1 WHERE ID_FILE = ? ORDER BY rowid"
                                     " LIMIT 1")
                          .arg(tableName(schema::Kopfdaten)));
    q.bind(1, listId);
    if (!q.next())
        return std::nullopt;
    return int(numberOf(q.value(0)));
}

} // namespace

std::optional<Totals> Totals::compute(Database& db, std::int64_t listId, Order order)
{
    const auto factor = listFactor(db, listId);
    if (!factor)
        return std::nullopt;
    Totals totals;
    totals.m_factor = *factor;

    // Only the three columns summed; the ID_FILE index finds the list's rows. The tally reads
    // them in rowid order.
    auto q = db.query(QStringLiteral("SELECT BAUMART, STK, KUBATUR FROM %1 WHERE ID_FILE = ?"
                                     " ORDER BY %2")
                          .arg(tableName(schema::Holzdaten), order == Order::BySpecies
                                                                 ? QStringLiteral("BAUMART")
                                                                 : QStringLiteral("rowid")));
    if (!q.valid())
        return std::nullopt;
    q.bind(1, listId);
    std::vector<SpeciesTotal>& species = totals.m_species;
    SpeciesTotal* current = nullptr;
    while (q.next()) {
        // Codes may come padded to the field's width (list files) or not (typed): one species.
        const QString code = withoutTrailingBlanks(q.text(0));
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
        current->count += q.integer(1);
        current->volume += lookup::correctedVolume(q.integer(2), totals.m_factor);
    }
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
    auto q = db.query(QStringLiteral("SELECT 1 FROM %1 WHERE ID_FILE = ? LIMIT 1")
                          .arg(tableName(schema::Holzdaten)));
    q.bind(1, listId);
    return q.next();
}

} // namespace brovant
