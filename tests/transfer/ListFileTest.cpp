// The list file as the office reads it: the device of data/export_device.sql written, and whole
// files compared byte for byte with the expected files in data/, which make_golden.py builds field
// by field from the record layouts (never from this program); export_device.sql says what each
// one holds.
#include "transfer/ListFileFixture.h"

#include "masterdata/SettingsStore.h"
#include "support/PeakMemory.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace brovant::test {
namespace {

using ListFileExportTest = ListFileFixture;

TEST_F(ListFileExportTest, MarkedListsMatchTheExpectedFilesByteForByte)
{
    ASSERT_NO_FATAL_FAILURE(rowsFrom("export_device.sql"));
    EXPECT_EQ(listFiles().markedCount(), 6);
    EXPECT_EQ(listFiles().writeMarked(), 6);
    EXPECT_EQ(dialogs.asked(), QStringList());

    QStringList expectedNames;
    for (const Case& c : readCases(QStringLiteral("transfer/data/export_files.txt"))) {
        expectedNames << c.text(0);
        EXPECT_EQ(root.readFile(QStringLiteral("Export/") + c.text(0)).toStdString(),
                  golden(c.fields[1].constData()).toStdString())
            << c.where().constData();
    }
    expectedNames.sort();
    EXPECT_EQ(filesIn("Export"), expectedNames);
}

// The export folder's files go first; per file the progress window shows.
TEST_F(ListFileExportTest, EmptiesTheExportFolderThenShowsTheProgressPerFile)
{
    root.writeFile(QStringLiteral("Export/OLD.DAT"), "old");
    root.writeFile(QStringLiteral("Export/readme"), "x");
    root.writeFile(QStringLiteral("Export/A1      .dat"), "earlier export");
    QDir().mkpath(root.host(QStringLiteral("Export/keep")));
    list(1, "A1");
    list(2, "B2");
    ASSERT_EQ(listFiles().writeMarked(), 2);
    EXPECT_EQ(filesIn("Export"), (QStringList{"A1      .DAT", "B2      .DAT"}));
    EXPECT_TRUE(QFileInfo(root.host(QStringLiteral("Export/keep"))).isDir());
    QStringList seen;
    for (const auto& m : dialogs.messages()) {
        if (m.kind == ScriptedDialogs::Kind::Info)
            seen << QStringLiteral("info %1 ").arg(m.showCommand) + m.lines.join(u'|');
        else if (m.kind == ScriptedDialogs::Kind::Progress)
            seen << QString::number(m.percent);
        else
            seen << QStringLiteral("other ") + m.lines.join(u'|');
    }
    QStringList expected;
    for (const Case& c : readCases(QStringLiteral("transfer/data/export_progress.txt")))
        expected << c.text(0);
    EXPECT_EQ(seen, expected);

    // Nothing marked: the folder is still emptied and nothing is written.
    db().exec(QStringLiteral("UPDATE Brov_Kopfdaten SET DUE_MARK = 0"));
    EXPECT_EQ(listFiles().writeMarked(), 0);
    EXPECT_EQ(filesIn("Export"), QStringList());
}

TEST_F(ListFileExportTest, ListNumbersThatAreNoFileNameAreRefused)
{
    const char* const names[] = {"../x", "a/b", "a\\b", "C:x", "A\x01", "A\tB", "", "  ", " L1"};
    std::int64_t id = 1;
    for (const char* name : names)
        list(id++, name);
    list(id++, "GUT");
    // Only a whole name of "." or ".." would climb; with its padding and ".DAT" it is a name.
    list(id++, "..");
    const int handled = listFiles().writeMarked();
    EXPECT_EQ(handled, int(std::size(names)) + 2);
    EXPECT_EQ(dialogs.asked(), QStringList(qsizetype(std::size(names)),
                                           QStringLiteral("Datei kann nicht erzeugt werden!||")));
    // Nothing beside or above the export folder, and in it only the two files.
    QStringList rootEntries = QDir(root.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    rootEntries.sort();
    EXPECT_EQ(rootEntries, (QStringList{"Brovant", "Export", "Import", "Registry"}));
    EXPECT_EQ(QDir(root.host(QStringLiteral("Export")))
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name),
              (QStringList{"..      .DAT", "GUT     .DAT"}));
    EXPECT_EQ(listFiles().filePath(1), QString());
    EXPECT_EQ(listFiles().filePath(id - 2), QStringLiteral("\\Export\\GUT     .DAT"));
}

// A folder in the way of one list's file skips that list; "\Export" being a file, all of them.
TEST_F(ListFileExportTest, AFileThatCannotBeMadeSkipsItsListAndWritesTheOthers)
{
    const QString notice = QStringLiteral("Datei kann nicht erzeugt werden!||");
    list(1, "A1");
    list(2, "B2");
    QDir().mkpath(root.host(QStringLiteral("Export/A1      .DAT/x")));
    EXPECT_EQ(listFiles().writeMarked(), 2);
    EXPECT_EQ(dialogs.asked(), QStringList{notice});
    // No half-written file and no temporary one is left behind.
    EXPECT_EQ(filesIn("Export"), QStringList{QStringLiteral("B2      .DAT")});
    EXPECT_TRUE(QFileInfo(root.host(QStringLiteral("Export/A1      .DAT"))).isDir());
    EXPECT_TRUE(listFiles().writeList(2));

    QDir(root.host(QStringLiteral("Export"))).removeRecursively();
    root.writeFile(QStringLiteral("Export"), "not a folder");
    dialogs.clear();
    EXPECT_EQ(listFiles().writeMarked(), 2);
    EXPECT_EQ(dialogs.asked(), QStringList(2, notice));
    EXPECT_FALSE(listFiles().writeList(2));
}

TEST_F(ListFileExportTest, SameListNumberTwiceKeepsTheSecondList)
{
    list(1, "DOPPELT");
    list(2, "doppelt ");
    insert(schema::Region, {{"ID", num(0)},
                            {"ID_FILE", num(2)},
                            {"REGION_A", txt("ZWEITE")},
                            {"BAUMART", txt("FI ")},
                            {"TARIF", txt("FI01 ")}});
    ASSERT_EQ(listFiles().writeMarked(), 2);
    // Names differing only in case are one file on the device.
    ASSERT_EQ(filesIn("Export").size(), 1);
    const QByteArray file = root.readFile(QStringLiteral("Export/") + filesIn("Export").first());
    EXPECT_TRUE(file.startsWith("TD0doppelt .DAT")) << file.toStdString();
    EXPECT_TRUE(file.contains("REGZWEITE  FI FI01 \r\n")) << file.toStdString();
}

TEST_F(ListFileExportTest, LinesAreCutAt1000BytesAndKeepTheirLineEnd)
{
    const struct {
        int labelLength;
        int lineLength; // bytes of the "001" line with its CR LF
    } cases[] = {
        // 159 characters with labels of 20; the label adds what it has beyond 20.
        {20, 161}, {858, 999}, {859, 1000}, {860, 1000}, {5000, 1000},
    };
    insert(schema::Einstellungen, {{"ID", num(1)},
                                   {"ID_TYPE", num(schema::TariffAssignmentRow)},
                                   {"REGION_A", txt("WR01")},
                                   {"BAUMART", txt("FI ")},
                                   {"TARIF", txt("FI01 ")}});
    list(1, "LANG");
    for (const auto& c : cases) {
        session->store().writeText(Setting::KopfLabel, 0, QString(c.labelLength, u'L'));
        ASSERT_TRUE(listFiles().writeList(1));
        const QByteArray file = root.readFile(QStringLiteral("Export/LANG    .DAT"));
        const QList<QByteArray> lines = file.split('\n');
        ASSERT_GE(lines.size(), 3) << c.labelLength;
        EXPECT_EQ(lines[1].size() + 1, c.lineLength) << c.labelLength;
        EXPECT_TRUE(lines[1].endsWith('\r')) << c.labelLength;
        EXPECT_TRUE(lines[1].startsWith("001LANG    LLLL")) << c.labelLength;
        // The record after it is still a record of its own.
        EXPECT_TRUE(lines[2].startsWith("712WR01")) << c.labelLength;
    }
}

TEST_F(ListFileExportTest, OneListByNumber)
{
    list(4, "EINS", {{"DUE_MARK", num(0)}});
    list(6, "ZWEI", {{"DUE_MARK", num(0)}});
    for (const Case& c : readCases(QStringLiteral("transfer/data/list_by_number.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const std::int64_t id = c.fields[0].toLongLong();
        const QString path = c.text(1) == QStringLiteral("-") ? QString() : c.text(1);
        EXPECT_EQ(listFiles().filePath(id), path);
        EXPECT_EQ(listFiles().writeList(id), !path.isEmpty());
    }
    EXPECT_EQ(filesIn("Export"), (QStringList{"EINS    .DAT", "ZWEI    .DAT"}));
    EXPECT_EQ(dialogs.asked(), QStringList());
    // Unmarked lists are written on request, but the marking is left alone.
    EXPECT_EQ(rows(QStringLiteral("SELECT DUE_MARK FROM Brov_Kopfdaten")), (QStringList{"0", "0"}));
}

// One list a line of data/marking_after_transfer.txt.
TEST_F(ListFileExportTest, MarkingAfterTheTransfer)
{
    const auto value = [](const QByteArray& field) {
        return field == "NULL" ? FieldValue{} : num(field.toLongLong());
    };
    std::int64_t id = 0;
    QStringList expected;
    for (const Case& c : readCases(QStringLiteral("transfer/data/marking_after_transfer.txt"))) {
        insert(schema::Kopfdaten, {{"ID_FILE", num(id++)},
                                   {"LISTE_NR", txt("L")},
                                   {"DUE_MARK", value(c.fields[0])},
                                   {"EXPORTED_N_NI", value(c.fields.value(1))}});
        expected << c.text(2);
    }
    EXPECT_EQ(listFiles().markedCount(), 4);
    // The update of a later row fails: the rows before it must not stay changed.
    const QString marks =
        QStringLiteral("SELECT DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid");
    const QStringList before = rows(marks);
    ASSERT_TRUE(db().exec(
        QStringLiteral("CREATE TRIGGER refuse BEFORE UPDATE ON Brov_Kopfdaten WHEN OLD.ID_FILE = 3 "
                       "BEGIN SELECT RAISE(ABORT, 'refused'); END")));
    EXPECT_FALSE(listFiles().markExported());
    EXPECT_EQ(rows(marks), before);
    ASSERT_TRUE(db().exec(QStringLiteral("DROP TRIGGER refuse")));

    EXPECT_TRUE(listFiles().markExported());
    EXPECT_EQ(rows(marks), expected);
    EXPECT_EQ(listFiles().markedCount(), 0);
    // A second marking finds nothing to raise.
    EXPECT_TRUE(listFiles().markExported());
    EXPECT_EQ(rows(marks), expected);
}

// A list as a spreadsheet file, compared byte for byte with data/list_umlauts.csv, written by hand
// from the rows of data/list_umlauts.sql (which says what they try). The file goes to the printer
// folder, "\My Documents" unless set.
using ListCsvExportTest = ListFileFixture;

// The spreadsheet file leaves the list file and the marking alone.
TEST_F(ListCsvExportTest, WritesTheGoldenFile)
{
    ASSERT_NO_FATAL_FAILURE(rowsFrom("list_umlauts.sql"));
    ListFileExport listFiles = this->listFiles();
    ASSERT_TRUE(listFiles.writeList(3));
    const QString datName = listFiles.filePath(3).section(u'\\', -1);
    const QByteArray dat = root.readFile(QStringLiteral("Export/") + datName);
    ASSERT_FALSE(dat.isEmpty());
    const QString marks = QStringLiteral(
        "SELECT ID_FILE, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid");
    const QStringList before = rows(marks);

    EXPECT_EQ(csvFile().filePath(3), QStringLiteral("\\My Documents\\HÖHE 7.csv"));
    EXPECT_EQ(csvFile().write(3),
              std::optional<QString>(QStringLiteral("\\My Documents\\HÖHE 7.csv")));
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/HÖHE 7.csv")), golden("list_umlauts.csv"));
    EXPECT_TRUE(dialogs.asked().isEmpty());
    // Written again after a change: the new file replaces the old one.
    ASSERT_TRUE(db().query(QStringLiteral("UPDATE Brov_Holzdaten SET STK = 3 WHERE ID = 8")).run());
    ASSERT_TRUE(csvFile().write(3));

    EXPECT_EQ(filesIn("Export"), QStringList{datName});
    EXPECT_EQ(filesIn("My Documents"), QStringList{QStringLiteral("HÖHE 7.csv")});
    EXPECT_EQ(root.readFile(QStringLiteral("Export/") + datName), dat);
    EXPECT_EQ(rows(marks), before);
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
        EXPECT_EQ(csvFile().filePath(id), QString());
        EXPECT_EQ(csvFile().write(id), std::nullopt);
        EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    }
    EXPECT_EQ(filesIn("My Documents"), QStringList());
    EXPECT_EQ(root.readFile(QStringLiteral("x.csv")), QByteArray());

    // No such list: nothing, and nothing to tell.
    dialogs.clear();
    EXPECT_EQ(csvFile().write(99), std::nullopt);
    EXPECT_TRUE(dialogs.asked().isEmpty());
}

// A link under the file's name is replaced, not followed; a file that cannot be made leaves
// nothing behind.
TEST_F(ListCsvExportTest, ALinkIsReplacedAndAFailedFileLeavesNothing)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    root.writeFile(QStringLiteral("outside.txt"), "keep me");
    ASSERT_TRUE(QDir().mkpath(root.host(QStringLiteral("My Documents"))));
    ASSERT_TRUE(QFile::link(root.host(QStringLiteral("outside.txt")),
                            root.host(QStringLiteral("My Documents/L1.csv"))));
    ASSERT_TRUE(csvFile().write(1));
    EXPECT_EQ(root.readFile(QStringLiteral("outside.txt")), QByteArray("keep me"));
    EXPECT_FALSE(QFileInfo(root.host(QStringLiteral("My Documents/L1.csv"))).isSymLink());
    // A list without trees still has its header row.
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/L1.csv")),
              golden("list_umlauts.csv").split('\n').first() + '\n');

    // "\My Documents" is a file, so nothing can be made in it.
    ASSERT_TRUE(QDir(root.host(QStringLiteral("My Documents"))).removeRecursively());
    root.writeFile(QStringLiteral("My Documents"), "in the way");
    tree(1, 1, num(1), {{"KUBATUR", num(10)}});
    EXPECT_EQ(csvFile().write(1), std::nullopt);
    EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents")), QByteArray("in the way"));
}

// Trees that cannot be read make no file with the header alone.
TEST_F(ListCsvExportTest, UnreadableTreesLeaveNoFile)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    list(2, "L2", {{"KOR_FAKTOR_N", num(100)}});
    // The first export keeps its statement over the trees, which then fails in its first step.
    ASSERT_TRUE(csvFile().write(2).has_value());
    ASSERT_TRUE(db().exec(QStringLiteral("DROP TABLE Brov_Holzdaten")));
    EXPECT_EQ(csvFile().write(1), std::nullopt);
    EXPECT_EQ(dialogs.asked(), QStringList{"Datei kann nicht erzeugt werden!||"});
    EXPECT_EQ(filesIn("My Documents"), QStringList{"L2.csv"});
}

// One printer folder a line of data/csv_folders.txt; the file survives the next send and fetch.
TEST_F(ListCsvExportTest, SurvivesTheNextSend)
{
    list(1, "L1", {{"KOR_FAKTOR_N", num(100)}});
    tree(1, 1, num(1), {{"KUBATUR", num(10)}});
    for (const Case& c : readCases(QStringLiteral("transfer/data/csv_folders.txt"))) {
        SCOPED_TRACE(c.where().constData());
        session->store().writeText(Setting::PrinterPath, 0, c.text(0));
        const auto path = csvFile().write(1);
        ASSERT_EQ(path.value_or(QStringLiteral("<none>")), c.text(1));
        const QByteArray written = root.readFile(QString(*path).replace(u'\\', u'/'));
        ASSERT_FALSE(written.isEmpty());
        listFiles().writeMarked();
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
    ASSERT_TRUE(csvFile().write(1));
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/=1+2.csv")).split('\n').value(1),
              "'=1+2;1;'@FI;'+A1;;;;;;-1,50;-1,50;'=1+2;;WR01;1,00\r");
}

// Reading list files from the office: cases of office files under data/import (the numbering of
// new lists and rows, the structure check, damaged files), the caller's transaction, huge files.
const QString kData = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/");

const QString kHeads = QStringLiteral(
    "SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, STRUKTUR, DUE_MARK, EXPORTED_N_NI,"
    " ZUSATZ_A FROM Brov_Kopfdaten ORDER BY rowid");
const QString kRegions =
    QStringLiteral("SELECT ID_FILE, ID, REGION_A, BAUMART, TARIF FROM Brov_Region ORDER BY rowid");
const QString kTrees = QStringLiteral(
    "SELECT ID_FILE, ID, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF "
    "FROM Brov_Holzdaten ORDER BY rowid");

using ListFileImportTest = ListFileFixture;

// One case per folder of data/import: its files go to "\Import", and the folder's .txt says what
// the import makes of them: "existing" the headers already there (ID_FILE, in table order),
// "result" the outcome, the files that went in and the last list, then the new rows under
// "heads", "texts", "regions", "trees" and the files "left" in "\Import", each ended by "|"
// ("\r" a carriage return).
class ListFileImportCaseTest : public ListFileFixture,
                               public ::testing::WithParamInterface<std::string> {
protected:
    // The header texts KOPF1_A..KOPF16_A that are not NULL, as "n=text".
    QStringList headerTexts()
    {
        QStringList out;
        for (int n = 1; n <= 16; ++n) {
            for (const QString& row :
                 rows(QStringLiteral("SELECT ID_FILE, KOPF%1_A FROM Brov_Kopfdaten WHERE KOPF%1_A "
                                     "IS NOT NULL ORDER BY rowid")
                          .arg(n)))
                out << QStringLiteral("%1:%2=").arg(row.section(u'|', 0, 0)).arg(n)
                           + row.section(u'|', 1);
        }
        return out;
    }
};

TEST_P(ListFileImportCaseTest, StoresWhatTheFilesHold)
{
    const QString folder = QStringLiteral("import/") + QString::fromStdString(GetParam());
    std::map<QString, QStringList> expected;
    QString part;
    for (const QByteArray& line : golden(qPrintable(folder + QStringLiteral(".txt"))).split('\n')) {
        const QString text =
            QString::fromUtf8(line).replace(QStringLiteral("\\r"), QStringLiteral("\r"));
        const QStringList words = text.split(u' ');
        if (text.endsWith(u'|'))
            expected[part] << text.chopped(1);
        else if (words.size() == 1)
            part = text;
        else
            expected[words[0]] = words.mid(1);
    }
    // "refuse <table> <ID>": the database refuses that row.
    if (const QStringList refuse = expected["refuse"]; refuse.size() == 2) {
        ASSERT_TRUE(
            db().exec(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON %1 WHEN NEW.ID "
                                     "= %2 BEGIN SELECT RAISE(ABORT, 'refused'); END")
                          .arg(refuse[0], refuse[1])));
    }
    for (const QString& id : expected["existing"])
        insert(schema::Kopfdaten, {{"ID_FILE", num(id.toLongLong())}, {"LISTE_NR", txt("ALT")}});
    for (const QString& name : QDir(kData + folder).entryList(QDir::Files))
        root.writeFile(QStringLiteral("Import/") + name, golden(qPrintable(folder + u'/' + name)));

    const auto outcome = importer().run();
    const QString result = QStringList{"Imported", "WrongStructure", "Failed"}[int(outcome.result)];
    EXPECT_EQ(
        (QStringList{result, QString::number(outcome.files), QString::number(outcome.lastList)}),
        expected["result"]);
    const QStringList messages[] = {
        {}, {"Falsche Struktur der Liste!||"}, {"Satz nicht gespeichert!||"}};
    EXPECT_EQ(dialogs.asked(), messages[int(outcome.result)]);
    QStringList heads = rows(kHeads);
    heads.remove(0, expected["existing"].size());
    EXPECT_EQ(heads, expected["heads"]);
    EXPECT_EQ(headerTexts(), expected["texts"]);
    EXPECT_EQ(rows(kRegions), expected["regions"]);
    EXPECT_EQ(rows(kTrees), expected["trees"]);
    // The folder is emptied, files of any kind included, but for what a failure leaves to retry.
    EXPECT_EQ(filesIn("Import"), expected["left"]);
}

std::vector<std::string> importCases()
{
    std::vector<std::string> names;
    for (const QString& name :
         QDir(kData + QStringLiteral("import")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        names.push_back(name.toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Files, ListFileImportCaseTest, ::testing::ValuesIn(importCases()),
                         [](const auto& info) { return info.param; });

TEST_F(ListFileImportTest, ImportFileRunsInsideTheCallersTransaction)
{
    // a.dat a header and a region, b.dat rows and then a header of another structure.
    const char* folder = "import/wrong_structure_ends_the_import_and_leaves_nothing_of_its_file/";
    const QByteArray good = golden((folder + std::string("a.dat")).c_str());
    const QByteArray bad = golden((folder + std::string("b.dat")).c_str());
    {
        Database::Transaction outer(db());
        bool wrong = true;
        EXPECT_TRUE(importer().importFile(good, 3, &wrong));
        EXPECT_FALSE(wrong);
        EXPECT_EQ(count("Brov_Kopfdaten"), 1);
        EXPECT_FALSE(importer().importFile(bad, 4, &wrong));
        EXPECT_TRUE(wrong);
        // The bad file is gone, the good one still there until the caller decides.
        EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE FROM Brov_Region")), QStringList{"3"});
    }
    EXPECT_EQ(count("Brov_Kopfdaten"), 0);
    EXPECT_EQ(count("Brov_Region"), 0);
    EXPECT_TRUE(importer().importFile(good, 3));
    EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE, LISTE_NR FROM Brov_Kopfdaten")),
              QStringList{"3|GUT     "});
    // No messages from importFile: the caller speaks.
    EXPECT_EQ(dialogs.asked(), QStringList());
}

// One file a line of data/huge_imports.txt.
TEST_F(ListFileImportTest, HostileFilesNeitherCrashNorHoldTheFile)
{
    for (const Case& c : readCases(QStringLiteral("transfer/data/huge_imports.txt"))) {
        SCOPED_TRACE(c.fields[0].constData());
        ASSERT_TRUE(db().exec(QStringLiteral(
            "DELETE FROM Brov_Kopfdaten; DELETE FROM Brov_Region; DELETE FROM Brov_Holzdaten")));
        dialogs.clear();
        ASSERT_NO_FATAL_FAILURE(writeFilled(root.host(QStringLiteral("Import/x.dat")), c, 1));
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        const auto outcome = importer().run();
        EXPECT_LT(timer.elapsed(), 20'000);
        const std::optional<qint64> after = peakKib();
        if (before && after && c.fields[3].toInt() >= 40) {
            // Holding the line would cost its 40 MB; the reader keeps a chunk and 501 bytes.
            EXPECT_LT(*after - *before, 16 * 1024) << "peak grew by KiB";
        }
        EXPECT_EQ(filesIn("Import"), QStringList());
        EXPECT_EQ(outcome.result, ListFileImport::Result::Imported);
        EXPECT_EQ(count("Brov_Region"), c.fields[5].toInt());
        EXPECT_EQ(dialogs.asked(), QStringList());
    }
}

} // namespace
} // namespace brovant::test
