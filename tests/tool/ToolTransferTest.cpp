// "brovant-tool mark", "export-lists" and "import-lists" on the demo configuration: lists made
// through the tool, marked, and office files read back as new lists. What export-lists writes and
// prints: FaultInjection (its retries) and ToolChannelsTest.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

class ToolTransfer : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "LEER"}), ""); }
    ToolRun run(const QStringList& args) { return tool(root.path(), args); }
    std::string marks()
    {
        return sqlRows(
                   root.host(QStringLiteral("Brovant/Brovant.cdb")),
                   "SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid")
            .join(u' ')
            .toStdString();
    }
    QStringList files(const char* folder)
    {
        return QDir(root.host(QString::fromLatin1(folder))).entryList(QDir::Files, QDir::Name);
    }

    TempRoot root;
};

TEST_F(ToolTransfer, MarkFlipsTheMarkOfOneList)
{
    expectCommands(QStringLiteral("tool/data/mark.txt"), root.path());
    EXPECT_EQ(marks(), "HIEB01|0|0 LEER|1|0");
}

TEST_F(ToolTransfer, ImportReadsTheOfficeFilesAsNewLists)
{
    const ToolRun empty = run({"import-lists"});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.out, QString());

    root.writeFile(QStringLiteral("Import/b.dat"),
                   officeHeader("NEU2") + "REGWR01    FI FI01 \r\n");
    root.writeFile(QStringLiteral("Import/A.DAT"),
                   officeHeader("NEU1") + "10A1     1FI  2626   0.59    FI01 \r\n");
    root.writeFile(QStringLiteral("Import/import.tmp"), "");
    const ToolRun r = run({"import-lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("NEU1\nNEU2\n"));
    EXPECT_EQ(r.err, QString());
    EXPECT_EQ(files("Import"), QStringList());
    // What each list becomes: ListFileImportTest; that the named lists are in the database whole:
    // the kill soak's import-lists runs.

    // A file the import refuses ends the run; the lists before it are named.
    root.writeFile(QStringLiteral("Import/a.dat"), officeHeader("DAVOR"));
    root.writeFile(QStringLiteral("Import/b.dat"), officeHeader("FALSCH", "T00299"));
    root.writeFile(QStringLiteral("Import/c.dat"), officeHeader("DANACH"));
    const ToolRun wrong = run({"import-lists"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.out, QStringLiteral("DAVOR\n"));
    EXPECT_EQ(wrong.err, QStringLiteral("Falsche Struktur der Liste!\n"));
    EXPECT_EQ(files("Import"), QStringList());
}

} // namespace
} // namespace brovant::test
