#include "evaluation/Totals.h"

#include "ReportTestData.h"

namespace brovant {
namespace {

// List 1 is the list totalled; list 2's trees must never count.
class TotalsTest : public test::ReportFixture {
protected:
    void SetUp() override
    {
        ReportFixture::SetUp();
        addList(2, QStringLiteral("L2"), 100);
        addTrees(2, {{"FI ", "", 7, 999}, {"AAA", "", 1, 50}, {"ZZZ", "", 2, 10}});
    }
    // Every row of the view as "HA|Kub.|Stk|d-Kub.".
    static QStringList shown(const Totals& totals)
    {
        QStringList out;
        for (const Totals::Row& row : totals.rows())
            out << QStringList(row.begin(), row.end()).join(u'|');
        return out;
    }
};

struct Case {
    const char* name;
    std::int64_t factor;
    std::vector<test::Tree> trees; // in the order they were tallied
    QStringList rows;
};

void PrintTo(const Case& c, std::ostream* os)
{
    *os << c.name;
}

const std::vector<Case>& cases()
{
    static const std::vector<Case> all = {
        {"ThreeSpruces",
         100,
         {{"FI", "", 1, 45}, {"FI", "", 1, 50}, {"FI", "", 1, 55}},
         {"FI|   1.50|   3| 0.50", "|||", "|   1.50|   3| 0.50"}},
        // 40 + 45 + 49: each record truncated before summing, not 1.35.
        {"FactorTruncatesEachRecord",
         90,
         {{"FI", "", 1, 45}, {"FI", "", 1, 50}, {"FI", "", 1, 55}},
         {"FI|   1.34|   3| 0.45", "|||", "|   1.34|   3| 0.45"}},
        {"FactorOnOneRecord",
         95,
         {{"TA", "", 1, 135}},
         {"TA|   1.28|   1| 1.28", "|||", "|   1.28|   1| 1.28"}},
        // Stored in tally order, shown in code order; the grand total spans them all.
        {"SpeciesInCodeOrder",
         100,
         {{"TA", "", 1, 120},
          {"FI", "", 2, 80},
          {"BU", "", 1, 200},
          {"FI", "", 1, 45},
          {"KI", "", 3, 300},
          {"TA", "", 1, 130}},
         {"BU|   2.00|   1| 2.00", "FI|   1.25|   3| 0.42", "KI|   3.00|   3| 1.00",
          "TA|   2.50|   2| 1.25", "|||", "|   8.75|   9| 0.97"}},
        // A code padded to its field's width (from a list file) is the same species as a
        // typed one; case still tells species apart.
        {"PaddedCodesAreOneSpecies",
         100,
         {{"FI ", "", 1, 10}, {"FI", "", 1, 20}, {"FI ", "", 1, 30}, {"fi", "", 1, 5}},
         {"FI|   0.60|   3| 0.20", "fi|   0.05|   1| 0.05", "|||", "|   0.65|   4| 0.16"}},
        // The mean's quotient in single precision: 42 / 5 lands just below 8.4.
        {"MeanInSinglePrecision",
         100,
         {{"FI", "", 5, 42}},
         {"FI|   0.42|   5| 0.08", "|||", "|   0.42|   5| 0.08"}},
        // A species with no trees counted shows its volume and a mean of 0.
        {"CountZeroGuarded",
         100,
         {{"EI", "", 0, 50}, {"FI", "", 1, 100}},
         {"EI|   0.50|   0| 0.00", "FI|   1.00|   1| 1.00", "|||", "|   1.50|   1| 1.50"}},
        {"AllCountsZero",
         100,
         {{"EI", "", 0, 0}},
         {"EI|   0.00|   0| 0.00", "|||", "|   0.00|   0| 0.00"}},
        // 0.015 lies just below its half in binary; the added thousandth rounds it up.
        {"HalfHundredthRoundsUp",
         100,
         {{"FI", "", 2, 3}},
         {"FI|   0.03|   2| 0.02", "|||", "|   0.03|   2| 0.02"}},
        // Widths are minimums: large totals widen the cell, never cut it.
        {"LargeTotalsWiden",
         100,
         std::vector<test::Tree>(102, {"FI", "", 99, 9999}),
         {"FI|10198.98|10098| 1.01", "|||", "|10198.98|10098| 1.01"}},
        {"EmptyList", 100, {}, {"|||", "|   0.00|   0| 0.00"}},
    };
    return all;
}

class TotalsCases : public TotalsTest, public ::testing::WithParamInterface<Case> {};

TEST_P(TotalsCases, RowsAsShown)
{
    const Case& c = GetParam();
    addList(1, QStringLiteral("L1"), c.factor);
    addTrees(1, c.trees);
    const auto totals = Totals::compute(db(), 1);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(shown(*totals), c.rows);
    EXPECT_EQ(totals->factor(), c.factor);
    EXPECT_EQ(hasTrees(db(), 1), !c.trees.empty());
}

INSTANTIATE_TEST_SUITE_P(Lists, TotalsCases, ::testing::ValuesIn(cases()),
                         [](const auto& info) { return std::string(info.param.name); });

// As the tally holds them ("BHD/Stufe"): species in the order they were first tallied.
TEST_F(TotalsTest, AsTalliedKeepsTheOrderOfFirstTally)
{
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1, {{"TA", "", 1, 120}, {"FI", "", 2, 80}, {"BU", "", 1, 200}, {"FI", "", 1, 45}});
    const auto totals = Totals::compute(db(), 1, Totals::Order::AsTallied);
    ASSERT_TRUE(totals.has_value());
    EXPECT_EQ(shown(*totals), (QStringList{"TA|   1.20|   1| 1.20", "FI|   1.25|   3| 0.42",
                                           "BU|   2.00|   1| 2.00", "|||", "|   4.45|   5| 0.89"}));
}

TEST_F(TotalsTest, ListWithoutHeaderOrDatabaseHasNoTotals)
{
    addTrees(3, {{"FI", "", 1, 45}});
    EXPECT_FALSE(Totals::compute(db(), 3).has_value());
    EXPECT_FALSE(Totals::compute(db(), 1).has_value());
    EXPECT_TRUE(hasTrees(db(), 3));
    EXPECT_FALSE(hasTrees(db(), 1));
    addList(1, QStringLiteral("L1"), 100);
    db().close();
    EXPECT_FALSE(Totals::compute(db(), 1).has_value());
    EXPECT_FALSE(hasTrees(db(), 2));
}

} // namespace
} // namespace brovant
