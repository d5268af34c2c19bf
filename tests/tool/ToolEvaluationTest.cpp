// "brovant-tool tally" and "brovant-tool totals" on the demo configuration: trees saved through
// the tally's checks, refused ones leaving the list as it was, and the totals screen's rows.
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

class ToolEvaluation : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Correction factor 90, so the totals show each record truncated on its own.
        ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}, {"--factor", "90"}), "");
        ASSERT_EQ(newList(root.path(), "LEER"), "");
    }
    ToolRun run(const QStringList& args) { return tool(root.path(), args); }
    QStringList trees()
    {
        return sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                       "SELECT ID_FILE, ID, BAUMART, TARIF, STK, BHD, DMSTUFE, KUBATUR"
                       " FROM Brov_Holzdaten ORDER BY rowid");
    }

    TempRoot root;
};

TEST_F(ToolEvaluation, TalliedTreesShowInTheTotals)
{
    const struct {
        QStringList args;
        const char* out;
    } saves[] = {
        // 25 cm falls in class 26: FI01 gives 0.59 m3 a tree.
        {{"tally", "HIEB01", "--bhd", "25", "--species", "FI", "--tarif", "FI01"},
         "ID=1\nID_TYPE=1\nTARIF=FI01\nBAUMART=FI\nNA=\nKA=\nSTK=1\nBHD=26\nDMSTUFE=26\n"
         "KUBATUR=0.59\n"},
        // Without --tarif the species keeps the tariff of its latest tree in the list.
        {{"tally", "HIEB01", "--bhd", "25", "--species", "FI"},
         "ID=2\nID_TYPE=1\nTARIF=FI01\nBAUMART=FI\nNA=\nKA=\nSTK=1\nBHD=26\nDMSTUFE=26\n"
         "KUBATUR=0.59\n"},
    };
    for (const auto& s : saves) {
        const ToolRun r = run(s.args);
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, QString::fromLatin1(s.out));
        EXPECT_EQ(r.err, QString());
    }
    EXPECT_EQ(trees(), (QStringList{"1|1|FI|FI01|1|26|26|59", "1|2|FI|FI01|1|26|26|59"}));

    // 53 + 53 (59 at 90 %, each truncated); the name matches without its padding. How the rows
    // are made: TotalsTest.
    const QString rows = QStringLiteral("FI|   1.06|   2| 0.53\n"
                                        "|||\n"
                                        "|   1.06|   2| 0.53\n");
    for (const char* name : {"HIEB01", "HIEB01  "}) {
        const ToolRun r = run({"totals", name});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, rows) << name;
    }
    const ToolRun empty = run({"totals", "LEER"});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.out, QStringLiteral("|||\n|   0.00|   0| 0.00\n"));
}

TEST_F(ToolEvaluation, RefusedTreesAndBadCalls)
{
    ASSERT_EQ(run({"tally", "HIEB01", "--bhd", "25", "--species", "FI", "--tarif", "FI01"}).status,
              0);
    const QStringList before = trees();
    ASSERT_EQ(before.size(), 1);

    const struct {
        QStringList args;
        int status;
        const char* err; // nullptr: any message
    } cases[] = {
        // The tally's own checks (TallyLogicTest) say their message this way.
        {{"tally", "HIEB01", "--bhd", "25", "--species", "FI", "--tarif", "XX01"},
         1,
         "Keine Kubatur vorhanden,\nbitte Stammdaten korrigieren!\n"},
        {{"tally", "NOPE", "--bhd", "25", "--species", "FI", "--tarif", "FI01"},
         1,
         "Liste nicht gefunden: NOPE\n"},
        {{"totals", "NOPE"}, 1, "Liste nicht gefunden: NOPE\n"},
        {{"tally", "HIEB01", "--species", "FI"}, 2, "tally: --bhd fehlt\n"},
        {{"tally", "HIEB01", "--bhd", "2x"}, 2, "Ungültige Zahl für --bhd: 2x\n"},
        {{"tally", "HIEB01", "--bhd", "25", "--stk", ""}, 2, "Ungültige Zahl für --stk: \n"},
        {{"totals"}, 2, nullptr},
    };
    for (const auto& c : cases) {
        const ToolRun r = run(c.args);
        const std::string call = c.args.join(u' ').toStdString();
        EXPECT_EQ(r.status, c.status) << call;
        EXPECT_EQ(r.out, QString()) << call;
        if (c.err)
            EXPECT_EQ(r.err, QString::fromUtf8(c.err)) << call;
        else
            EXPECT_FALSE(r.err.isEmpty()) << call;
    }
    EXPECT_EQ(trees(), before);
}

} // namespace
} // namespace brovant::test
