#include "evaluation/DiameterDistribution.h"

#include "ReportTestData.h"
#include "evaluation/Totals.h"

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

TEST_F(Distribution, ListWithoutHeaderOrTrees)
{
    addClasses(3);
    EXPECT_FALSE(DiameterDistribution::compute(db(), 4, tables()).has_value());
    addList(4, QStringLiteral("LEER"), 100);
    const auto d = DiameterDistribution::compute(db(), 4, tables());
    ASSERT_TRUE(d.has_value());
    EXPECT_EQ(d->classes().size(), 3u);
    EXPECT_TRUE(d->chart(-1).labels.isEmpty());
    EXPECT_EQ(d->chart(-1).maximum(), 0);
}

} // namespace
} // namespace brovant::test
