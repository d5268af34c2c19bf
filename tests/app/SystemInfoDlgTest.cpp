// The system information screen from the main menu: the battery route of each kind of device,
// the clock that runs only while it is shown, and the way back.
#include "app/SystemInfoDlg.h"
#include "app/ProgramFixture.h"
#include "support/CaseFile.h"

#include <QFontMetrics>
#include <QProgressBar>

namespace brovant {
namespace {

using namespace test;

struct InfoProgram : Program {
    explicit InfoProgram(ProgramSetup::Stage stage)
        : Program(ProgramSetup().bare().staging(std::move(stage)))
    {
        EXPECT_NE(screen, nullptr);
    }
    void openFromMenu()
    {
        ASSERT_EQ(active(), app.mainMenu());
        press(MainMenuDlg::kSystemInfo);
    }
    QString text(const char* name) const { return label(QLatin1StringView(name), screen); }
    QProgressBar* bar() const { return screen->findChild<QProgressBar*>("batteryBar"); }
    QLabel* stateWord() const { return screen->findChild<QLabel*>("batteryState"); }
    SystemInfoDlg* screen = find<SystemInfoDlg>();
};

// Which route a device takes is the device layer's; the screen shows a word or the bar.
TEST(SystemInfoDlg, ShowsTheBatteryRouteOfTheDevice)
{
    for (const Case& c : readCases(QStringLiteral("app/data/battery_routes.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const auto given = [&](int field) {
            return c.fields[field] != "-";
        };
        const bool getac = c.fields[4] == "1";
        InfoProgram program([&](const TempRoot& root) {
            const char* files[] = {"Windows/hardware.conf", "Windows/uni1.state",
                                   "sys/BAT0/capacity"};
            for (int field = 1; field <= 3; ++field) {
                if (given(field))
                    root.writeFile(QLatin1StringView(files[field - 1]), c.fields[field]);
            }
            if (getac)
                root.writeFile("Windows/externapi.dll", "MZ");
        });
        ASSERT_NE(program.screen, nullptr);

        program.openFromMenu();
        ASSERT_EQ(program.app.stack().activeScreen(), program.screen);
        EXPECT_TRUE(program.screen->isVisible());
        EXPECT_FALSE(program.app.mainMenu()->isVisible());
        EXPECT_EQ(program.text("title"), QStringLiteral("Systeminfo"));
        EXPECT_EQ(program.text("version"), QStringLiteral("Brovanterfassung V3.03t"));
        EXPECT_EQ(program.text("hardware") == QStringLiteral("Getac"), getac);
        EXPECT_FALSE(program.text("hardware").isEmpty());

        EXPECT_EQ(program.stateWord()->isVisible(), given(5));
        EXPECT_EQ(program.bar()->isVisible(), !given(5));
        if (given(5))
            EXPECT_EQ(program.stateWord()->text(), c.text(5));
        else
            EXPECT_EQ(program.bar()->value(), c.fields[6].toInt());

        // Every line fits the 240 pixels of the screen.
        for (const QLabel* label : program.screen->findChildren<QLabel*>()) {
            if (!label->isVisible() || label->wordWrap())
                continue;
            EXPECT_LE(QFontMetrics(label->font()).horizontalAdvance(label->text()), label->width())
                << str(label->objectName()) << ": " << str(label->text());
            EXPECT_LE(label->geometry().right(), 239) << str(label->objectName());
        }
    }
}

// The clock and the battery run only while the screen is shown; the build line shows the compile
// date the German way.
TEST(SystemInfoDlg, ClockBatteryAndBuildLine)
{
    InfoProgram program([](const TempRoot& root) {
        root.writeFile("Windows/hardware.conf", "uni1=\\Windows\\uni1.state\n");
        root.writeFile("Windows/uni1.state", "20");
    });
    const TempRoot& root = program.root;
    ASSERT_NE(program.screen, nullptr);
    EXPECT_FALSE(program.screen->refreshRunning());

    program.clock.advanceMs(60000);
    program.openFromMenu();
    EXPECT_TRUE(program.screen->refreshRunning());
    EXPECT_FALSE(program.app.mainMenu()->clockRunning());
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:09"));
    EXPECT_EQ(program.text("date"), QStringLiteral("04.05.2026"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("gut"));

    // The next tick shows the new second and asks the battery again.
    program.clock.advanceMs(2000);
    root.writeFile("Windows/uni1.state", "30");
    EXPECT_TRUE(QTest::qWaitFor([&] { return program.text("time") == u"07:06:11"; }, 3000));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("niedrig"));

    program.press(Screen::kCancel);
    EXPECT_EQ(program.app.stack().activeScreen(), program.app.mainMenu());
    EXPECT_TRUE(program.app.mainMenu()->isVisible());
    EXPECT_TRUE(program.app.mainMenu()->clockRunning());
    EXPECT_FALSE(program.screen->isVisible());
    EXPECT_FALSE(program.screen->refreshRunning());

    // Hidden, the screen is left alone.
    program.clock.advanceMs(5000);
    root.writeFile("Windows/uni1.state", "40");
    QTest::qWait(int(SystemInfoDlg::kRefreshMs * 1.5));
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:11"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("niedrig"));

    // Shown again, it is up to date at once.
    program.openFromMenu();
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:16"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("sehr niedrig"));
    EXPECT_TRUE(program.screen->refreshRunning());
    for (const Case& c : readCases(QStringLiteral("app/data/build_lines.txt")))
        EXPECT_EQ(SystemInfoDlg::buildLine(QStringLiteral("3.3.0"), c.fields[0].constData()),
                  c.text(1))
            << c.where().constData();
}

} // namespace
} // namespace brovant
