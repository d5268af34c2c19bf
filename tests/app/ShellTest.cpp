// The program as a user meets it: start-up on different devices, the main menu, ending it, and a
// second start of the real binary.
#include "app/ProgramFixture.h"
#include "app/QtMessageDialogs.h"
#include "app/SingleInstance.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTimer>

namespace brovant {
namespace {

using namespace test;

TEST(Shell, FreshDeviceStartsOnTheMainMenuWithClockAndDate)
{
    Program p;
    EXPECT_EQ(p.active(), p.app.mainMenu());
    EXPECT_TRUE(p.app.mainMenu()->isVisible());
    EXPECT_TRUE(p.app.mainMenu()->clockRunning());
    EXPECT_EQ(p.label("title"), QStringLiteral("Brovanterfassung V3.03t"));
    EXPECT_EQ(p.label("clock"), QStringLiteral("07:05:09"));
    EXPECT_EQ(p.label("date"), QStringLiteral("04.05.2026"));
    EXPECT_TRUE(p.session.configurationLoaded());
    EXPECT_EQ(p.app.stack().mainWindow()->size(), QSize(240, 320));

    for (const Case& c : readCases(QStringLiteral("app/data/clock_and_date.txt"))) {
        const QDateTime time = QDateTime::fromString(c.text(0), Qt::ISODate);
        EXPECT_EQ(MainMenuDlg::clockText(time), c.text(1)) << c.where().constData();
        EXPECT_EQ(MainMenuDlg::dateText(time), c.text(2)) << c.where().constData();
    }
}

// Without master data no list can be made or opened. On the four picture keys the caption
// stands below the picture, both inside the key. The real dialogs, headless: each key gives its
// answer and Escape what the interface names for a dialog closed without one; only the notice
// has a default key. While a job offers "Abbruch", the info window's key is all a tap reaches: a
// key of the screen behind does nothing, the cancel key is seen; hiding the window takes the key
// away again. Ending the program asks first: "NEIN" keeps it on the main menu with its clock, "JA"
// ends it.
TEST(Shell, BareDeviceMenuDialogsInfoWindowAndEnding)
{
    Program p(ProgramSetup().bare());
    QSignalSpy finished(&p.app.stack(), &ScreenStack::finished);
    ASSERT_FALSE(p.session.configurationLoaded());
    p.state.currentList = 7;
    p.names = {{"NewList", MainMenuDlg::kNewList}, {"SelectList", MainMenuDlg::kSelectList}};
    p.probe("clock",
            [&](auto) { return text(p.app.mainMenu()->clockRunning() ? "running" : "stopped"); });
    p.probe("ended", [&](auto) { return QString::number(finished.count()); });
    p.run("shell.txt", "no master data");
    EXPECT_EQ(p.state.currentList, 7);
    for (int command : {MainMenuDlg::kNewList, MainMenuDlg::kSelectList, MainMenuDlg::kSystemInfo,
                        MainMenuDlg::kSettings}) {
        KeyButton* key = p.app.mainMenu()->shownKey(command);
        ASSERT_NE(key, nullptr) << command;
        const KeyButton::Layout places = key->layout();
        EXPECT_FALSE(places.caption.isEmpty()) << command;
        EXPECT_GE(places.picture.height(), key->height() / 3) << command;
        EXPECT_FALSE(places.picture.intersects(places.caption)) << command;
        EXPECT_TRUE(QRectF(key->rect()).contains(places.picture)) << command;
        EXPECT_TRUE(QRectF(key->rect()).contains(places.caption)) << command;
    }
    QtMessageDialogs& shown = *p.app.qtMessages();
    const QMap<QByteArray, Answer> answers{{"Yes", Answer::Yes},
                                           {"No", Answer::No},
                                           {"Second", Answer::Second},
                                           {"None", Answer::None},
                                           {"Ok", Answer::Ok}};
    for (const Case& c : readCases(QStringLiteral("app/data/message_dialogs.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const QByteArray kind = c.fields[0];
        const QString pressed = c.fields[1] == "-" ? QString() : c.text(1);
        QString title;
        int defaults = -1;
        QTimer::singleShot(0, [&] {
            auto* dialog = shown.window()->findChild<MessageDialog*>();
            ASSERT_TRUE(dialog && dialog->isModal() && dialog->isVisible());
            title = dialog->title();
            const auto keys = dialog->findChildren<QPushButton*>();
            defaults = int(std::count_if(keys.begin(), keys.end(),
                                         [](const QPushButton* key) { return key->isDefault(); }));
            for (QPushButton* key : keys) {
                if (!pressed.isEmpty() && key->text() == pressed)
                    QTest::mouseClick(key, Qt::LeftButton);
            }
            if (pressed.isEmpty())
                QTest::keyClick(dialog, Qt::Key_Escape);
        });
        Answer answer = Answer::Ok;
        if (kind == "notice")
            shown.notice(QStringLiteral("Zeile"), {}, {}, QStringLiteral("OK"), false);
        else if (kind == "yesno")
            answer = shown.yesNo(QStringLiteral("Zeile"), {}, {}, QStringLiteral("Ja"),
                                 QStringLiteral("Nein"));
        else
            answer = shown.question(QStringLiteral("Zeile"), {}, {}, QStringLiteral("Eins"),
                                    QStringLiteral("Zwei"), QStringLiteral("Drei"));
        EXPECT_EQ(answer, answers.value(c.fields[2]));
        EXPECT_EQ(title, c.text(3));
        EXPECT_EQ(defaults, kind == "notice" ? 1 : 0);
    }
    p.dialogs.clear();
    MessageDialogs& job = shown; // its info() overloads hide the interface's
    auto* cancel = shown.infoWindow()->findChild<QPushButton*>(QStringLiteral("infoCancel"));
    ASSERT_NE(cancel, nullptr);
    job.info(MessageDialogs::Show, QStringLiteral("Verbinden..."));
    EXPECT_FALSE(cancel->isVisible());
    job.offerCancel(true);
    EXPECT_TRUE(cancel->isVisible());
    p.press(Screen::kCancel);
    EXPECT_FALSE(job.cancelRequested());
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_TRUE(job.cancelRequested());
    job.info(MessageDialogs::Hide, QString());
    EXPECT_FALSE(cancel->isVisible());
    EXPECT_FALSE(job.cancelRequested());
    p.run("shell.txt", "ending");
}

// The system's environment on the offscreen platform, for the real programs.
QProcessEnvironment offscreen()
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return env;
}

// A second start hands over parameter 51 and ends at once, leaving the running one alone.
TEST(Shell, SecondStartOfTheProgramHandsOver)
{
    TempRoot root;
    SingleInstance first(root.path());
    ASSERT_TRUE(first.acquire());
    QSignalSpy received(&first, &SingleInstance::messageReceived);

    QProcess second;
    second.setProgram(QStringLiteral(BROVANT_PROGRAM_PATH));
    second.setArguments({QStringLiteral("--root"), root.path()});
    second.setProcessEnvironment(offscreen());
    second.start();
    ASSERT_TRUE(received.wait(20000));
    ASSERT_TRUE(second.waitForFinished(20000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_EQ(received.first().first().toInt(), SingleInstance::kSecondStart);
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Registry"))));
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Brovant"))));
}

// A start killed before it wrote its owner into the lock, or cut short in the line, or an owner
// gone: the next start takes the lock over, and holds it against a third.
TEST(Shell, LocksLeftByKilledStartsAreTakenOver)
{
    const std::pair<const char*, QByteArray> left[] = {
        {"empty", ""}, {"cut line", "12ab"}, {"owner gone", "2147483646\nbrovant\n\n"}};
    for (const auto& [label, content] : left) {
        SCOPED_TRACE(label);
        TempRoot root;
        root.writeFile(QStringLiteral(".brovant.lock"), content);
        SingleInstance next(root.path());
        EXPECT_TRUE(next.acquire());
        SingleInstance third(root.path());
        EXPECT_FALSE(third.acquire());
    }
}

// The real program's demo tour on `root`, pictures into `pictures`: exit status and stderr.
std::pair<int, QString> runTour(const TempRoot& root, const TempRoot& pictures)
{
    QProcess tour;
    tour.setProcessEnvironment(offscreen());
    tour.start(
        QStringLiteral(BROVANT_PROGRAM_PATH),
        {QStringLiteral("--root"), root.path(), QStringLiteral("--demo-tour"), pictures.path()});
    if (!tour.waitForFinished(300000))
        return {-1, QStringLiteral("no end")};
    return {tour.exitCode(), QString::fromUtf8(tour.readAllStandardError())};
}

// The demo tour stops at the first step it cannot take and names it: on a device without master
// data there is no region to pick. On the demo device the whole tour runs through and takes
// exactly the pictures the README shows.
TEST(Shell, DemoTourFailsLoudlyOrTakesThePicturesOfTheReadme)
{
    TempRoot root;
    TempRoot pictures;
    EXPECT_EQ(runTour(root, pictures),
              std::make_pair(1, text("Demo-Rundgang: Schritt 'Tarif-Zuordnung' fehlgeschlagen: "
                                     "Eintrag WR01 fehlt auf tariffAssignment\n")));
    ASSERT_EQ(
        QProcess::execute(QStringLiteral(BROVANT_TOOL_PATH),
                          {QStringLiteral("--root"), root.path(), QStringLiteral("import-config"),
                           QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr")}),
        0);
    TempRoot tour;
    EXPECT_EQ(runTour(root, tour), std::make_pair(0, QString()));
    const QStringList png{QStringLiteral("*.png")};
    EXPECT_EQ(QDir(tour.path()).entryList(png, QDir::Files, QDir::Name),
              QDir(QStringLiteral(BROVANT_SOURCE_DIR "/docs/pictures"))
                  .entryList(png, QDir::Files, QDir::Name));
}

// stderr is the programs' own: without XDG_RUNTIME_DIR, on the offscreen platform, where Qt has
// the most to say, a start of the program and the tool's commands write nothing there.
TEST(Shell, StderrHoldsNoQtMessages)
{
    TempRoot root;
    QProcessEnvironment env = offscreen();
    env.remove(QStringLiteral("XDG_RUNTIME_DIR"));
    const QString tool = QStringLiteral(BROVANT_TOOL_PATH);
    const QStringList device{QStringLiteral("--root"), root.path()};
    const std::pair<QString, QStringList> runs[] = {
        {tool, device + QStringList{"init"}},
        {tool, device + QStringList{"import-config", BROVANT_SOURCE_DIR "/demo/passive.dtr"}},
        {tool,
         device
             + QStringList{"new-list", "HIEB01", "--region", "WR01", "--field", "1=Forstamt",
                           "--field", "2=Revier", "--field", "3=12", "--field", "12=Anna Probe"}},
        {QStringLiteral(BROVANT_PROGRAM_PATH), device + QStringList{"--exit-after-start"}},
    };
    for (const auto& [program, arguments] : runs) {
        QProcess run;
        run.setProcessEnvironment(env);
        run.start(program, arguments);
        ASSERT_TRUE(run.waitForFinished(60000)) << str(arguments.join(u' '));
        EXPECT_EQ(run.exitCode(), 0) << str(arguments.join(u' '));
        EXPECT_EQ(QString::fromUtf8(run.readAllStandardError()), QString())
            << str(arguments.join(u' '));
    }
}

} // namespace
} // namespace brovant
