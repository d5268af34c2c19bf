#include "evaluation/Totals.h"

#include "ReportTestData.h"

namespace brovant {
namespace {

// List 2's trees must never count.
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

// The cases of data/reports.txt, each on a list of its own that no other case's trees reach.
TEST_F(TotalsTest, RowsAsShown)
{
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
