// "brovant-tool mark", "export-lists" and "import-lists" on the demo configuration: a list tallied
// through the tool, marked, written as its list file, and office files read back as new lists.
#include "support/TempRoot.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

class ToolTransfer : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "LEER"}), "");
        for (const char* bhd : {"25", "40"}) {
            const ToolRun r =
                run({"tally", "HIEB01", "--bhd", bhd, "--species", "FI", "--tarif", "FI01"});
            ASSERT_EQ(r.status, 0) << r.err.toStdString();
        }
    }
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
    const struct {
        QStringList args;
        int status;
        const char* out;
        const char* err;
    } steps[] = {
        {{"mark", "HIEB01"}, 0, "1\n", ""},
        {{"mark", "LEER    "}, 0, "1\n", ""},
        {{"mark", "HIEB01"}, 0, "0\n", ""},
        {{"mark", "NOPE"}, 1, "", "Liste nicht gefunden: NOPE\n"},
        {{"mark"}, 2, "", nullptr},
    };
    for (const auto& s : steps) {
        const ToolRun r = run(s.args);
        const std::string call = s.args.join(u' ').toStdString();
        EXPECT_EQ(r.status, s.status) << call;
        EXPECT_EQ(r.out, QString::fromUtf8(s.out)) << call;
        if (s.err) {
            EXPECT_EQ(r.err, QString::fromUtf8(s.err)) << call;
        }
    }
    EXPECT_EQ(marks(), "HIEB01|0|0 LEER|1|0");
}

TEST_F(ToolTransfer, ExportWritesTheMarkedListsAndKeepsTheirMarks)
{
    const ToolRun none = run({"export-lists"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, QString());
    EXPECT_EQ(none.err, QString::fromUtf8("Keine Liste für DÜ markiert!\n"));

    root.writeFile(QStringLiteral("Export/ALT.DAT"), "from an earlier export");
    ASSERT_EQ(run({"mark", "HIEB01"}).status, 0);
    ASSERT_EQ(run({"mark", "LEER"}).status, 0);
    const ToolRun r = run({"export-lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("HIEB01  .DAT\nLEER    .DAT\n"));
    EXPECT_EQ(r.err, QString());
    EXPECT_EQ(files("Export"), (QStringList{"HIEB01  .DAT", "LEER    .DAT"}));
    EXPECT_EQ(marks(), "HIEB01|1|0 LEER|1|0");

    const QList<QByteArray> lines =
        root.readFile(QStringLiteral("Export/HIEB01  .DAT")).split('\n');
    // The file's layout is ListFileExport's (ListFileExportTest); here the list in it.
    EXPECT_EQ(lines.value(0), QByteArray("TD0HIEB01  .DATQuendrax     0Brovant_V300_D\r"));
    EXPECT_TRUE(lines.contains("10A      1FI  2626   0.59    FI01 \r"));
}

TEST_F(ToolTransfer, ImportReadsTheOfficeFilesAsNewLists)
{
    const auto line001 = [](const char* number, const char* tag) {
        return QByteArray("001") + QByteArray(number).leftJustified(8, ' ')
               + QByteArray("Liste:").leftJustified(20, ' ') + "04.05.2026"
               + QByteArray("Datum:").leftJustified(20, ' ') + "1.00"
               + QByteArray("Faktor:").leftJustified(20, ' ') + "WR01    " + tag + "\r\n";
    };
    const ToolRun empty = run({"import-lists"});
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.out, QString());

    root.writeFile(QStringLiteral("Import/b.dat"),
                   line001("NEU2", "T00300") + "REGWR01    FI FI01 \r\n");
    root.writeFile(QStringLiteral("Import/A.DAT"),
                   line001("NEU1", "T00300") + "10A1     1FI  2626   0.59    FI01 \r\n");
    root.writeFile(QStringLiteral("Import/import.tmp"), "");
    const ToolRun r = run({"import-lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("NEU1\nNEU2\n"));
    EXPECT_EQ(r.err, QString());
    EXPECT_EQ(files("Import"), QStringList());
    // The tool's lists are 1 and 2; the office's follow the last one.
    EXPECT_EQ(sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                      "SELECT h.ID_FILE, h.LISTE_NR, COUNT(t.ID), h.DUE_MARK FROM Brov_Kopfdaten h "
                      "LEFT JOIN Brov_Holzdaten t ON t.ID_FILE = h.ID_FILE GROUP BY h.rowid "
                      "ORDER BY h.rowid")
                  .join(u' ')
                  .toStdString(),
              "1|HIEB01|2|0 2|LEER|0|0 3|NEU1    |1|0 4|NEU2    |0|0");

    // The device's own file carries its "001" in the device's layout: a wrong structure.
    ASSERT_EQ(run({"mark", "HIEB01"}).status, 0);
    ASSERT_EQ(run({"export-lists"}).status, 0);
    root.writeFile(QStringLiteral("Import/a.dat"), line001("DAVOR", "T00300"));
    root.writeFile(QStringLiteral("Import/b.dat"),
                   root.readFile(QStringLiteral("Export/HIEB01  .DAT")));
    root.writeFile(QStringLiteral("Import/c.dat"), line001("DANACH", "T00300"));
    const ToolRun wrong = run({"import-lists"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.out, QStringLiteral("DAVOR\n"));
    EXPECT_EQ(wrong.err, QStringLiteral("Falsche Struktur der Liste!\n"));
    EXPECT_EQ(files("Import"), QStringList());
}

} // namespace
} // namespace brovant::test
