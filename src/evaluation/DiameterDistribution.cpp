#include "evaluation/DiameterDistribution.h"

#include "data/TreeRows.h"
#include "evaluation/ReportSources.h"
#include "masterdata/MasterTables.h"
#include "tally/Lookup.h"

#include <QHash>

#include <algorithm>

namespace brovant {
namespace {

void addTo(DiameterDistribution::Series& series, size_t cls, std::int64_t count,
           std::int64_t volume)
{
    series.cells[cls].count += count;
    series.cells[cls].volume += volume;
    series.count += count;
    series.volume += volume;
}

} // namespace

std::optional<DiameterDistribution> DiameterDistribution::compute(Database& db, std::int64_t listId,
                                                                  const MasterTables& tables)
{
    const auto factor = report::listFactor(db, listId);
    if (!factor)
        return std::nullopt;
    DiameterDistribution d;
    d.m_factor = *factor;

    // Classes by their formatted code, as the tally stored them.
    QHash<QString, size_t> classIndex;
    for (const MasterTables::DiameterClass& c : tables.classes) {
        const QString code = lookup::classCode(c.code);
        if (classIndex.contains(code))
            continue;
        classIndex.insert(code, d.m_classes.size());
        d.m_classes.push_back({withoutTrailingBlanks(c.code), c.diameter, true});
    }

    struct Tree {
        size_t species;
        QString classCode;
        std::int64_t count;
        std::int64_t volume;
    };
    std::vector<Tree> trees;
    QStringList unknownCodes;

    // The totals screen's query and grouping: codes in sorted order, padded and typed as one.
    size_t current = 0;
    const auto add = [&](const Database::Query& tree) {
        const QString code = withoutTrailingBlanks(tree.text(0));
        if (d.m_species.empty() || d.m_species[current].species != code) {
            const auto found = std::find_if(d.m_species.begin(), d.m_species.end(),
                                            [&](const Series& s) { return s.species == code; });
            current = size_t(found - d.m_species.begin());
            if (found == d.m_species.end())
                d.m_species.push_back({code, {}, 0, 0});
        }
        const QString cls = lookup::classCode(tree.text(3));
        if (!classIndex.contains(cls) && !unknownCodes.contains(cls))
            unknownCodes << cls;
        trees.push_back(
            {current, cls, tree.integer(1), lookup::correctedVolume(tree.integer(2), d.m_factor)});
        return true;
    };
    if (!TreeRows(db).scan(listId, TreeRows::Order::BySpecies,
                           {"BAUMART", "STK", "KUBATUR", "DMSTUFE"}, add))
        return std::nullopt;

    unknownCodes.sort();
    for (const QString& code : unknownCodes) {
        classIndex.insert(code, d.m_classes.size());
        d.m_classes.push_back({withoutTrailingBlanks(code), 0, false});
    }
    d.m_all.cells.resize(d.m_classes.size());
    for (Series& s : d.m_species)
        s.cells.resize(d.m_classes.size());
    for (const Tree& t : trees) {
        const size_t cls = classIndex.value(t.classCode);
        addTo(d.m_species[t.species], cls, t.count, t.volume);
        addTo(d.m_all, cls, t.count, t.volume);
    }
    return d;
}

std::pair<int, int> DiameterDistribution::occupied(const Series& series) const
{
    int first = -1;
    int last = -2;
    for (int i = 0; i < int(series.cells.size()); ++i) {
        if (series.cells[size_t(i)].count != 0) {
            if (first < 0)
                first = i;
            last = i;
        }
    }
    return {std::max(first, 0), last};
}

namespace {

ReportChart emptyChart(const QString& title)
{
    ReportChart chart;
    chart.title = title;
    chart.axisCaption = QStringLiteral("Stufe");
    chart.valueCaption = QStringLiteral("Stk");
    return chart;
}

} // namespace

ReportChart DiameterDistribution::chart(int species) const
{
    const bool all = species < 0 || size_t(species) >= m_species.size();
    const Series& series = all ? m_all : m_species[size_t(species)];
    ReportChart chart =
        emptyChart(all ? QStringLiteral("Stammzahl je Stufe, alle Holzarten")
                       : QStringLiteral("Stammzahl je Stufe, Holzart %1").arg(series.species));
    const auto [first, last] = occupied(series);
    ReportChart::Series bars{all ? QStringLiteral("alle") : series.species, {}};
    for (int i = first; i <= last; ++i) {
        chart.labels << m_classes[size_t(i)].label();
        bars.values.push_back(series.cells[size_t(i)].count);
    }
    chart.series.push_back(std::move(bars));
    return chart;
}

ReportChart DiameterDistribution::stackedChart() const
{
    ReportChart chart = emptyChart(QStringLiteral("Stammzahl je Stufe nach Holzarten"));
    const auto [first, last] = occupied(m_all);
    for (int i = first; i <= last; ++i)
        chart.labels << m_classes[size_t(i)].label();
    for (const Series& s : m_species) {
        ReportChart::Series bars{s.species, {}};
        for (int i = first; i <= last; ++i)
            bars.values.push_back(s.cells[size_t(i)].count);
        chart.series.push_back(std::move(bars));
    }
    return chart;
}

} // namespace brovant
