// A forester's day with the real program, phase by phase: the morning's configuration, the
// settings, lists made on the header screen, trees typed on the keypad and measured with the
// caliper on a pseudo-terminal, corrections, totals and the printed listing, the lists sent to and
// received from the office's brovant-tool over a pseudo-terminal cable, backups and a restore,
// "Delete all", and the evening's shutdown with the next morning's start. The database keeps its
// full durability, so every saved tree costs its flush as on the device.
#include "app/ListSelectionDlg.h"
#include "app/PrinterSettingsDlg.h"
#include "app/ProgramFixture.h"
#include "app/RestoreDlg.h"
#include "app/SettingsDlg.h"
#include "app/TallyDlg.h"
#include "app/TotalsDlg.h"
#include "support/PseudoTerminal.h"
#include "tally/caliper/CaliperReader.h"
#include "tool/ToolRun.h"

#include <QDir>
#include <QProcess>
#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;
using Tally = TallyDlg;

const QString kTrees = QStringLiteral(
    "SELECT ID, ID_TYPE, rtrim(TARIF), rtrim(BAUMART), rtrim(NA), rtrim(KA), STK, BHD, DMSTUFE, "
    "KUBATUR FROM Brov_Holzdaten ORDER BY ID_FILE, rowid");
const QString kCounts = QStringLiteral("SELECT (SELECT COUNT(*) FROM Brov_Kopfdaten), (SELECT "
                                       "COUNT(*) FROM Brov_Holzdaten)");

// The messages since the last call, one line each: "Hinweis: …", "Frage: … [JA/NEIN] JA" with the
// answer given, "Info: …" and "Info zu" for the information window, a run of progress steps as
// one line ("Fortschritt: 0 10 100"); while the window counts lines ("Zeile: 1" …) only its last
// count stays.
QStringList said(ScriptedDialogs& dialogs)
{
    using Kind = ScriptedDialogs::Kind;
    const QString counting = QStringLiteral("|Zeile: ");
    QStringList out;
    for (const ScriptedDialogs::Message& m : dialogs.messages()) {
        QStringList lines = m.lines;
        while (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        const QString text = lines.join(u'|');
        const int chosen = m.kind == Kind::Question ? int(m.answer) - int(Answer::First)
                                                    : (m.answer == Answer::Yes ? 0 : 1);
        const QString line =
            m.kind == Kind::Notice     ? QStringLiteral("Hinweis: ") + text
            : m.kind == Kind::Progress ? QStringLiteral("Fortschritt: %1").arg(m.percent, 0, 'f', 0)
            : m.kind != Kind::Info     ? QStringLiteral("Frage: %1 [%2] %3")
                                         .arg(text, m.captions.join(u'/'), m.captions.value(chosen))
            : m.showCommand == MessageDialogs::Show ? QStringLiteral("Info: ") + text
                                                    : QStringLiteral("Info zu");
        const QString last = out.isEmpty() ? QString() : out.last();
        if (m.kind == Kind::Progress && last.startsWith(QStringLiteral("Fortschritt:")))
            out.last() += line.mid(12);
        else if (line.contains(counting) && last.contains(counting)
                 && last.section(counting, 0, 0) == line.section(counting, 0, 0))
            out.last() = line;
        else
            out << line;
    }
    if (dialogs.beeps() > 0)
        out << QStringLiteral("Signalton: %1").arg(dialogs.beeps());
    EXPECT_EQ(dialogs.pendingAnswers(), 0u) << "answers left over";
    EXPECT_EQ(dialogs.unansweredQuestions(), 0) << "questions without a scripted answer";
    dialogs.clear();
    return out;
}

// The section of the day's golden file.
QStringList day(const char* section)
{
    return golden(QStringLiteral("day_in_the_field.txt"), QString::fromUtf8(section));
}

ProgramSetup morning()
{
    return ProgramSetup().durable().at(QDateTime(QDate(2026, 5, 4), QTime(7, 5)));
}

// The program started on the staged demo configuration, the start-up messages forgotten.
class ForesterDay : public ::testing::Test {
protected:
    QStringList said() { return brovant::said(h.dialogs); }
    void toMainMenu()
    {
        for (int i = 0; i < 4 && h.active() != h.app.mainMenu(); ++i)
            h.press(Screen::kCancel);
        ASSERT_EQ(h.active(), h.app.mainMenu());
    }
    void openListSelection(int tab)
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kSelectList);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        h.tapTab(QStringLiteral("tabs"), tab);
    }
    void openSettings(int tab)
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kSettings);
        ASSERT_EQ(h.activeName(), QStringLiteral("settings"));
        h.tapTab(QStringLiteral("tabs1021"), tab);
    }
    QTreeWidget* listView() { return h.find<ListSelectionDlg>()->listView(); }
    void selectList(const QString& name)
    {
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        const auto rows = listView()->findItems(name, Qt::MatchStartsWith);
        ASSERT_EQ(rows.size(), 1) << "no row " << str(name);
        QTest::mouseClick(listView()->viewport(), Qt::LeftButton, {},
                          listView()->visualItemRect(rows.first()).center());
        ASSERT_EQ(listView()->currentItem(), rows.first());
    }
    QString selectedList()
    {
        const QTreeWidgetItem* item = listView()->currentItem();
        return item ? item->text(0).trimmed() : QStringLiteral("<none>");
    }
    // The rows of the list selection as shown: list, "DÜ" column, addition.
    QStringList shownLists() { return Program::shownRows(listView()); }
    // A new list on the header screen, page by page: name, addition, factor and region on page 1,
    // the mandatory Forstamt, Revier, Abteilung and Aufnehmer from their choices or typed.
    void makeList(const QString& name, const QString& addition, const QString& region,
                  int factor = 100, const QString& recorder = QStringLiteral("Anna Probe"))
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kNewList);
        ASSERT_EQ(h.activeName(), QStringLiteral("listHeader"));
        h.type(name);
        h.press(KeypadScreen::kNextField);
        h.type(QString(addition).replace(u' ', QStringLiteral("␣")));
        h.press(KeypadScreen::kNextField); // the date stays today's
        h.press(KeypadScreen::kNextField);
        if (factor != 100)
            h.type(QString::number(factor));
        h.press(KeypadScreen::kNextField);
        h.pick(region);
        h.press(KeypadScreen::kEnter);
        h.pick(QStringLiteral("Forstamt Musterwald"));
        h.pick(QStringLiteral("Revier Hirschberg"));
        h.press(KeypadScreen::kEnter);
        h.type(QStringLiteral("7"));
        for (int page = 3; page < 7; ++page)
            h.press(KeypadScreen::kEnter);
        h.tapField(QStringLiteral("KOPF12_A"));
        h.pick(recorder);
        for (int page = 7; page <= 9; ++page)
            h.press(KeypadScreen::kEnter);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        EXPECT_EQ(selectedList(), name);
    }
    // The handheld's ports (the caliper on COM3, the cable on COM1) and on the settings screens
    // automatic backups on, the cable's port and the caliper chosen.
    void equip()
    {
        ASSERT_TRUE(QDir().mkpath(h.root.host(QStringLiteral("dev"))));
        ASSERT_TRUE(QFile::link(caliper.slave(), h.root.host(QStringLiteral("dev/COM3"))));
        ASSERT_TRUE(QFile::link(cable.end(0), h.root.host(QStringLiteral("dev/COM1"))));
        ASSERT_NO_FATAL_FAILURE(openSettings(0));
        h.run("equip.txt");
    }
    // The backups in the folder, each with its count of lists and trees.
    QStringList backups()
    {
        const QDir save(h.root.host(QStringLiteral("Brovant/Save")));
        QStringList out;
        for (const QString& name : save.entryList(QDir::Files, QDir::Name))
            out << name + u'|'
                       + sqlRows(save.filePath(name), kCounts.toUtf8().constData()).join(u',');
        return out;
    }

    void openTally(const QString& list)
    {
        ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TallyTab));
        ASSERT_NO_FATAL_FAILURE(selectList(list));
        h.press(ListSelectionDlg::kTally);
        ASSERT_EQ(h.activeName(), QStringLiteral("tally"));
    }
    // Back to the list selection, which makes its automatic backup and shows the list chosen.
    void closeTally(const QString& list)
    {
        h.press(Screen::kCancel);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        EXPECT_EQ(selectedList(), list);
    }
    // The tally screen's keys and key bars for the steps of tests/app/data/day_keys.txt.
    ForesterDay()
    {
        h.names = {{"Up", Tally::kUp},           {"Down", Tally::kDown},
                   {"Etc", Tally::kEtc},         {"Delete", Tally::kDelete},
                   {"First", Tally::kFirst},     {"End", Tally::kEnd},
                   {"Clear", Tally::kClear},     {"Species", Tally::SpeciesKeys},
                   {"Tariff", Tally::TariffKeys}};
        h.probe("tree", [this](auto) { return h.shownTree(); });
    }

    Program h{morning()};
    PseudoTerminal caliper;
    PtyCable cable; // end 0 the handheld, end 1 the office
};

// The handheld starts with the office's configuration staged: it is imported and loaded, the
// caliper's keys bring the main species and its key 8 none of its own.
TEST(ForesterMorning, StartImportsTheStagedConfiguration)
{
    Program h(morning().unstarted());
    ASSERT_TRUE(h.app.start());
    EXPECT_EQ(said(h.dialogs), day("start"));
    ASSERT_TRUE(h.session.configurationLoaded());
    EXPECT_EQ(h.active(), h.app.mainMenu());
    QStringList mainSpecies;
    for (size_t i = 0; i < 7; ++i)
        mainSpecies << h.state.tables.mainSpecies[i].trimmed();
    EXPECT_EQ(mainSpecies, (QStringList{"FI", "TA", "DGL", "KI", "LÄ", "BU", "EI"}));
    EXPECT_EQ(h.state.tables.caliperSpecies.trimmed(), QString());
    EXPECT_EQ(h.count(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = 3")),
              89);
}

// Trees typed on the keypad: the first before its species, a species' first tree bringing up
// its tariffs, three trees at once, a quality and a caliper class put in and taken out again,
// diameters below the first class bound and past the last, and one Enter without a diameter.
TEST_F(ForesterDay, TallyByKeypad)
{
    ASSERT_NO_FATAL_FAILURE(makeList("HIEB01", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    h.run("day_keys.txt", "keypad");
    ASSERT_NO_FATAL_FAILURE(closeTally("HIEB01"));
    EXPECT_EQ(said(), (QStringList{"Hinweis: Holzart fehlt !!!", "Hinweis: Eingabe fehlt !!!"}));
    EXPECT_EQ(h.rows(kTrees), day("keypad trees"));
    // Back on the list the screen opens behind the last tree, the two before it in the preview.
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    EXPECT_EQ(h.label(QStringLiteral("position")), QStringLiteral("neu"));
    EXPECT_EQ(h.label(QStringLiteral("Prev1")), QStringLiteral(" 1      50         2.90"));
    EXPECT_EQ(h.shownTree().section(u'|', 0, 1), QStringLiteral("FI01|FI"));
}

// Telegrams written to the pseudo-terminal the program opens as COM3: the species keys, key 8
// and "0" keeping the species, the line ends calipers send, what the reader drops, a measurement
// of 0 cm refused, a double stem's count typed first; the last telegram is ended by the silence
// after it. Every 50th tree makes the automatic backup while the next telegrams wait.
TEST_F(ForesterDay, TallyByCaliper)
{
    ASSERT_NO_FATAL_FAILURE(equip());
    ASSERT_NO_FATAL_FAILURE(makeList("HIEB01", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    ASSERT_TRUE(h.app.caliper()->running());
    EXPECT_EQ(h.label(QStringLiteral("caliperState")), QStringLiteral("Kluppe: verbunden"));
    h.run("day_keys.txt", "caliper");
    QByteArray telegrams = "130\r\n842\r12\r\n3A5\r\n625\n100\r\n033\r\n";
    for (int i = 0; i < 193; ++i)
        telegrams += "120\r\n";
    ASSERT_TRUE(caliper.write(telegrams + "612"));
    // A guard against a hang only: the trees come as fast as they are stored.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return h.count(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten")) == 200; },
        120000));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return h.label(QStringLiteral("Prev1")).endsWith(u'7'); }, 20000));
    EXPECT_EQ(h.label(QStringLiteral("Prev1")), QStringLiteral(" 1      12         0.07"));
    ASSERT_NO_FATAL_FAILURE(closeTally("HIEB01"));
    EXPECT_FALSE(h.app.caliper()->running());
    EXPECT_EQ(said(), day("backup question") + QStringList{"Hinweis: Eingabe fehlt !!!"});
    const QStringList trees = h.rows(kTrees);
    EXPECT_EQ(trees.mid(0, 7), day("caliper trees"));
    EXPECT_EQ(trees.value(198), QStringLiteral("199|1|FI01|FI|||1|20|20|30"));
    EXPECT_EQ(trees.value(199), QStringLiteral("200|1|BU01|BU|||1|12|12|7"));
    // 815 hundredths of m3 in the first six trees, 193 of 0.30 m3 and the last of 0.07 m3.
    EXPECT_EQ(h.rows(QStringLiteral("SELECT COUNT(*), SUM(STK), SUM(KUBATUR) FROM Brov_Holzdaten")),
              QStringList{"200|201|6612"});
    EXPECT_EQ(backups(), day("caliper backups"));
}

// Corrections: back with Up to an older tree, a new diameter saved with Enter; the next one
// changed and saved on leaving it downwards; a change given up on the way up; two trees deleted,
// one of them the first; the last tree given another of its species' tariffs.
TEST_F(ForesterDay, CorrectionsOnTheTallyScreen)
{
    ASSERT_NO_FATAL_FAILURE(makeList("HIEB01", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    h.run("corrections.txt");
    ASSERT_NO_FATAL_FAILURE(closeTally("HIEB01"));
    EXPECT_EQ(said(), day("corrections questions"));
    EXPECT_EQ(h.rows(kTrees), day("corrections trees"));
}

// The totals of a list with the factor 95 %: each record's volume corrected on its own, so the
// spruce's 0.52 + 2.61 m3 make 2.96 m3, not 2.97. The listing printed from the totals screen and
// from the list selection, its summary read back from the PDF.
TEST_F(ForesterDay, TotalsAndThePrintedListing)
{
    ASSERT_NO_FATAL_FAILURE(makeList("SUED02", "SÜDHANG BUCHE", "WR02", 95));
    ASSERT_NO_FATAL_FAILURE(openTally("SUED02"));
    h.run("day_keys.txt", "totals");
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(16, 40)));
    ASSERT_NO_FATAL_FAILURE(closeTally("SUED02"));
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::EvaluationTab));
    h.press(ListSelectionDlg::kEval);
    ASSERT_EQ(h.activeName(), QStringLiteral("totals"));
    EXPECT_EQ(Program::shownRows(h.find<TotalsDlg>()->totalsView()), day("totals"));
    h.press(TotalsDlg::kPrint);
    h.press(Screen::kCancel);
    ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
    h.press(ListSelectionDlg::kPrint);
    const QStringList printing{"Info: Ausdruck wird erstellt...", "Fortschritt: 30 70 100",
                               "Info zu"};
    EXPECT_EQ(said(), printing + printing);
    const QString printed = h.root.host(QStringLiteral("My Documents"));
    EXPECT_EQ(QDir(printed).entryList(QDir::Files), QStringList{"SUED02_Ausdruck.pdf"});
    QProcess p;
    p.start(QStringLiteral("pdftotext"),
            {QStringLiteral("-layout"), printed + QStringLiteral("/SUED02_Ausdruck.pdf"),
             QStringLiteral("-")});
    ASSERT_TRUE(p.waitForFinished(60000) && p.exitCode() == 0);
    QStringList summary;
    for (const QString& line : QString::fromUtf8(p.readAllStandardOutput()).split(u'\n')) {
        const QString cells = line.split(u' ', Qt::SkipEmptyParts).join(u'|');
        if (cells == QStringLiteral("Zusammenstellung|nach|Holzarten") || !summary.isEmpty())
            summary << cells;
        if (cells.startsWith(QStringLiteral("Kubatur|in|m³")))
            break;
    }
    summary.removeIf([](const QString& cells) { return cells.startsWith(QStringLiteral("HA|")); });
    EXPECT_EQ(summary, day("printed summary"));
}

// The settings screens turn automatic backups on and choose the ports; each list made on the
// header screen then ends in the list selection, which backs the lists up. "Send" over the cable
// with the office's brovant-tool at its other end: the marked lists arrive as list files and are
// unmarked and counted once; with nothing marked "Send" says so. Then "Receive" from the tool.
TEST_F(ForesterDay, SettingsListsSendAndReceiveOverTheCable)
{
    ASSERT_NO_FATAL_FAILURE(equip());
    const SettingsStore& store = h.session.store();
    EXPECT_EQ(store.readInt(Setting::BackupAuto), 1);
    EXPECT_EQ(store.readInt(Setting::DuePort), 1);
    EXPECT_EQ(store.readInt(Setting::KluppeAktiv), 1);
    EXPECT_EQ(store.readInt(Setting::KluppePort), 3);
    ASSERT_NO_FATAL_FAILURE(makeList("HIEB01", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(makeList("SUED02", "SÜDHANG BUCHE", "WR02", 95, "Erika Musterfrau"));
    EXPECT_EQ(said(), day("backup question"));
    EXPECT_EQ(shownLists(), (QStringList{"HIEB01  |   0|NORDHANG", "SUED02  |   0|SÜDHANG BUCHE"}));
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, "
                                    "REGION_A, KOPF1_A, KOPF2_A, KOPF3_A, KOPF12_A, DUE_MARK, "
                                    "EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid")),
              day("cable lists"));
    EXPECT_EQ(backups(), (QStringList{"0001_Auto.cdb|1|0", "0002_Auto.cdb|2|0"}));
    ASSERT_NO_FATAL_FAILURE(makeList("EICHE03", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    h.run("day_keys.txt", "cable");
    ASSERT_NO_FATAL_FAILURE(closeTally("HIEB01"));
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    for (const char* list : {"HIEB01", "SUED02", "EICHE03", "SUED02"}) {
        ASSERT_NO_FATAL_FAILURE(selectList(list));
        h.press(ListSelectionDlg::kMark);
    }
    EXPECT_EQ(shownLists(), day("marked lists"));
    h.dialogs.clear();
    TempRoot office;
    ToolProcess receiving({QStringLiteral("office-receive"), QStringLiteral("--port"), cable.end(1),
                           QStringLiteral("--out"), office.path(), QStringLiteral("--timeout"),
                           QStringLiteral("60")});
    h.press(ListSelectionDlg::kSend);
    const ToolRun received = receiving.finish();
    EXPECT_EQ(received.status, 0) << str(received.err);
    EXPECT_EQ(received.out, QStringLiteral("EICHE03 .DAT\nHIEB01  .DAT\n53 Zeilen empfangen\n"));
    const QMap<QString, QByteArray> files = filesIn(office.path());
    ASSERT_EQ(files.keys(), (QStringList{"EICHE03 .DAT", "HIEB01  .DAT"}));
    const QStringList lines = QString::fromLatin1(files.value(QStringLiteral("HIEB01  .DAT")))
                                  .split(QStringLiteral("\r\n"));
    EXPECT_EQ(lines.mid(0, 10), day("sent HIEB01"));
    EXPECT_EQ(lines.size(), 8 + 20 + 1);
    EXPECT_EQ(lines.filter(QStringLiteral("712WR01")).size(), 20);
    EXPECT_EQ(said(), day("send messages"));
    EXPECT_EQ(shownLists(), day("sent lists"));
    h.press(ListSelectionDlg::kSend);
    EXPECT_EQ(said(), QStringList{"Hinweis: Keine Liste für DÜ markiert!"});

    // "Receive": the office's two lists of data/office (factor 0.90, region WR01) become lists of
    // the handheld, the last one chosen.
    // "10A": plot, count, species, diameter, class, volume, quality, caliper class, tariff.
    ToolProcess sending({QStringLiteral("office-send"), QStringLiteral("--port"), cable.end(1),
                         QStringLiteral("--timeout"), QStringLiteral("60"),
                         QStringLiteral(BROVANT_SOURCE_DIR "/tests/app/data/office/MUEHLE.DAT"),
                         QStringLiteral(BROVANT_SOURCE_DIR "/tests/app/data/office/NACHB02.DAT")});
    h.press(ListSelectionDlg::kReceive);
    const ToolRun sent = sending.finish();
    EXPECT_EQ(sent.status, 0) << str(sent.err);
    EXPECT_EQ(sent.out, QStringLiteral("MUEHLE.DAT\nNACHB02.DAT\n11 Zeilen gesendet\n"));
    EXPECT_EQ(said(), day("receive messages"));
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, "
                                    "STRUKTUR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten "
                                    "WHERE ID_FILE > 3 ORDER BY rowid")),
              day("received lists"));
    EXPECT_EQ(h.rows(QStringLiteral(
                  "SELECT ID_FILE, ID, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, "
                  "KUBATUR, TARIF FROM Brov_Holzdaten WHERE ID_FILE > 3 ORDER BY rowid")),
              day("received trees"));
    EXPECT_EQ(shownLists().mid(3), (QStringList{"MÜHLE   |   0|", "NACHB02 |   0|"}));
    EXPECT_EQ(selectedList(), QStringLiteral("NACHB02"));
}

// A backup by hand, a list made after it, and the backup restored on the restore screen: the
// lists are as they were, the state before the restore one more automatic backup. Then "Delete
// all".
TEST_F(ForesterDay, BackupRestoreAndDeleteAll)
{
    ASSERT_NO_FATAL_FAILURE(equip());
    ASSERT_NO_FATAL_FAILURE(makeList("HIEB01", "NORDHANG", "WR01"));
    ASSERT_NO_FATAL_FAILURE(openTally("HIEB01"));
    h.run("day_keys.txt", "backup");
    ASSERT_NO_FATAL_FAILURE(closeTally("HIEB01"));
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    h.press(ListSelectionDlg::kMark);
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 2)));
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    h.dialogs.answerNext(Answer::Yes);
    h.click(SettingsDlg::kBackup);
    EXPECT_EQ(said(), day("backup question") + day("backup question"));
    const auto lists = [&] {
        QStringList out;
        for (const char* table : {"Brov_Kopfdaten", "Brov_Holzdaten", "Brov_Region"})
            out << h.rows(
                QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1StringView(table)));
        return out;
    };
    const QStringList atBackup = lists();
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 10)));
    ASSERT_NO_FATAL_FAILURE(makeList("SUED02", "SÜDHANG BUCHE", "WR02"));

    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 31)));
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    const QStringList offered = h.openRestore(2, RestoreDlg::kOk).lines;
    // As when a modal screen closes on the device, the program's window takes the keys back.
    h.app.stack().mainWindow()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(h.app.stack().mainWindow()));
    EXPECT_EQ(offered, day("restore offered"));
    EXPECT_EQ(h.activeName(), QStringLiteral("settings"));
    EXPECT_EQ(said(), day("next morning").mid(3)); // the configuration loaded again
    EXPECT_EQ(lists(), atBackup);
    EXPECT_EQ(backups(), day("restore backups"));
    // The list chosen before is not in the backup: the first row is chosen.
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    EXPECT_EQ(shownLists(), QStringList{"HIEB01  |A0|NORDHANG"});
    EXPECT_EQ(selectedList(), QStringLiteral("HIEB01"));

    // "Delete all": both questions, the configuration imported again, no list left, the settings
    // back to their defaults; the program goes on with a new list, without automatic backups now.
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    h.dialogs.clear();
    h.dialogs.answerNext(Answer::Yes); // "Fortsetzen"
    h.dialogs.answerNext(Answer::No);  // the right-hand "JA"
    h.click(SettingsDlg::kDeleteAll);
    EXPECT_EQ(h.active(), h.app.mainMenu());
    EXPECT_EQ(said(), day("delete all"));
    EXPECT_EQ(h.rows(kCounts + QStringLiteral(", (SELECT COUNT(*) FROM Brov_Region)")),
              QStringList{"0|0|0"});
    EXPECT_TRUE(h.session.configurationLoaded());
    EXPECT_EQ(h.count(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = 3")),
              89);
    EXPECT_EQ(h.session.store().readInt(Setting::BackupAuto), 0);
    EXPECT_EQ(h.session.store().readInt(Setting::KluppeAktiv), 0);

    ASSERT_NO_FATAL_FAILURE(makeList("ABEND04", "NACHTRAG", "WR01", 100, "Erika Musterfrau"));
    ASSERT_NO_FATAL_FAILURE(openTally("ABEND04"));
    EXPECT_FALSE(h.app.caliper()->running());
    EXPECT_TRUE(h.active()->findChild<QLabel*>(QStringLiteral("caliperState"))->isHidden());
    h.run("day_keys.txt", "evening");
    ASSERT_NO_FATAL_FAILURE(closeTally("ABEND04"));
    EXPECT_EQ(said(), QStringList());
    EXPECT_EQ(shownLists(), QStringList{"ABEND04 |   0|NACHTRAG"});
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, KOPF12_A FROM Brov_Kopfdaten")),
              QStringList{"1|ABEND04|Erika Musterfrau"});
    EXPECT_EQ(h.rows(kTrees),
              (QStringList{"1|1|KI01|KI|||1|32|32|87", "2|1|KI01|KI|||2|28|28|126"}));
    EXPECT_EQ(backups(), day("restore backups"));
}

// The program ended from the main menu: the database is one closed file holding the trees, the
// tariffs the species were last saved with flagged in every region that assigns them; the next
// morning the handheld starts with each species on that tariff.
TEST_F(ForesterDay, ShutdownAndTheNextMorning)
{
    ASSERT_NO_FATAL_FAILURE(makeList("SUED02", "SÜDHANG BUCHE", "WR02"));
    ASSERT_NO_FATAL_FAILURE(openTally("SUED02"));
    h.run("day_keys.txt", "shutdown");
    ASSERT_NO_FATAL_FAILURE(toMainMenu());
    h.dialogs.answerNext(Answer::Yes);
    h.press(Screen::kCancel);
    EXPECT_EQ(h.active(), nullptr);
    EXPECT_EQ(said(), QStringList{"Frage: Programm beenden? [JA/NEIN] JA"});
    h.app.shutdown();
    h.session.database().close();
    const QString database = h.root.host(QStringLiteral("Brovant/Brovant.cdb"));
    EXPECT_FALSE(QFile::exists(database + QStringLiteral("-wal")));
    EXPECT_EQ(sqlRows(database, "SELECT rtrim(REGION_A) || '|' || rtrim(BAUMART) || '|' || "
                                "rtrim(TARIF) AS r FROM Brov_Einstellungen WHERE ID_TYPE = 3 AND "
                                "BHD = 1 ORDER BY r"),
              day("saved tariffs"));

    DeviceSession session(h.root.path());
    AppState state;
    ManualClock clock(QDateTime(QDate(2026, 5, 5), QTime(6, 50)));
    ScriptedDialogs dialogs;
    BrovantApp app(session, state, clock);
    app.replaceMessages(&dialogs);
    ASSERT_TRUE(app.start());
    EXPECT_EQ(brovant::said(dialogs), day("next morning"));
    EXPECT_EQ(state.speciesTariffs[size_t(state.tables.speciesIndex(QStringLiteral("FI")))],
              QStringLiteral("FI02"));
    EXPECT_EQ(state.speciesTariffs[size_t(state.tables.speciesIndex(QStringLiteral("BU")))],
              QStringLiteral("BU02"));
    app.shutdown();
    EXPECT_EQ(sqlRows(database, kTrees.toUtf8().constData()),
              (QStringList{"1|1|FI02|FI|||1|26|26|52", "2|1|BU02|BU|||1|44|44|193"}));
}

} // namespace
} // namespace brovant
