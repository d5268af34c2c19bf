// The settings screen as a user meets it from the main menu: its tabs, the device settings that
// apply at once, "Delete all" with its swapped second question, and the ways to other screens.
#include "app/SettingsDlg.h"
#include "app/BrovantApp.h"
#include "app/CNorvKey.h"
#include "app/MainMenuDlg.h"
#include "app/logic/AppState.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "device/DeviceControls.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QComboBox>
#include <QFile>
#include <QPushButton>
#include <QSlider>
#include <QTabBar>
#include <QTest>
#include <QTimeEdit>

#include <gtest/gtest.h>

namespace brovant {
namespace {

// A staged configuration and a device that keeps its switch-off time in the power manager's key.
struct PreparedRoot : test::TempRoot {
    PreparedRoot()
    {
        QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
        EXPECT_TRUE(sample.open(QIODevice::ReadOnly));
        writeFile(QStringLiteral("Brovant/passive.dtr"), sample.readAll());
        Registry(host(QStringLiteral("Registry")))
            .setDword(Hive::LocalMachine,
                      QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Power\\Timeouts"),
                      QStringLiteral("BattSuspendTimeout"), 180);
    }
};

class SettingsScreen : public ::testing::Test {
protected:
    SettingsScreen()
        : session(root.path())
        , clock(QDateTime(QDate(2026, 5, 4), QTime(7, 0, 0)))
        , app(session, state, clock)
    {
        app.replaceMessages(&dialogs);
        EXPECT_TRUE(app.start());
        QTest::mouseClick(app.mainMenu()->findChild<CNorvKey*>(QStringLiteral("key1007")),
                          Qt::LeftButton);
        screen = qobject_cast<SettingsDlg*>(app.GetActiveDlg());
        EXPECT_NE(screen, nullptr);
        dialogs.clear();
    }
    ~SettingsScreen() override { app.shutdown(); }

    void click(int id)
    {
        auto* button = screen->findChild<QPushButton*>(QStringLiteral("button%1").arg(id));
        ASSERT_NE(button, nullptr) << id;
        QTest::mouseClick(button, Qt::LeftButton);
    }
    int lists()
    {
        auto q = session.database().query(QStringLiteral("SELECT COUNT(*) FROM Brov_Kopfdaten"));
        return q.next() ? int(q.integer(0)) : -1;
    }
    QString registry(const char* key, const char* value)
    {
        const auto v = session.registry().dword(Hive::LocalMachine, QLatin1StringView(key),
                                                QLatin1StringView(value));
        return v ? QString::number(*v) : QStringLiteral("-");
    }

    PreparedRoot root;
    DeviceSession session;
    AppState state;
    ManualClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app;
    SettingsDlg* screen = nullptr;
};

TEST_F(SettingsScreen, TabsShowTheirControls)
{
    auto* tabs = screen->findChild<QTabBar*>(QStringLiteral("tabs1021"));
    ASSERT_NE(tabs, nullptr);
    ASSERT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("Funktionen"));
    EXPECT_EQ(tabs->tabText(1), QStringLiteral("Konfiguration"));
    EXPECT_EQ(tabs->tabText(2), QStringLiteral("Einstellungen"));
    const int perTab[3][2] = {{SettingsDlg::kDeleteAll, SettingsDlg::kReset},
                              {SettingsDlg::kCompanyHeader, SettingsDlg::kTariffAssignment},
                              {0, 0}};
    for (int tab = 0; tab < 3; ++tab) {
        tabs->setCurrentIndex(tab);
        for (int id : perTab[tab]) {
            if (id) {
                EXPECT_TRUE(screen->findChild<QPushButton*>(QStringLiteral("button%1").arg(id))
                                ->isVisible())
                    << id;
            }
        }
    }
    EXPECT_TRUE(screen->findChild<QSlider*>(QStringLiteral("slider1024"))->isVisible());
    // The switch-off list shows what the device holds.
    EXPECT_EQ(screen->findChild<QComboBox*>(QStringLiteral("combo1207"))->currentText(),
              QStringLiteral("3 Minuten"));
}

TEST_F(SettingsScreen, SwitchOffAndTimeApplyAtOnce)
{
    auto* combo = screen->findChild<QComboBox*>(QStringLiteral("combo1207"));
    const int seconds[] = {0, 60, 120, 180, 240, 300};
    for (int i = 0; i < combo->count(); ++i) {
        combo->setCurrentIndex(i);
        EXPECT_EQ(
            registry("SYSTEM\\CurrentControlSet\\Control\\Power\\Timeouts", "BattSuspendTimeout"),
            QString::number(seconds[i]));
    }
    EXPECT_EQ(combo->itemText(0), QStringLiteral("nicht ausschalten"));
    screen->findChild<QTimeEdit*>(QStringLiteral("time1023"))->setTime(QTime(9, 15, 0));
    EXPECT_EQ(clock.now().time(), QTime(9, 15, 0));
    EXPECT_EQ(clock.now().date(), QDate(2026, 5, 4));
}

// Only "Fortsetzen" followed by the right-hand "JA" deletes; then the menu is shown.
TEST_F(SettingsScreen, DeleteAllOnlyWithTheRightHandJa)
{
    Dataset heads(session.database(), schema::Kopfdaten);
    heads.clearFields();
    heads.setInt(u"ID_FILE", 1);
    heads.insert();
    dialogs.answerNext(MessageDialogs::Yes);
    dialogs.answerNext(MessageDialogs::Yes); // "NEIN", the left button
    click(SettingsDlg::kDeleteAll);
    EXPECT_EQ(lists(), 1);
    EXPECT_EQ(app.GetActiveDlg(), screen);

    dialogs.answerNext(MessageDialogs::Yes);
    dialogs.answerNext(MessageDialogs::No); // "JA", the right button
    click(SettingsDlg::kDeleteAll);
    EXPECT_EQ(lists(), 0);
    EXPECT_EQ(app.GetActiveDlg(), app.mainMenu());
    EXPECT_TRUE(session.configurationLoaded());
}

TEST_F(SettingsScreen, ResetOnlyWhenConfirmedAndWaysToOtherScreens)
{
    dialogs.answerNext(MessageDialogs::No);
    click(SettingsDlg::kReset);
    EXPECT_EQ(dialogs.asked(), QStringList{QStringLiteral("Wollen Sie den Reset|durchführen?|")});

    screen->showTab(1);
    click(SettingsDlg::kCompanyHeader);
    EXPECT_EQ(app.GetActiveDlg()->objectName(), QStringLiteral("configuration"));
    app.SwitchToDialog(screen);
    click(SettingsDlg::kTariffAssignment);
    EXPECT_EQ(app.GetActiveDlg()->objectName(), QStringLiteral("tariffAssignment"));
    app.SwitchToDialog(screen);
    // Without the printer settings screen the button stays disabled.
    EXPECT_FALSE(screen->findChild<QPushButton*>(QStringLiteral("button1020"))->isEnabled());
    QTest::mouseClick(screen->findChild<CNorvKey*>(QStringLiteral("key2")), Qt::LeftButton);
    EXPECT_EQ(app.GetActiveDlg(), app.mainMenu());
}

} // namespace
} // namespace brovant
