// brovant-tool's command-line contract, relied on from outside: each command run as a process on a
// device root. Most command lines and what each must answer are one case a line of a file in
// tests/tool/data: the exit status, standard output, standard error, then the arguments, "{root}"
// standing for the device root and "{source}" for the source tree. An expected output is the whole
// text; "..." alone is some text, "text..." text and more after it, "...text..." text somewhere in
// it; an empty field is no output.
#include "masterdata/DeviceSession.h"
#include "support/CaseFile.h"
#include "support/TempRoot.h"
#include "tool/KillSoak.h"
#include "tool/ToolRun.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace brovant::test {
namespace {

bool outputMatches(const QString& actual, const QString& expected)
{
    if (expected == QLatin1StringView("..."))
        return !actual.isEmpty();
    const bool before = expected.startsWith(QLatin1StringView("..."));
    const bool after = expected.endsWith(QLatin1StringView("..."));
    const QString text = expected.mid(before ? 3 : 0).chopped(after ? 3 : 0);
    if (before && after)
        return actual.contains(text);
    return after ? actual.startsWith(text) : before ? actual.endsWith(text) : actual == text;
}

// The command of case c: status, output and error from field `at` on, the arguments after them,
// `front` in front of them.
void expectCommand(const Case& c, qsizetype at, const QString& root, const QStringList& front)
{
    QStringList args = front;
    for (qsizetype i = at + 3; i < c.fields.size(); ++i)
        args << c.text(i)
                    .replace(QLatin1StringView("{root}"), root)
                    .replace(QLatin1StringView("{source}"), QLatin1StringView(BROVANT_SOURCE_DIR));
    SCOPED_TRACE(c.where().toStdString() + ": " + args.join(u' ').toStdString());
    const ToolRun r = runTool(args);
    EXPECT_EQ(r.status, c.text(at).toInt()) << r.err.toStdString();
    EXPECT_TRUE(outputMatches(r.out, c.text(at + 1))) << "standard output: " << r.out.toStdString();
    EXPECT_TRUE(outputMatches(r.err, c.text(at + 2))) << "standard error: " << r.err.toStdString();
}

class Tool : public ::testing::Test {
protected:
    ToolRun run(const QStringList& args) { return tool(root.path(), args); }
    QString db() const { return database(root.path()); }
    QString file(const char* name) const { return root.host(QString::fromUtf8(name)); }
    QStringList files(const char* folder) const { return fileNamesIn(file(folder)); }
    // With `onRoot` every command runs with "--root root" in front of its arguments.
    void expectCommands(const char* name, bool onRoot = true)
    {
        for (const Case& c : readCases(QStringLiteral("tool/data/") + QLatin1StringView(name)))
            expectCommand(c, 0, root.path(),
                          onRoot ? QStringList{QStringLiteral("--root"), root.path()}
                                 : QStringList());
    }

    TempRoot root;
};

TEST_F(Tool, CommandLines)
{
    expectCommands("command_lines.txt", false);
}

TEST_F(Tool, InitCreatesFoldersAndDatabase)
{
    const ToolRun r = run({QStringLiteral("init")});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    for (const char* folder : {"Brovant", "Import", "Export"})
        EXPECT_TRUE(QDir(file(folder)).exists()) << folder;
    // What init makes of an existing database: StructureCheckTest.
    EXPECT_EQ(sqlRows(db(), "SELECT STRUKTUR FROM Struktur"), QStringList{"T00300"});
}

TEST_F(Tool, InitReplacesAForeignDatabaseAndKeepsItAside)
{
    root.writeFile(QStringLiteral("brovant/brovant.cdb"), "not a database at all");
    const ToolRun r = run({QStringLiteral("init")});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Datenbank und Stammdaten")));
    // Set aside, not lost (the rest: StructureCheck's tests).
    EXPECT_EQ(root.readFile(QStringLiteral("brovant/Brovant.cdb.alt")), "not a database at all");
}

TEST_F(Tool, ImportConfigRefusesOtherStructuresAndShowsTheLoadedOne)
{
    root.writeFile(QStringLiteral("bad.dtr"), "TD0STAMM299.DAT\r\na15FI \r\n");
    // The copy it stages and loads: the kill soak's import-config runs.
    expectCommands("config.txt");
}

// "lists": one line per list in table order, with the "DÜ" column as the list selection screen
// shows it (ListSelection.RowsInTableOrderWithTheirColumnTexts).
TEST_F(Tool, ListsOneLinePerListInTableOrder)
{
    // A fresh device: the database is made, and there is nothing to list.
    ToolRun r = run({"lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QString());
    ASSERT_EQ(sqlRows(db(), "INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A, DUE_MARK, "
                            "EXPORTED_N_NI) VALUES (5, 'WALD', 'Am Hang', 0, 0), (2, 'MODELL  ', "
                            "'', 1, 0), (9, 'ALT', 'zweimal   ', 1, 2), (3, 'B 7', 'Tab' || "
                            "char(9) || 'im Text', 0, 4)"),
              QStringList());
    r = run({"lists"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("5\tWALD\t   0\tAm Hang\n"
                                    "2\tMODELL\tA0\t\n"
                                    "9\tALT\tA2\tzweimal\n"
                                    "3\tB 7\t   4\tTab im Text\n"));
}

// "new-list": the command line's own checks, each way a message of the list header's checks
// reaches standard error (the checks themselves: ListLogicTest), and what a successful run
// leaves in the database.
TEST_F(Tool, NewListChecksInOrderAndWritesOnlyAListThatPassesAll)
{
    ASSERT_EQ(demoDevice(root.path(), {}), "");
    expectCommands("new_list.txt");
    EXPECT_EQ(sqlRows(db(),
                      "SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, KOPF1_A, "
                      "KOPF2_A, KOPF3_A, KOPF12_A, KOPF16_A, DUE_MARK, EXPORTED_N_NI, STRUKTUR "
                      "FROM Brov_Kopfdaten"),
              (QStringList{
                  "1|HIEB01|01.06.2026|100|WR01|Forstamt Musterwald|Revier Hirschberg|12|Anna "
                  "Probe||0|0|T00300",
                  "2|L2|01.06.2026|150|WR01|Forstamt Musterwald|Revier Hirschberg|12|Anna "
                  "Probe|Bemerkung|0|0|T00300",
                  "3|MODELL|" + QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy"))
                      + "|100||||||" + "|0|0|T00300",
              }));
}

// "tally" and "totals": trees saved through the tally's checks, refused ones leaving the list as
// it was, and the totals screen's rows.
TEST_F(Tool, TalliedTreesShowInTheTotalsRefusedOnesNowhere)
{
    // Correction factor 90, so the totals show each record truncated on its own.
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}, {"--factor", "90"}), "");
    ASSERT_EQ(newList(root.path(), "LEER"), "");
    expectCommands("evaluation.txt");
    EXPECT_EQ(sqlRows(db(), "SELECT ID_FILE, ID, BAUMART, TARIF, STK, BHD, DMSTUFE, KUBATUR"
                            " FROM Brov_Holzdaten ORDER BY rowid"),
              (QStringList{"1|1|FI|FI01|1|26|26|59", "1|2|FI|FI01|1|26|26|59"}));
}

// The bulk form of "tally": trees from a file or standard input, each printed once committed. A
// refused tree or a bad line ends the run, keeping the trees before.
TEST_F(Tool, TallyTreesRefusedTreesAndBadLinesEndTheRun)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}), "");
    for (const Case& c : readCases(QStringLiteral("tool/data/tally_bulk.txt"))) {
        SCOPED_TRACE(c.where().toStdString());
        const QStringList before = listLines(root.path());
        root.writeFile(QStringLiteral("trees.txt"), c.fields.value(3));
        const ToolRun r = run({"tally", "HIEB01", "--trees", file("trees.txt")});
        EXPECT_EQ(r.status, c.text(0).toInt());
        EXPECT_EQ(r.err, c.text(2));
        const QStringList after = listLines(root.path());
        ASSERT_EQ(after.size(), before.size() + c.text(1).toInt());
        EXPECT_EQ(completeLines(r.out.toUtf8()), after.mid(before.size()));
    }
    root.writeFile(QStringLiteral("trees.txt"), "--bhd 25 --species FI --tarif FI01\n");
    const QStringList before = listLines(root.path());
    expectCommands("tally_calls.txt");
    EXPECT_EQ(listLines(root.path()), before);
}

// Fed one line at a time on standard input, each tree is in the database and on the output before
// the next line is written. Blanks, CR and empty lines around the options do not count; a line
// without species and tariff keeps the tree's before (each line is the single tally's output,
// data/evaluation.txt, on one line).
TEST_F(Tool, TallyTreesEachTreeIsPrintedAsSoonAsItIsCommitted)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}), "");
    QProcess p;
    p.setProgram(QStringLiteral(BROVANT_TOOL_PATH));
    p.setArguments({"--root", root.path(), "tally", "HIEB01", "--trees", "-"});
    p.start();
    ASSERT_TRUE(p.waitForStarted(kHangGuardMs));
    const QByteArray trees[] = {"  --bhd 25 --species FI --tarif FI01  \r\n", "\n--bhd 33\n",
                                "--bhd 41 --species BU --tarif BU01 --stk 2\n"};
    QByteArray out;
    int printed = 0;
    for (const QByteArray& tree : trees) {
        p.write(tree);
        ASSERT_TRUE(p.waitForBytesWritten(kHangGuardMs));
        while (out.count('\n') == printed) {
            ASSERT_TRUE(p.waitForReadyRead(kHangGuardMs)) << "no line for " << tree.constData();
            out += p.readAllStandardOutput();
        }
        ++printed;
        EXPECT_EQ(out.count('\n'), printed);
        EXPECT_EQ(completeLines(out), listLines(root.path()));
    }
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(kHangGuardMs));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_EQ(out + p.readAllStandardOutput(), listLines(root.path()).join(u'\n').toUtf8() + '\n');
    EXPECT_EQ(listLines(root.path()),
              (QStringList{"ID=1\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\t"
                           "KA=\tSTK=1\tBHD=26\tDMSTUFE=26\tKUBATUR=0.59",
                           "ID=2\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\t"
                           "KA=\tSTK=1\tBHD=34\tDMSTUFE=34\tKUBATUR=1.15",
                           "ID=3\tID_TYPE=1\tTARIF=BU01\tBAUMART=BU\tNA=\t"
                           "KA=\tSTK=2\tBHD=42\tDMSTUFE=42\tKUBATUR=3.92"}));
}

// "mark", "export-lists" and "import-lists": lists made through the tool, marked, and office files
// read back as new lists. What export-lists writes and prints: FaultInjection (its retries) and
// ToolChannelsTest.
TEST_F(Tool, MarkFlipsTheMarkOfOneList)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "LEER"}), "");
    expectCommands("mark.txt");
    EXPECT_EQ(sqlRows(db(), "SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten "
                            "ORDER BY rowid"),
              (QStringList{"HIEB01|0|0", "LEER|1|0"}));
}

TEST_F(Tool, ImportReadsTheOfficeFilesAsNewLists)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "LEER"}), "");
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

// The moment the kill soak hunts for on the list import, made on purpose: a file whose list went
// in (or did not) still waits in \Import, claimed, when the tool is killed. The next import brings
// every list in exactly once.
TEST(ListImportAfterAKill, EveryListComesInOnce)
{
    const auto office = [](const char* number) {
        return officeHeader(number) + "10A      1FI  2626   0.59    FI01 \r\n";
    };
    const struct {
        const char* what;
        bool committed;    // the claimed file's list is in the database
        bool sameNameToo;  // and a new file of the same name arrived
        const char* lists; // LISTE_NR of the lists afterwards, in table order
    } cases[] = {
        {"list in, file not yet removed", true, false, "A"},
        {"list not in", false, false, "A"},
        {"list in, a new file of the name", true, true, "A B"},
        {"list not in, a new file of the name", false, true, "A B"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot root;
        ASSERT_EQ(demoDevice(root.path(), {}), "");
        root.writeFile(QStringLiteral("Import/a.dat"), office("A"));
        ASSERT_EQ(failure(tool(root.path(), {"import-lists"})), "");
        const QString file = database(root.path());
        const qint64 token = sqlRows(file, "PRAGMA user_version").value(0).toLongLong();
        ASSERT_GT(token, 0);
        // Killed before the commit: the list is not there.
        if (!c.committed) {
            for (const char* sql : {"DELETE FROM Brov_Kopfdaten", "DELETE FROM Brov_Holzdaten"})
                ASSERT_EQ(sqlRows(file, sql), QStringList());
        }
        root.writeFile(QStringLiteral("Import/a.dat.%1.imp").arg(token + (c.committed ? 0 : 1)),
                       office("A"));
        if (c.sameNameToo)
            root.writeFile(QStringLiteral("Import/a.dat"), office("B"));
        const ToolRun r = tool(root.path(), {"import-lists"});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(
            sqlRows(file, "SELECT RTRIM(LISTE_NR) FROM Brov_Kopfdaten ORDER BY rowid").join(u' '),
            QString::fromLatin1(c.lists));
        EXPECT_EQ(sqlRows(file, "SELECT COUNT(*) FROM Brov_Holzdaten"),
                  QStringList{QString::number(QString::fromLatin1(c.lists).count(u' ') + 1)});
        EXPECT_EQ(fileNamesIn(root.host(QStringLiteral("Import"))), QStringList());
    }
}

// "export-csv": lists tallied through the tool at factor 90 written as their spreadsheet files.
TEST_F(Tool, CsvWritesTheListsPrintsTheirPathsAndRefusesBadCalls)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "FLÄCHE", "AB"},
                         {"--date", "04.05.2026", "--factor", "90"}),
              "");
    ASSERT_EQ(sqlRows(db(), "UPDATE Brov_Kopfdaten SET LISTE_NR = 'a/b' WHERE LISTE_NR = 'AB'"),
              QStringList());
    ASSERT_EQ(
        failure(run({"tally", "HIEB01", "--bhd", "40", "--species", "BU", "--tarif", "BU01"})), "");
    ASSERT_EQ(
        failure(run({"tally", "FLÄCHE", "--bhd", "25", "--species", "FI", "--tarif", "FI01"})), "");
    const char* headers =
        "SELECT LISTE_NR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid";
    const QStringList before = sqlRows(db(), headers);

    expectCommands("export_csv.txt");
    // The file's columns: ListCsvExportTest. 1.75 at 90 %, truncated: 1.57.
    const QByteArray csv = root.readFile(QStringLiteral("My Documents/HIEB01.csv"));
    EXPECT_TRUE(csv.endsWith("\r\nHIEB01;1;BU;BU01;;;1;40;40;1,75;1,57;;04.05.2026;WR01;0,90\r\n"))
        << csv.toStdString();
    EXPECT_TRUE(root.readFile(QStringLiteral("My Documents/FLÄCHE.csv"))
                    .endsWith(QStringLiteral("FLÄCHE;1;FI;FI01;;;1;26;26;0,59;0,53;;04.05.2026;"
                                             "WR01;0,90\r\n")
                                  .toUtf8()));
    EXPECT_EQ(sqlRows(db(), headers), before);
    EXPECT_EQ(files("My Documents"),
              (QStringList{QStringLiteral("FLÄCHE.csv"), QStringLiteral("HIEB01.csv")}));
    // The export of the next send empties "\Export"; the spreadsheet file is not there.
    ASSERT_EQ(failure(run({"mark", "HIEB01"})), "");
    ASSERT_EQ(failure(run({"export-lists"})), "");
    EXPECT_EQ(root.readFile(QStringLiteral("My Documents/HIEB01.csv")), csv);
}

// A PDF's text, runs of blanks made one.
QString pdfText(const QString& file)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
    if (!p.waitForFinished(30000) || p.exitCode() != 0)
        return QStringLiteral("<pdftotext failed>");
    return QString::fromUtf8(p.readAllStandardOutput())
        .replace(QRegularExpression(QStringLiteral("[ \\t]+")), QStringLiteral(" "));
}

// "report": the listing, the class table and the test page written as PDF files, and the command
// lines refused.
TEST_F(Tool, ReportWritesEachReportAndRefusesBadCalls)
{
    ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}, {"--factor", "90"}), "");
    ASSERT_EQ(newList(root.path(), "LEER"), "");
    root.writeFile(QStringLiteral("trees.txt"), "--bhd 25 --species FI --tarif FI01\n"
                                                "--bhd 31 --stk 2 --species FI --tarif FI01\n"
                                                "--bhd 40 --species BU --tarif BU01\n"
                                                "--bhd 22 --stk 3 --species KI --tarif KI01\n");
    ASSERT_EQ(failure(run({"tally", "HIEB01", "--trees", file("trees.txt")})), "");
    for (const Case& c : readCases(QStringLiteral("tool/data/reports.txt"))) {
        SCOPED_TRACE(c.where().toStdString());
        QStringList args;
        for (qsizetype i = 3; i < c.fields.size(); ++i)
            args << c.text(i);
        const ToolRun r = run(args << file(c.fields[0].constData()));
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, c.text(1));
        EXPECT_TRUE(pdfText(file(c.fields[0].constData())).contains(c.text(2)));
    }
    expectCommands("report_refusals.txt");
    EXPECT_FALSE(QFile::exists(QStringLiteral("x.pdf")));
}

void setTime(const QString& file, const QDateTime& time)
{
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadWrite));
    ASSERT_TRUE(f.setFileTime(time, QFileDevice::FileModificationTime));
}

// The backup commands: one device root through a day of backups, listing and restoring; each step
// may change the root first.
TEST_F(Tool, BackupListRestore)
{
    const QString save = file("Brovant/Save/");
    const auto trees = [](const QString& file) {
        return sqlRows(file, "SELECT COUNT(*) FROM Brov_Holzdaten").join(u',');
    };
    const auto addTree = [&] {
        EXPECT_EQ(sqlRows(db(), "INSERT INTO Brov_Holzdaten (ID, ID_FILE) VALUES (1, 1)"),
                  QStringList());
    };
    const std::map<QString, std::function<void()>> before = {
        {"init",
         [&] {
             EXPECT_EQ(run({"init"}).status, 0);
             addTree();
         }},
        {"tree", addTree},
        {"stamp",
         [&] {
             setTime(save + QStringLiteral("0001_Manu.cdb"),
                     QDateTime(QDate(2026, 5, 4), QTime(9, 7)));
             setTime(save + QStringLiteral("0002_Auto.cdb"),
                     QDateTime(QDate(2026, 5, 4), QTime(12, 30)));
         }},
        {"foreign",
         [&] {
             root.writeFile(QStringLiteral("Brovant/Save/0009_Manu.cdb"), "no database");
         }},
    };
    for (const Case& step : readCases(QStringLiteral("tool/data/backups.txt"))) {
        SCOPED_TRACE(step.where().toStdString());
        if (!step.text(0).isEmpty())
            before.at(step.text(0))();
        expectCommand(step, 2, root.path(), {QStringLiteral("--root"), root.path()});
        EXPECT_EQ(trees(db()), step.text(1));
    }
    // The restore kept the state before it as the next automatic backup.
    EXPECT_EQ(fileNamesIn(save),
              (QStringList{"0001_Manu.cdb", "0002_Auto.cdb", "0003_Auto.cdb", "0009_Manu.cdb"}));
    EXPECT_EQ(trees(save + QStringLiteral("0003_Auto.cdb")), QStringLiteral("2"));
}

// The device family comes from "\Windows\externapi.dll", as at start-up; without the card both
// commands end with the notice. Which folder each family and card setting gives is
// BackupFolder.TableForBothFamiliesAndBothKarteValues.
TEST(ToolBackup, FolderByDeviceFamilyAndCard)
{
    for (const bool card : {false, true}) {
        SCOPED_TRACE(card);
        TempRoot root;
        root.writeFile(QStringLiteral("Windows/externapi.dll"), "MZ");
        QDir().mkpath(root.host(QStringLiteral("Extended Storage")));
        DeviceSession(root.path()).store().writeInt(Setting::BackupKarte, 0, card ? 1 : 0);
        const ToolRun made = tool(root.path(), {"backup"});
        EXPECT_EQ(made.status, card ? 1 : 0);
        EXPECT_EQ(made.out, card ? "" : "\\Extended Storage\\Brovant_Save\\0001_Manu.cdb\n");
        const ToolRun listed = tool(root.path(), {"backups"});
        EXPECT_EQ(listed.status, card ? 1 : 0);
        EXPECT_EQ(listed.out.isEmpty(), card);
        for (const ToolRun& r : {made, listed})
            EXPECT_EQ(r.err,
                      card ? QString::fromUtf8("Kein Zugriff auf externe\nSpeicherkarte möglich!\n")
                           : QString());
    }
}

} // namespace
} // namespace brovant::test
