// "brovant-tool export-csv" on the demo configuration: a list tallied through the tool at factor
// 90 written as its spreadsheet file.
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

class ToolCsv : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "FLÄCHE", "AB"},
                             {"--date", "04.05.2026", "--factor", "90"}),
                  "");
        // A list named before names were checked: no file can carry it.
        ASSERT_EQ(sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                          "UPDATE Brov_Kopfdaten SET LISTE_NR = 'a/b' WHERE LISTE_NR = 'AB'"),
                  QStringList());
        const QStringList trees[] = {
            {"HIEB01", "--bhd", "40", "--species", "BU", "--tarif", "BU01"},
            {"FLÄCHE", "--bhd", "25", "--species", "FI", "--tarif", "FI01"},
        };
        for (const QStringList& tree : trees) {
            const ToolRun r = run(QStringList{"tally"} + tree);
            ASSERT_EQ(r.status, 0) << r.err.toStdString();
        }
    }
    ToolRun run(const QStringList& args) { return tool(root.path(), args); }
    QStringList headerRows()
    {
        return sqlRows(
            root.host(QStringLiteral("Brovant/Brovant.cdb")),
            "SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid");
    }

    TempRoot root;
};

TEST_F(ToolCsv, WritesTheListAndPrintsItsPath)
{
    const QStringList before = headerRows();
    const ToolRun r = run({"export-csv", "HIEB01  "});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("\\My Documents\\HIEB01.csv\n"));
    EXPECT_EQ(r.err, QString());
    // The file's columns: ListCsvExportTest. 1.75 at 90 %, truncated: 1.57.
    const QByteArray file = root.readFile(QStringLiteral("My Documents/HIEB01.csv"));
    EXPECT_TRUE(file.endsWith("\r\nHIEB01;1;BU;BU01;;;1;40;40;1,75;1,57;;04.05.2026;WR01;0,90\r\n"))
        << file.toStdString();
    EXPECT_EQ(headerRows(), before);
    EXPECT_EQ(QDir(root.host(QStringLiteral("My Documents"))).entryList(QDir::Files),
              QStringList{"HIEB01.csv"});
    // The export of the next send empties "\Export"; the spreadsheet file is not there.
    ASSERT_EQ(run({"mark", "HIEB01"}).status, 0);
    ASSERT_EQ(run({"export-lists"}).status, 0);
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/HIEB01.csv")), file);
}

TEST_F(ToolCsv, UmlautsRefusalsAndBadCalls)
{
    const ToolRun umlauts = run({"export-csv", "FLÄCHE"});
    EXPECT_EQ(umlauts.status, 0) << umlauts.err.toStdString();
    EXPECT_EQ(umlauts.out, QStringLiteral("\\My Documents\\FLÄCHE.csv\n"));
    EXPECT_TRUE(root.readFile(QStringLiteral("My Documents/FLÄCHE.csv"))
                    .endsWith(QStringLiteral("FLÄCHE;1;FI;FI01;;;1;26;26;0,59;0,53;;04.05.2026;"
                                             "WR01;0,90\r\n")
                                  .toUtf8()));

    const struct {
        QStringList args;
        int status;
        const char* err; // nullptr: any message
    } cases[] = {
        {{"export-csv", "a/b"}, 1, "Datei kann nicht erzeugt werden!\n"},
        {{"export-csv", "NOPE"}, 1, "Liste nicht gefunden: NOPE\n"},
        {{"export-csv"}, 2, nullptr},
        {{"export-csv", "HIEB01", "FLÄCHE"}, 2, nullptr},
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
    EXPECT_EQ(QDir(root.host(QStringLiteral("My Documents"))).entryList(QDir::Files),
              QStringList{QStringLiteral("FLÄCHE.csv")});
}

} // namespace
} // namespace brovant::test
