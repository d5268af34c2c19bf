// "brovant-tool export-csv" on the demo configuration: lists tallied through the tool at factor
// 90 written as their spreadsheet files.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {

TEST(ToolCsv, WritesTheListsPrintsTheirPathsAndRefusesBadCalls)
{
    TempRoot root;
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "FLÄCHE", "AB"},
                         {"--date", "04.05.2026", "--factor", "90"}),
              "");
    const QString database = root.host(QStringLiteral("Brovant/Brovant.cdb"));
    ASSERT_EQ(sqlRows(database, "UPDATE Brov_Kopfdaten SET LISTE_NR = 'a/b' WHERE LISTE_NR = 'AB'"),
              QStringList());
    const QStringList trees[] = {
        {"tally", "HIEB01", "--bhd", "40", "--species", "BU", "--tarif", "BU01"},
        {"tally", "FLÄCHE", "--bhd", "25", "--species", "FI", "--tarif", "FI01"},
    };
    for (const QStringList& tree : trees)
        ASSERT_EQ(failure(tool(root.path(), tree)), "");
    const QString headers = QStringLiteral(
        "SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid");
    const QStringList before = sqlRows(database, headers);

    expectCommands(QStringLiteral("tool/data/export_csv.txt"), root.path());
    // The file's columns: ListCsvExportTest. 1.75 at 90 %, truncated: 1.57.
    const QByteArray file = root.readFile(QStringLiteral("My Documents/HIEB01.csv"));
    EXPECT_TRUE(file.endsWith("\r\nHIEB01;1;BU;BU01;;;1;40;40;1,75;1,57;;04.05.2026;WR01;0,90\r\n"))
        << file.toStdString();
    EXPECT_TRUE(root.readFile(QStringLiteral("My Documents/FLÄCHE.csv"))
                    .endsWith(QStringLiteral("FLÄCHE;1;FI;FI01;;;1;26;26;0,59;0,53;;04.05.2026;"
                                             "WR01;0,90\r\n")
                                  .toUtf8()));
    EXPECT_EQ(sqlRows(database, headers), before);
    EXPECT_EQ(QDir(root.host(QStringLiteral("My Documents"))).entryList(QDir::Files, QDir::Name),
              (QStringList{QStringLiteral("FLÄCHE.csv"), QStringLiteral("HIEB01.csv")}));
    // The export of the next send empties "\Export"; the spreadsheet file is not there.
    ASSERT_EQ(failure(tool(root.path(), {"mark", "HIEB01"})), "");
    ASSERT_EQ(failure(tool(root.path(), {"export-lists"})), "");
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/HIEB01.csv")), file);
}

} // namespace brovant::test
