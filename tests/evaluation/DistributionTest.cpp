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

struct Case {
    const char* name;
    std::int64_t factor;
    std::vector<Tree> trees;
    QStringList all;                  // stems per class, all species
    std::vector<QStringList> species; // per species, in the totals screen's order
    QStringList volumes;              // corrected volume per class, all species
};

void PrintTo(const Case& c, std::ostream* os)
{
    *os << c.name;
}

class DistributionCases : public Distribution, public ::testing::WithParamInterface<Case> {};

TEST_P(DistributionCases, StemsPerClassAgreeWithTheTotals)
{
    const Case& c = GetParam();
    addClasses(10); // 08 .. 26
    addList(1, QStringLiteral("L1"), c.factor);
    addTrees(1, c.trees);
    // Another list's trees never count.
    addList(2, QStringLiteral("L2"), 100);
    addTrees(2, {{"FI", "10", 9, 900}, {"XX", "12", 1, 10}});

    const auto d = DiameterDistribution::compute(db(), 1, tables());
    ASSERT_TRUE(d.has_value());
    EXPECT_EQ(counts(*d, d->all()), c.all);
    ASSERT_EQ(d->species().size(), c.species.size());
    for (size_t i = 0; i < c.species.size(); ++i)
        EXPECT_EQ(counts(*d, d->species()[i]), c.species[i]) << i;
    QStringList volumes;
    for (size_t i = 0; i < d->classes().size(); ++i) {
        if (d->all().cells[i].count != 0 || d->all().cells[i].volume != 0)
            volumes << formatVolume(d->all().cells[i].volume);
    }
    EXPECT_EQ(volumes, c.volumes);

    // Species, stems and corrected volumes are the totals screen's.
    const auto totals = Totals::compute(db(), 1);
    ASSERT_TRUE(totals.has_value());
    ASSERT_EQ(totals->species().size(), d->species().size());
    for (size_t i = 0; i < d->species().size(); ++i) {
        EXPECT_EQ(d->species()[i].species, totals->species()[i].species);
        EXPECT_EQ(d->species()[i].count, totals->species()[i].count);
        EXPECT_EQ(d->species()[i].volume, totals->species()[i].volume);
    }
    EXPECT_EQ(d->all().count, totals->count());
    EXPECT_EQ(d->all().volume, totals->volume());
    EXPECT_EQ(d->factor(), c.factor);
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = {
        {"OneSpecies",
         100,
         {{"FI", "12", 1, 45}, {"FI", "12", 2, 90}, {"FI", "20", 1, 150}},
         {"12:3", "20:1"},
         {{"12:3", "20:1"}},
         {"1.35", "1.50"}},
        // Per record: 40 + 45 + 49, not 135 * 0.9.
        {"FactorTruncatesEachRecord",
         90,
         {{"FI", "12", 1, 45}, {"FI", "12", 1, 50}, {"FI", "12", 1, 55}},
         {"12:3"},
         {{"12:3"}},
         {"1.34"}},
        {"SpeciesInCodeOrderClassesInTableOrder",
         100,
         {{"TA", "26", 1, 300}, {"BU", "08", 2, 20}, {"FI", "14", 1, 60}, {"BU", "26", 1, 310}},
         {"08:2", "14:1", "26:2"},
         {{"08:2", "26:1"}, {"14:1"}, {"26:1"}},
         {"0.20", "0.60", "6.10"}},
        // Padded codes (list files) and typed ones are one species, as on the totals screen.
        {"PaddedSpeciesCodes",
         100,
         {{"FI ", "10", 1, 30}, {"FI", "10", 1, 30}},
         {"10:2"},
         {{"10:2"}},
         {"0.60"}},
        // A class the class rows do not hold, and a tree without a class, come after the known
        // ones, so no stem is lost.
        {"UnknownAndMissingClasses",
         100,
         {{"FI", "99", 1, 500}, {"FI", "", 1, 10}, {"FI", "08", 1, 5}},
         {"08:1", "–:1", "99:1"},
         {{"08:1", "–:1", "99:1"}},
         {"0.05", "0.10", "5.00"}},
        {"EmptyList", 100, {}, {}, {}, {}},
    };
    return all;
}

INSTANTIATE_TEST_SUITE_P(Lists, DistributionCases, ::testing::ValuesIn(cases()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Distribution, ChartsShowTheOccupiedClasses)
{
    addClasses(10); // 08 .. 26
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1,
             {{"KI", "12", 2, 40}, {"FI", "16", 3, 90}, {"KI", "18", 1, 50}, {"FI", "12", 1, 20}});
    const auto d = DiameterDistribution::compute(db(), 1, tables());
    ASSERT_TRUE(d.has_value());

    const struct {
        int species;
        QStringList labels;
        std::vector<std::int64_t> values;
    } charts[] = {
        // All species: from the first to the last class with stems, the empty one between kept.
        {-1, {"12", "14", "16", "18"}, {3, 0, 3, 1}},
        {0, {"12", "14", "16"}, {1, 0, 3}},
        {1, {"12", "14", "16", "18"}, {2, 0, 0, 1}},
        // An index past the species is all of them.
        {5, {"12", "14", "16", "18"}, {3, 0, 3, 1}},
    };
    for (const auto& c : charts) {
        const ReportChart chart = d->chart(c.species);
        EXPECT_EQ(chart.labels, c.labels) << c.species;
        ASSERT_EQ(chart.series.size(), 1u);
        EXPECT_EQ(chart.series[0].values, c.values) << c.species;
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
