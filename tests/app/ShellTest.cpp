// The program as a user meets it: start-up on different devices, the main menu, ending it, and a
// second start of the real binary.
#include "app/BrovantApp.h"
#include "app/CNorvKey.h"
#include "app/MainMenuDlg.h"
#include "app/SingleInstance.h"
#include "app/logic/AppState.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace brovant {
namespace {

class Shell {
public:
    explicit Shell(const QString& root,
                   QDateTime now = QDateTime(QDate(2026, 5, 4), QTime(7, 5, 9)))
        : session(root)
        , clock(std::move(now))
        , app(session, state, clock)
    {
        app.replaceMessages(&dialogs);
    }
    ~Shell() { app.shutdown(); }

    void click(int command)
    {
        auto* key = app.mainMenu()->findChild<CNorvKey*>(QStringLiteral("key%1").arg(command));
        ASSERT_NE(key, nullptr) << command;
        QTest::mouseClick(key, Qt::LeftButton);
    }
    QString label(const char* name) const
    {
        auto* l = app.mainMenu()->findChild<QLabel*>(QLatin1StringView(name));
        return l ? l->text() : QString();
    }

    DeviceSession session;
    AppState state;
    ManualClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app;
};

void stageSample(const test::TempRoot& root)
{
    QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    root.writeFile(QStringLiteral("Brovant/passive.dtr"), sample.readAll());
}

TEST(Shell, FreshDeviceStartsOnTheMainMenuWithClockAndDate)
{
    test::TempRoot root;
    stageSample(root);
    Shell shell(root.path());
    ASSERT_TRUE(shell.app.start());
    EXPECT_EQ(shell.app.GetActiveDlg(), shell.app.mainMenu());
    EXPECT_TRUE(shell.app.mainMenu()->isVisible());
    EXPECT_TRUE(shell.app.mainMenu()->clockRunning());
    EXPECT_EQ(shell.label("title"), QStringLiteral("Brovanterfassung V3.03t"));
    EXPECT_EQ(shell.label("clock"), QStringLiteral("07:05:09"));
    EXPECT_EQ(shell.label("date"), QStringLiteral("04.05.2026"));
    EXPECT_TRUE(shell.session.configurationLoaded());
    EXPECT_TRUE(shell.dialogs.asked().isEmpty());
    EXPECT_EQ(shell.app.mainWindow()->size(), QSize(240, 320));
}

TEST(Shell, ClockAndDateFormats)
{
    struct Case {
        QDateTime time;
        const char* clock;
        const char* date;
    };
    const Case cases[] = {
        {QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5)), "03:04:05", "02.01.2026"},
        {QDateTime(QDate(999, 12, 31), QTime(23, 59, 59)), "23:59:59", "31.12. 999"},
        {QDateTime(QDate(2004, 10, 10), QTime(0, 0, 0)), "00:00:00", "10.10.2004"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MainMenuDlg::clockText(c.time), QLatin1StringView(c.clock));
        EXPECT_EQ(MainMenuDlg::dateText(c.time), QLatin1StringView(c.date));
    }
}

TEST(Shell, ForeignDatabaseIsReplacedAfterTheNotice)
{
    test::TempRoot root;
    root.writeFile(QStringLiteral("Brovant/Brovant.cdb"), "Kein Datenbankformat");
    Shell shell(root.path());
    ASSERT_TRUE(shell.app.start());
    EXPECT_EQ(shell.dialogs.asked().value(0),
              QStringLiteral("Datenbank und Stammdaten|werden gelöscht!|"));
    EXPECT_EQ(root.readFile(QStringLiteral("Brovant/Brovant.cdb.alt")), "Kein Datenbankformat");
}

// Without master data no list can be made or opened; the other two ways always lead on.
TEST(Shell, MenuRefusesListWorkWithoutMasterData)
{
    test::TempRoot root;
    Shell shell(root.path());
    ASSERT_TRUE(shell.app.start());
    ASSERT_FALSE(shell.session.configurationLoaded());
    shell.state.currentList = 7;
    for (int command : {MainMenuDlg::kNewList, MainMenuDlg::kSelectList}) {
        shell.dialogs.clear();
        shell.click(command);
        EXPECT_EQ(shell.dialogs.asked(),
                  QStringList{QStringLiteral("Keine Stammdaten vorhanden!||")});
        EXPECT_EQ(shell.app.GetActiveDlg(), shell.app.mainMenu());
        EXPECT_TRUE(shell.app.mainMenu()->clockRunning());
    }
    EXPECT_EQ(shell.state.currentList, 7);
}

TEST(Shell, EndingTheProgramAsksFirst)
{
    test::TempRoot root;
    Shell shell(root.path());
    ASSERT_TRUE(shell.app.start());
    QSignalSpy finished(&shell.app, &CNorvMFCApp::finished);

    shell.dialogs.answerNext(MessageDialogs::No);
    shell.click(CNorvBaseDlg::IDCANCEL);
    EXPECT_EQ(shell.dialogs.asked(), QStringList{QStringLiteral("Programm beenden?||")});
    EXPECT_EQ(finished.count(), 0);
    EXPECT_TRUE(shell.app.mainMenu()->clockRunning());

    shell.dialogs.answerNext(MessageDialogs::Yes);
    shell.click(CNorvBaseDlg::IDCANCEL);
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(shell.app.GetActiveDlg(), nullptr);
    EXPECT_FALSE(shell.app.mainMenu()->clockRunning());
}

// Shutdown gives every hardware button back what it had before the program ran.
TEST(Shell, ShutdownRestoresTheButtonKeys)
{
    test::TempRoot root;
    const QString key = QStringLiteral("Software\\Microsoft\\Shell\\Keys\\40C2");
    {
        Registry registry(root.host(QStringLiteral("Registry")));
        registry.setString(Hive::LocalMachine, key, QString(),
                           QStringLiteral("\\Windows\\camera.exe"));
        registry.setDword(Hive::LocalMachine, key, QStringLiteral("Flags"), 8);
    }
    {
        Shell shell(root.path());
        ASSERT_TRUE(shell.app.start());
        Registry& r = shell.session.registry();
        EXPECT_EQ(r.string(Hive::LocalMachine, key, QString()),
                  QStringLiteral("\\Brovant\\Messenger.exe D"));
        EXPECT_EQ(r.dword(Hive::LocalMachine, key, QStringLiteral("Flags")), 0u);
    }
    Registry after(root.host(QStringLiteral("Registry")));
    EXPECT_EQ(after.string(Hive::LocalMachine, key, QString()),
              QStringLiteral("\\Windows\\camera.exe"));
    EXPECT_EQ(after.dword(Hive::LocalMachine, key, QStringLiteral("Flags")), 8u);
    EXPECT_FALSE(after.keyExists(Hive::LocalMachine,
                                 QStringLiteral("Software\\Microsoft\\Shell\\Keys\\40C1")));
}

TEST(Shell, ColdBootQuestionBothWays)
{
    for (int answer : {MessageDialogs::Yes, MessageDialogs::No}) {
        test::TempRoot root;
        root.writeFile(QStringLiteral("Built-in Storage/Brovant.cdb"), "backup");
        Shell shell(root.path(), QDateTime(QDate(2003, 1, 1), QTime(0, 0)));
        shell.dialogs.answerNext(answer);
        ASSERT_TRUE(shell.app.start());
        ASSERT_FALSE(shell.dialogs.asked().isEmpty());
        EXPECT_EQ(shell.dialogs.asked().first(),
                  QStringLiteral(
                      "Kam es zum Programmverlust|und wollen sie letzte Daten|wieder herstellen?"));
        const bool restored = answer == MessageDialogs::Yes;
        // A restored file that is no database is then replaced by an empty one, kept aside.
        EXPECT_EQ(root.readFile(QStringLiteral("Brovant/Brovant.cdb.alt")) == "backup", restored);
        EXPECT_EQ(root.readFile(QStringLiteral("Built-in Storage/Brovant.bak.cdb")) == "backup",
                  !restored);
    }
}

// A second start hands over parameter 51 and ends at once, leaving the running one alone.
TEST(Shell, SecondStartOfTheProgramHandsOver)
{
    test::TempRoot root;
    SingleInstance first(root.path());
    ASSERT_TRUE(first.acquire());
    QSignalSpy received(&first, &SingleInstance::messageReceived);

    QProcess second;
    second.setProgram(QStringLiteral(BROVANT_PROGRAM_PATH));
    second.setArguments({QStringLiteral("--root"), root.path()});
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    second.setProcessEnvironment(env);
    second.start();
    ASSERT_TRUE(received.wait(20000));
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_EQ(received.first().first().toInt(), SingleInstance::kSecondStart);
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Registry"))));
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Brovant"))));
}

} // namespace
} // namespace brovant
