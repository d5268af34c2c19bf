// A list as a spreadsheet file, compared byte for byte with data/list_umlauts.csv, written by hand
// from the rows of data/list_umlauts.sql: byte order mark, umlauts in the list number, codes and
// texts, an addition with a semicolon and quotes, factor 0.90 truncated per record (0.59 -> 0.53,
// 0.01 -> 0.00), codes and the list number stored blank-padded, empty fields as empty cells, trees
// in table order, the trees of another list left out. The file goes to the printer folder, "\My
// Documents" unless set.
#include "transfer/ListFileFixture.h"

#include "masterdata/SettingsStore.h"
#include "transfer/ListCsvExport.h"
#include "transfer/ListFileExport.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

class ListCsvExportTest : public ListFileFixture {
protected:
    ListCsvExport exporter()
    {
        return ListCsvExport(session->root(), db(), session->store(), dialogs);
    }
};

TEST_F(ListCsvExportTest, WritesTheGoldenFile)
{
    ASSERT_NO_FATAL_FAILURE(rowsFrom("list_umlauts.sql"));
    EXPECT_EQ(exporter().filePath(3), QStringLiteral("\\My Documents\\HÖHE 7.csv"));
    EXPECT_EQ(exporter().write(3),
              std::optional<QString>(QStringLiteral("\\My Documents\\HÖHE 7.csv")));
    EXPECT_EQ(filesIn("My Documents"), QStringList{QStringLiteral("HÖHE 7.csv")});
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/HÖHE 7.csv")), golden("list_umlauts.csv"));
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

TEST_F(ListCsvExportTest, LeavesTheListFileAndTheMarkingAlone)
{
    ASSERT_NO_FATAL_FAILURE(rowsFrom("list_umlauts.sql"));
    ListFileExport listFiles(session->root(), db(), session->store(), dialogs);
    ASSERT_TRUE(listFiles.writeList(3));
    const QString datName = listFiles.filePath(3).section(u'\\', -1);
    const QByteArray dat = root.readFile(QStringLiteral("Export/") + datName);
    ASSERT_FALSE(dat.isEmpty());
    const QStringList before = rows(QStringLiteral(
        "SELECT ID_FILE, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid"));

    ASSERT_TRUE(exporter().write(3));
    // Written again after a change: the new file replaces the old one.
    ASSERT_TRUE(db().query(QStringLiteral("UPDATE Brov_Holzdaten SET STK = 3 WHERE ID = 8")).run());
    ASSERT_TRUE(exporter().write(3));

    EXPECT_EQ(filesIn("Export"), QStringList{datName});
    EXPECT_EQ(filesIn("My Documents"), QStringList{QStringLiteral("HÖHE 7.csv")});
    EXPECT_EQ(root.readFile(QStringLiteral("Export/") + datName), dat);
    EXPECT_EQ(rows(QStringLiteral(
                  "SELECT ID_FILE, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid")),
              before);
    const QByteArray csv = root.readFile(QStringLiteral("My Documents/HÖHE 7.csv"));
    EXPECT_TRUE(csv.endsWith(QStringLiteral("HÖHE 7;8;EI;EI01;;;3;;;;;").toUtf8()
                             + "\"Abt. 12; Fläche \"\"Süd\"\"\";04.05.2026;Süd;0,90\r\n"))
        << csv.right(120).toStdString();
}

TEST_F(ListCsvExportTest, ListNumbersThatMakeNoFileNameAreRefused)
{
    const char* const numbers[] = {"", "        ", "../x", "a/b", "a\\b", "x\x01y"};
    std::int64_t id = 10;
    for (const char* number : numbers) {
        SCOPED_TRACE(number);
        dialogs.clear();
        list(++id, number);
        tree(id, 1, num(1), {{"KUBATUR", num(10)}});
        EXPECT_EQ(exporter().filePath(id), QString());
        EXPECT_EQ(exporter().write(id), std::nullopt);
        EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    }
    EXPECT_EQ(filesIn("My Documents"), QStringList());
    EXPECT_EQ(root.readFile(QStringLiteral("x.csv")), QByteArray());

    // No such list: nothing, and nothing to tell.
    dialogs.clear();
    EXPECT_EQ(exporter().write(99), std::nullopt);
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

TEST_F(ListCsvExportTest, AFileThatCannotBeWrittenLeavesNothingBehind)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    tree(1, 1, num(1), {{"KUBATUR", num(10)}});
    // "\My Documents" is a file, so nothing can be made in it.
    root.writeFile(QStringLiteral("My Documents"), "in the way");
    EXPECT_EQ(exporter().write(1), std::nullopt);
    EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents")), QByteArray("in the way"));
}

// Trees that cannot be read make no file with the header alone.
TEST_F(ListCsvExportTest, UnreadableTreesLeaveNoFile)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    ASSERT_TRUE(db().exec(QStringLiteral("DROP TABLE Brov_Holzdaten")));
    EXPECT_EQ(exporter().write(1), std::nullopt);
    EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    EXPECT_TRUE(filesIn("My Documents").isEmpty());
}

TEST_F(ListCsvExportTest, ALinkUnderTheNameIsReplacedNotFollowed)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    root.writeFile(QStringLiteral("outside.txt"), "keep me");
    ASSERT_TRUE(QDir().mkpath(root.host(QStringLiteral("My Documents"))));
    ASSERT_TRUE(QFile::link(root.host(QStringLiteral("outside.txt")),
                            root.host(QStringLiteral("My Documents/L1.csv"))));
    ASSERT_TRUE(exporter().write(1));
    EXPECT_EQ(root.readFile(QStringLiteral("outside.txt")), QByteArray("keep me"));
    EXPECT_FALSE(QFileInfo(root.host(QStringLiteral("My Documents/L1.csv"))).isSymLink());
    // A list without trees still has its header row.
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/L1.csv")),
              golden("list_umlauts.csv").split('\n').first() + '\n');
}

// One printer folder a line of data/csv_folders.txt; the file survives the next send and fetch.
TEST_F(ListCsvExportTest, SurvivesTheNextSend)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    tree(1, 1, num(1), {{"KUBATUR", num(10)}});
    for (const Case& c : readCases(QStringLiteral("transfer/data/csv_folders.txt"))) {
        SCOPED_TRACE(c.where().constData());
        session->store().writeText(Setting::PrinterPath, 0, c.text(0));
        const auto path = exporter().write(1);
        ASSERT_EQ(path.value_or(QStringLiteral("<none>")), c.text(1));
        const QByteArray written = root.readFile(QString(*path).replace(u'\\', u'/'));
        ASSERT_FALSE(written.isEmpty());
        ListFileExport(session->root(), db(), session->store(), dialogs).writeMarked();
        session->root().removeMatching(QStringLiteral("\\Import\\*.*"));
        EXPECT_EQ(root.readFile(QString(*path).replace(u'\\', u'/')), written);
        EXPECT_EQ(filesIn("Export").size(), 1); // the send's list file, and only that
    }
}

// Texts a spreadsheet would run as formulas are kept as texts; the program's own numbers, negative
// ones too, stay numbers.
TEST_F(ListCsvExportTest, FormulasInTextsAreGuarded)
{
    list(1, "=1+2", {{"ZUSATZ_A", txt("=1+2")}, {"KOR_FAKTOR_N", num(100)}});
    tree(1, 1, num(1), {{"BAUMART", txt("@FI")}, {"TARIF", txt("+A1")}, {"KUBATUR", num(-150)}});
    ASSERT_TRUE(exporter().write(1));
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/=1+2.csv")).split('\n').value(1),
              "'=1+2;1;'@FI;'+A1;;;;;;-1,50;-1,50;'=1+2;;WR01;1,00\r");
}

} // namespace
} // namespace brovant::test
