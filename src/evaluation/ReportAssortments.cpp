#include "evaluation/ReportAssortments.h"

#include "data/MasterRows.h"
#include "data/Schema.h"
#include "data/TreeRows.h"
#include "evaluation/ReportSources.h"
#include "masterdata/MasterTables.h"
#include "tally/Lookup.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace brovant {
namespace {

QString rowKey(const QString& species, const QString& diameterClass)
{
    return lookup::speciesCode(species) + QChar(0x1f) + lookup::classCode(diameterClass);
}

using Weights = std::array<std::int64_t, AssortmentDistribution::kAssortments>;

// HS1 .. HS6 by species and class; the first row of a pair in table order wins.
QHash<QString, Weights> assortmentRows(Database& db)
{
    QHash<QString, Weights> rows;
    for (const TableRow& row :
         MasterRows(db).ofType(schema::SpeciesVolumeRow, MasterRows::Order::Stored)) {
        const QString key = rowKey(row.text(u"BAUMART"), row.text(u"DMSTUFE"));
        if (rows.contains(key))
            continue;
        Weights w{};
        for (int k = 0; k < AssortmentDistribution::kAssortments; ++k)
            w[size_t(k)] = row.number(QStringLiteral("HS%1").arg(k + 1));
        rows.insert(key, w);
    }
    return rows;
}

} // namespace

std::array<std::int64_t, AssortmentDistribution::kAssortments>
AssortmentDistribution::split(std::int64_t total, const std::array<double, kAssortments>& exact)
{
    std::array<std::int64_t, kAssortments> parts{};
    std::array<int, kAssortments> order{};
    std::int64_t given = 0;
    for (int k = 0; k < kAssortments; ++k) {
        parts[size_t(k)] = std::int64_t(std::floor(exact[size_t(k)]));
        given += parts[size_t(k)];
        order[size_t(k)] = k;
    }
    const auto fraction = [&](int k) {
        return exact[size_t(k)] - std::floor(exact[size_t(k)]);
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return fraction(a) > fraction(b); });
    // The floors never add up to more than the total; rounding noise never leaves more than one
    // spare hundredth a part.
    for (std::int64_t spare = total - given, i = 0; spare > 0; --spare, ++i)
        ++parts[size_t(order[size_t(i % kAssortments)])];
    return parts;
}

std::optional<AssortmentDistribution> AssortmentDistribution::compute(Database& db,
                                                                      std::int64_t listId)
{
    const auto factor = report::listFactor(db, listId);
    if (!factor)
        return std::nullopt;
    const QHash<QString, Weights> rows = assortmentRows(db);

    AssortmentDistribution d;
    std::vector<std::array<double, kAssortments>> exact;
    std::vector<std::int64_t> sorted;
    size_t current = 0;
    const auto add = [&](const Database::Query& tree) {
        const QString code = withoutTrailingBlanks(tree.text(0));
        if (d.m_species.empty() || d.m_species[current].species != code) {
            const auto found = std::find_if(d.m_species.begin(), d.m_species.end(),
                                            [&](const Species& s) { return s.species == code; });
            current = size_t(found - d.m_species.begin());
            if (found == d.m_species.end()) {
                d.m_species.push_back({code, {}, 0, 0});
                exact.push_back({});
                sorted.push_back(0);
            }
        }
        const std::int64_t volume = lookup::correctedVolume(tree.integer(1), *factor);
        Species& s = d.m_species[current];
        s.volume += volume;
        const auto row = rows.constFind(rowKey(code, tree.text(2)));
        const std::int64_t weight =
            row == rows.constEnd() ? 0 : std::accumulate(row->begin(), row->end(), std::int64_t(0));
        if (weight <= 0 || std::any_of(row->begin(), row->end(), [](auto w) { return w < 0; })) {
            s.unsorted += volume;
            return true;
        }
        for (int k = 0; k < kAssortments; ++k)
            exact[current][size_t(k)] +=
                double(volume) * double((*row)[size_t(k)]) / double(weight);
        sorted[current] += volume;
        return true;
    };
    if (!TreeRows(db).scan(listId, TreeRows::Order::BySpecies, {"BAUMART", "KUBATUR", "DMSTUFE"},
                           add))
        return std::nullopt;
    for (size_t i = 0; i < d.m_species.size(); ++i)
        d.m_species[i].volumes = split(sorted[i], exact[i]);
    return d;
}

AssortmentDistribution::Species AssortmentDistribution::all() const
{
    Species sum;
    for (const Species& s : m_species) {
        for (int k = 0; k < kAssortments; ++k)
            sum.volumes[size_t(k)] += s.volumes[size_t(k)];
        sum.unsorted += s.unsorted;
        sum.volume += s.volume;
    }
    return sum;
}

QString AssortmentDistribution::name(const MasterTables& tables, int k)
{
    const QString code =
        k >= 0 && k < kAssortments ? tables.sorten[size_t(k)].trimmed() : QString();
    return code.isEmpty() ? QStringLiteral("Sorte %1").arg(k + 1) : code;
}

} // namespace brovant
