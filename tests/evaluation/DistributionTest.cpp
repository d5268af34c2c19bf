#include "evaluation/DiameterDistribution.h"

#include "ReportTestData.h"
#include "evaluation/ReportAssortments.h"
#include "evaluation/Totals.h"

#include <numeric>

namespace brovant::test {
namespace {

using Distribution = ReportFixture;

// Stems per class as "code:count" for the classes that hold any, in class order.
QStringList counts(const DiameterDistribution& d, const DiameterDistribution::Series& s)
{
    QStringList out;
    for (size_t i = 0; i < d.classes().size(); ++i) {
        if (s.cells[i].count != 0 || s.cells[i].volume != 0)
            out << QStringLiteral("%1:%2").arg(d.classes()[i].label()).arg(s.cells[i].count);
    }
    return out;
}

// The cases of data/reports.txt, each on a list of its own.
TEST_F(Distribution, StemsPerClassAgreeWithTheTotals)
{
    addClasses(10); // 08 .. 26
    // Another list's trees never count.
    addList(2, QStringLiteral("L2"), 100);
    addTrees(2, {{"FI", "10", 9, 900}, {"XX", "12", 1, 10}});
    std::int64_t list = 10;
    for (const Case& c : casesOf("distribution")) {
        SCOPED_TRACE(c.where().constData());
        addList(++list, QStringLiteral("L1"), c.text(1).toInt());
        addTrees(list, treesOf(c.fields[2]));
        const auto d = DiameterDistribution::compute(db(), list, tables());
        ASSERT_TRUE(d.has_value());
        EXPECT_EQ(counts(*d, d->all()).join(u' '), c.text(3));
        QStringList species;
        for (const DiameterDistribution::Series& s : d->species())
            species << counts(*d, s).join(u' ');
        EXPECT_EQ(species.join(u'/'), c.text(4));
        QStringList volumes;
        for (size_t i = 0; i < d->classes().size(); ++i) {
            if (d->all().cells[i].count != 0 || d->all().cells[i].volume != 0)
                volumes << formatVolume(d->all().cells[i].volume);
        }
        EXPECT_EQ(volumes.join(u' '), c.text(5));

        // Species, stems and corrected volumes are the totals screen's.
        const auto totals = Totals::compute(db(), list);
        ASSERT_TRUE(totals.has_value());
        ASSERT_EQ(totals->species().size(), d->species().size());
        for (size_t i = 0; i < d->species().size(); ++i) {
            EXPECT_EQ(d->species()[i].species, totals->species()[i].species);
            EXPECT_EQ(d->species()[i].count, totals->species()[i].count);
            EXPECT_EQ(d->species()[i].volume, totals->species()[i].volume);
        }
        EXPECT_EQ(d->all().count, totals->count());
        EXPECT_EQ(d->all().volume, totals->volume());
        EXPECT_EQ(d->factor(), c.text(1).toInt());
    }
}

TEST_F(Distribution, ChartsShowTheOccupiedClasses)
{
    addClasses(10); // 08 .. 26
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1,
             {{"KI", "12", 2, 40}, {"FI", "16", 3, 90}, {"KI", "18", 1, 50}, {"FI", "12", 1, 20}});
    const auto d = DiameterDistribution::compute(db(), 1, tables());
    ASSERT_TRUE(d.has_value());

    for (const Case& c : casesOf("chart")) {
        const ReportChart chart = d->chart(c.text(1).toInt());
        ASSERT_EQ(chart.series.size(), 1u);
        QStringList values;
        for (const std::int64_t v : chart.series[0].values)
            values << QString::number(v);
        EXPECT_EQ(chart.labels.join(u' ') + u'/' + values.join(u' '), c.text(2))
            << c.where().constData();
    }

    const ReportChart stacked = d->stackedChart();
    EXPECT_EQ(stacked.labels, (QStringList{"12", "14", "16", "18"}));
    ASSERT_EQ(stacked.series.size(), 2u);
    EXPECT_EQ(stacked.series[0].name, QStringLiteral("FI"));
    EXPECT_EQ(stacked.series[0].values, (std::vector<std::int64_t>{1, 0, 3, 0}));
    EXPECT_EQ(stacked.series[1].values, (std::vector<std::int64_t>{2, 0, 0, 1}));
    EXPECT_EQ(stacked.total(0), 3);
    EXPECT_EQ(stacked.maximum(), 3);
}

// Every row of the totals view as "HA|Kub.|Stk|d-Kub.".
QStringList shown(const Totals& totals)
{
    QStringList out;
    for (const Totals::Row& row : totals.rows())
        out << QStringList(row.begin(), row.end()).join(u'|');
    return out;
}

using TotalsTest = ReportFixture;

// The cases of data/reports.txt, each on a list of its own that no other case's trees reach.
TEST_F(TotalsTest, RowsAsShown)
{
    // List 2's trees must never count.
    addList(2, QStringLiteral("L2"), 100);
    addTrees(2, {{"FI ", "", 7, 999}, {"AAA", "", 1, 50}, {"ZZZ", "", 2, 10}});
    std::int64_t list = 10;
    for (const test::Case& c : test::casesOf("totals") + test::casesOf("tallied")) {
        SCOPED_TRACE(c.where().constData());
        addList(++list, QStringLiteral("L1"), c.text(1).toInt());
        const std::vector<test::Tree> trees = test::treesOf(c.fields[2]);
        addTrees(list, trees);
        const auto totals = Totals::compute(db(), list,
                                            c.fields[0] == "tallied" ? Totals::Order::AsTallied
                                                                     : Totals::Order::BySpecies);
        ASSERT_TRUE(totals.has_value());
        EXPECT_EQ(shown(*totals), c.text(3).split(u';'));
        EXPECT_EQ(totals->factor(), c.text(1).toInt());
        EXPECT_EQ(hasTrees(db(), list), !trees.empty());
    }
    // Widths are minimums: large totals widen the cell, never cut it.
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1, std::vector<test::Tree>(102, {"FI", "", 99, 9999}));
    EXPECT_EQ(shown(*Totals::compute(db(), 1)),
              (QStringList{"FI|10198.98|10098| 1.01", "|||", "|10198.98|10098| 1.01"}));
}

// Trees without a list header, a list without trees, a closed database.
TEST_F(TotalsTest, ListWithoutHeaderTreesOrDatabase)
{
    addClasses(3);
    addTrees(3, {{"FI", "", 1, 45}});
    EXPECT_FALSE(Totals::compute(db(), 3).has_value());
    EXPECT_FALSE(Totals::compute(db(), 1).has_value());
    EXPECT_FALSE(DiameterDistribution::compute(db(), 4, tables()).has_value());
    EXPECT_TRUE(hasTrees(db(), 3));
    EXPECT_FALSE(hasTrees(db(), 1));
    addList(4, QStringLiteral("LEER"), 100);
    const auto d = DiameterDistribution::compute(db(), 4, tables());
    ASSERT_TRUE(d.has_value());
    EXPECT_EQ(d->classes().size(), 3u);
    EXPECT_TRUE(d->chart(-1).labels.isEmpty());
    EXPECT_EQ(d->chart(-1).maximum(), 0);
    addList(1, QStringLiteral("L1"), 100);
    db().close();
    EXPECT_FALSE(Totals::compute(db(), 1).has_value());
    EXPECT_FALSE(hasTrees(db(), 3));
}

using Parts = std::array<std::int64_t, AssortmentDistribution::kAssortments>;
using Exact = std::array<double, AssortmentDistribution::kAssortments>;

TEST(AssortmentSplit, PartsAddUpToTheTotal)
{
    for (const Case& c : casesOf("split")) {
        const std::int64_t total = c.fields[1].toLongLong();
        const QList<QByteArray> shares = c.fields[2].split(' ');
        Exact exact{};
        for (size_t i = 0; i < exact.size(); ++i)
            exact[i] = shares.value(qsizetype(i)).toDouble();
        const Parts parts = AssortmentDistribution::split(total, exact);
        QStringList written;
        for (const std::int64_t part : parts)
            written << QString::number(part);
        EXPECT_EQ(written.join(u' '), c.text(3)) << c.where().constData();
        EXPECT_EQ(std::accumulate(parts.begin(), parts.end(), std::int64_t(0)), total);
    }
}

using Assortments = ReportFixture;

TEST_F(Assortments, EachTreeSplitByItsSpeciesAndClassUnderTheSettingsNames)
{
    addClasses(5);
    // The first row of a pair wins; padded and unpadded codes are the same row.
    addAssortmentRow("FI ", "10", {1, 1, 0, 0, 0, 0});
    addAssortmentRow("FI", "10", {0, 0, 0, 0, 0, 9});
    addAssortmentRow("FI", "12", {0, 3, 1, 0, 0, 0});
    // Negative weights are no proportions: unsorted.
    addAssortmentRow("BU", "10", {5, -1, 0, 0, 0, 0});
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1, {{"FI", "10", 1, 50},
                 {"FI", "12", 2, 80},
                 {"FI", "14", 1, 33},
                 {"BU", "10", 1, 70},
                 {"FI ", "10", 1, 11}});
    addList(2, QStringLiteral("L2"), 100);
    addTrees(2, {{"FI", "10", 1, 999}});

    const auto d = AssortmentDistribution::compute(db(), 1);
    ASSERT_TRUE(d.has_value());
    ASSERT_EQ(d->species().size(), 2u);
    const auto& bu = d->species()[0];
    EXPECT_EQ(bu.species, QStringLiteral("BU"));
    EXPECT_EQ(bu.volumes, (Parts{}));
    EXPECT_EQ(bu.unsorted, 70);
    EXPECT_EQ(bu.volume, 70);
    // FI: 50 and 11 half and half (30.5 each), 80 as 60 : 20, 33 in class 14 without a row.
    const auto& fi = d->species()[1];
    EXPECT_EQ(fi.volumes, (Parts{31, 90, 20, 0, 0, 0}));
    EXPECT_EQ(fi.unsorted, 33);
    EXPECT_EQ(fi.volume, 174);

    const auto all = d->all();
    EXPECT_EQ(all.volumes, (Parts{31, 90, 20, 0, 0, 0}));
    EXPECT_EQ(all.unsorted, 103);
    EXPECT_EQ(all.volume, 244);

    EXPECT_FALSE(AssortmentDistribution::compute(db(), 9).has_value());

    setSorten({"ST", "AB", "", "IL"});
    EXPECT_EQ(AssortmentDistribution::name(tables(), 0), QStringLiteral("ST"));
    EXPECT_EQ(AssortmentDistribution::name(tables(), 2), QStringLiteral("Sorte 3"));
    EXPECT_EQ(AssortmentDistribution::name(tables(), 5), QStringLiteral("Sorte 6"));
}

} // namespace
} // namespace brovant::test
