// The settings screen from the main menu: its tabs, device settings that apply at once, the keys
// that ask first, the restore screen, and the ways to other screens ("Delete all", a backup and a
// restore taken: the day in the field).
#include "app/CableSettingsDlg.h"
#include "app/ConfigurationDlg.h"
#include "app/KeyTables.h"
#include "app/PrinterSettingsDlg.h"
#include "app/ProgramFixture.h"
#include "app/RestoreDlg.h"
#include "app/SettingsDlg.h"
#include "device/BackupService.h"
#include "device/DeviceControls.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QDir>
#include <QRadioButton>
#include <QSlider>
#include <QTimeEdit>

namespace brovant {
namespace {

using namespace test;

const QString kPowerKey = QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Power\\Timeouts");
const QString kBacklightKey = QStringLiteral("ControlPanel\\Backlight");

// A device that keeps its switch-off time in the power manager's key, the settings screen shown.
class SettingsScreen : public ::testing::Test, protected Program {
protected:
    SettingsScreen()
        : Program(ProgramSetup()
                      .at(QDateTime(QDate(2026, 5, 4), QTime(7, 0, 0)))
                      .staging([](const TempRoot& root) {
                          Registry(root.host(QStringLiteral("Registry")))
                              .setDword(Hive::LocalMachine, kPowerKey,
                                        QStringLiteral("BattSuspendTimeout"), 180);
                      }))
    {
        press(1007);
        screen = qobject_cast<SettingsDlg*>(active());
        EXPECT_NE(screen, nullptr);
        dialogs.clear();
    }
    void addTree()
    {
        EXPECT_TRUE(session.database()
                        .query(QStringLiteral("INSERT INTO Brov_Holzdaten (ID, ID_FILE) "
                                              "VALUES (1, 1)"))
                        .run());
    }
    int trees() { return count(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten")); }
    QStringList saved() const
    {
        return QDir(root.host(QStringLiteral("Brovant/Save"))).entryList(QDir::Files, QDir::Name);
    }

    SettingsDlg* screen = nullptr;
};

// A touch-only ppcutil handheld with a sysfs panel: the lowest position of the mains slider
// leaves the light on, in the registry and on the panel.
TEST(SettingsBacklight, LowestPositionKeepsTheScreenLit)
{
    Program program(ProgramSetup().staging([](const TempRoot& root) {
        root.writeFile(QStringLiteral("Windows/ppcutil.dll"), "MZ");
        root.writeFile(QStringLiteral("Windows/hardware.conf"), "backlight=\\sys\\panel\n");
        root.writeFile(QStringLiteral("sys/panel/max_brightness"), "255\n");
        root.writeFile(QStringLiteral("sys/panel/brightness"), "128\n");
        Registry(root.host(QStringLiteral("Registry")))
            .setDword(Hive::CurrentUser, kBacklightKey, QStringLiteral("Brightness"), 3);
    }));
    program.press(1007);
    auto* slider = program.active()->findChild<QSlider*>(QStringLiteral("slider1026"));
    ASSERT_NE(slider, nullptr);
    slider->setValue(slider->minimum());
    Registry& registry = program.session.registry();
    EXPECT_EQ(registry.dword(Hive::CurrentUser, kBacklightKey, QStringLiteral("Brightness")), 1u);
    EXPECT_EQ(registry.dword(Hive::CurrentUser, kBacklightKey, QStringLiteral("OnOff")), 1u);
    EXPECT_EQ(program.root.readFile(QStringLiteral("sys/panel/brightness")), "26\n");
}

// The keys that ask first do nothing on "NEIN" (what "JA" does: the day in the field); the others
// lead to their screens. The restore screen lists the backups stamped with the program's time, the
// newest chosen, OK only with one to choose; "Abbrechen" changes nothing (OK restores: the day in
// the field). The tabs show their controls, and device settings apply at once.
//
// The date and time pickers, filled at 07:00: the part the user leaves alone is the clock's
// at the moment of writing, even when the day has turned since.
TEST_F(SettingsScreen, PickersQuestionsWaysRestoreTabsAndDeviceSettings)
{
    probe("saved", [&](auto) { return saved().join(u'/'); });
    run("settings_screen.txt");
    auto* date = screen->findChild<QDateEdit*>(QStringLiteral("date1022"));
    auto* time = screen->findChild<QTimeEdit*>(QStringLiteral("time1023"));
    const struct {
        qint64 openMinutes;
        std::function<void()> change;
        QDateTime set;
    } steps[] = {
        {25, [&] { date->setDate(QDate(2026, 6, 1)); }, {QDate(2026, 6, 1), QTime(7, 25)}},
        {17 * 60, [&] { time->setTime(QTime(9, 0)); }, {QDate(2026, 6, 2), QTime(9, 0)}},
    };
    for (const auto& s : steps) {
        clock.advanceMs(s.openMinutes * 60 * 1000);
        s.change();
        EXPECT_EQ(clock.now(), s.set);
    }

    SeenRestore seen = openRestore(-1, RestoreDlg::kOk);
    EXPECT_TRUE(seen.opened);
    EXPECT_EQ(seen.title, QStringLiteral("Wiederherstellen"));
    EXPECT_EQ(seen.caption, QStringLiteral("Auswahl Datensicherung"));
    EXPECT_TRUE(seen.lines.isEmpty());
    EXPECT_FALSE(seen.okEnabled);
    EXPECT_EQ(active(), screen);

    for (const QDateTime& time : {QDateTime(QDate(2026, 5, 1), QTime(8, 5, 59)),
                                  QDateTime(QDate(2026, 5, 3), QTime(16, 45))}) {
        clock.setNow(time);
        addTree();
        ASSERT_TRUE(app.backup().backup(BackupService::Kind::Manual));
    }
    seen = openRestore(0, RestoreDlg::kCancel);
    EXPECT_EQ(seen.lines,
              (QStringList{"0001_Manu.cdb 01.05.2026, 08:05", "0002_Manu.cdb 03.05.2026, 16:45"}));
    EXPECT_EQ(seen.current, 1);
    EXPECT_TRUE(seen.okEnabled);
    EXPECT_EQ(trees(), 2);
    EXPECT_EQ(saved(), (QStringList{"0001_Manu.cdb", "0002_Manu.cdb"}));
    EXPECT_TRUE(dialogs.asked().isEmpty());
    EXPECT_TRUE(screen->isVisible());

    // A card wanted and missing: the notice instead of the screen.
    session.store().writeInt(Setting::BackupKarte, 0, 1);
    EXPECT_FALSE(openRestore(-1, RestoreDlg::kCancel).opened);
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral("Kein Zugriff auf externe|Speicherkarte möglich!|")});
    dialogs.clear();
    clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(7, 0)));
    auto* tabs = screen->findChild<QTabBar*>(QStringLiteral("tabs1021"));
    ASSERT_NE(tabs, nullptr);
    ASSERT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("Funktionen"));
    EXPECT_EQ(tabs->tabText(1), QStringLiteral("Konfiguration"));
    EXPECT_EQ(tabs->tabText(2), QStringLiteral("Einstellungen"));
    // The switch-off list shows what the device holds and writes each choice back.
    auto* combo = screen->findChild<QComboBox*>(QStringLiteral("combo1207"));
    EXPECT_EQ(combo->currentText(), QStringLiteral("3 Minuten"));
    EXPECT_EQ(combo->itemText(0), QStringLiteral("nicht ausschalten"));
    const unsigned seconds[] = {0, 60, 120, 180, 240, 300};
    for (int i = 0; i < combo->count(); ++i) {
        combo->setCurrentIndex(i);
        EXPECT_EQ(session.registry().dword(Hive::LocalMachine, kPowerKey,
                                           QStringLiteral("BattSuspendTimeout")),
                  seconds[i]);
    }
    // Without a way to the system's idle time the user is told once that the system's applies.
    EXPECT_EQ(dialogs.asked(), QStringList{text("Für das Ausschalten gilt|die Einstellung des "
                                                "Systems!|")});
    screen->findChild<QTimeEdit*>(QStringLiteral("time1023"))->setTime(QTime(9, 15, 0));
    EXPECT_EQ(clock.now(), QDateTime(QDate(2026, 5, 4), QTime(9, 15, 0)));
    press(Screen::kCancel);
    EXPECT_EQ(active(), app.mainMenu());
}

// The printer and communication settings screen and the cable settings screen, reached from the
// settings screen's "Kommunikation" and driven by taps.
struct CommunicationProgram : Program {
    CommunicationProgram()
        : Program(ProgramSetup().bare())
    {
        names = {{"Settings", MainMenuDlg::kSettings}};
        // A number or a text of the profile, "SECTION/ENTRY".
        probe("number", [&](const QString& entry) {
            const int value =
                session.profile().readInt(entry.section(u'/', 0, 0), entry.section(u'/', 1), -1);
            return value < 0 ? QStringLiteral("<absent>") : QString::number(value);
        });
        probe("text", [&](const QString& entry) { return registry(entry); });
        probe("unchanged", [&](auto) {
            const bool same = session.registry().exportText() == registryBefore
                              && state.tables.describe() == tablesBefore;
            return text(same ? "yes" : "no");
        });
        probe("port", [&](const QString& port) {
            session.store().writeInt(Setting::DuePort, 0, port.toInt());
            return QString();
        });
        probe("line", [&](auto) { return label(text("cableLine")).left(6); });
        // The cable's button of the transfer tab, clicked while another tab is shown.
        probe("cable", [&](auto) {
            QTest::mouseClick(active()->findChild<QPushButton*>("cable"), Qt::LeftButton);
            return QString();
        });
    }
    const QString registryBefore = session.registry().exportText();
    const QString tablesBefore = state.tables.describe();
};

TEST(PrinterSettingsDlg, ChoicesOnBothScreensAreStoredWhenConfirmed)
{
    CommunicationProgram p;
    p.session.store().writeText(Setting::ModemName, 2, QStringLiteral("Büro"));
    p.run("communication_choices.txt");
    EXPECT_EQ(p.session.registry().dword(Hive::CurrentUser, QStringLiteral("ControlPanel\\Comm"),
                                         QStringLiteral("AutoCnct")),
              std::nullopt);
    // The program's own tables follow both screens (what they hold is the logic's to say).
    EXPECT_EQ(p.state.tables.duePort, 4);
    EXPECT_EQ(p.state.tables.printerType, 1);
}

TEST(PrinterSettingsDlg, CancelLeavesEverythingAsItWasAndActiveSyncHidesTheLine)
{
    CommunicationProgram p;
    p.run("communication_cancel.txt");
}

// On an empty device: the registry holds nothing until a page is confirmed.
struct ConfigProgram : Program {
    ConfigProgram()
        : Program(ProgramSetup().bare())
    {
        names = {{"CompanyHeader", int(ConfigPage::CompanyHeader)},
                 {"Modem", int(ConfigPage::Modem)},
                 {"Ftp", int(ConfigPage::Ftp)}};
        probe("caller", [this](auto) {
            caller = app.stack().addScreen(
                std::make_unique<KeypadScreen>(app.stack(), QStringLiteral("caller")));
            return QString();
        });
        probe("none", [this](auto) {
            none = true;
            return QString();
        });
        probe("open", [this](const QString& page) {
            if (caller)
                app.stack().switchTo(caller);
            else if (none)
                app.stack().setActiveScreen(nullptr);
            screen->openPage(names.value(page));
            return QString();
        });
        probe("page", [this](auto) { return names.key(int(screen->page())); });
        probe("registry", [this](const QString& entry) { return registry(entry); });
        probe("stored", [this](const QString& column) {
            return rows(QStringLiteral("SELECT %1 FROM Brov_Konfiguration").arg(column)).join(u'/');
        });
        probe("letters", [this](auto) {
            return text(keyboard()->findChild<KeyButton*>(QStringLiteral("char_A")) ? "yes" : "no");
        });
        probe("password", [this](const QString& password) {
            session.profile().writeString(text("FTP"), text("Password"), password);
            return QString();
        });
        probe("set", [this](const QString& field) {
            edit(field.section(u' ', 0, 0))->setText(field.section(u' ', 1));
            return QString();
        });
        // The files of the database that hold the text.
        probe("holding", [this](const QString& secret) {
            QStringList holding;
            for (const QString& name :
                 QDir(root.host(text("Brovant"))).entryList(QDir::Files | QDir::Hidden)) {
                if (root.readFile(text("Brovant/") + name).contains(secret.toUtf8()))
                    holding << name;
            }
            return holding.join(u'/');
        });
    }
    Screen* caller = nullptr;
    bool none = false;
    ConfigurationDlg* screen = find<ConfigurationDlg>();
};

TEST(ConfigurationDlg, SoftKeysPasswordWaysBackChangedPagesAndLayout)
{
    for (const char* section :
         {"soft keys", "from another screen", "from no screen", "unchanged", "saved", "dropped"}) {
        SCOPED_TRACE(section);
        ConfigProgram p;
        p.run("configuration.txt", section);
    }
    // Each page fits above the keyboard.
    ConfigProgram p;
    for (int page = 0; page < ConfigurationLogic::kPages; ++page) {
        p.screen->openPage(page);
        std::vector<QRect> taken;
        for (const ConfigBinding& b : ConfigurationLogic::bindings(ConfigPage(page))) {
            SCOPED_TRACE(b.column);
            QLineEdit* edit = p.edit(text(b.column));
            auto* label = p.screen->findChild<QLabel*>(QStringLiteral("label_") + text(b.column));
            ASSERT_NE(edit, nullptr);
            ASSERT_NE(label, nullptr);
            EXPECT_TRUE(edit->isVisible());
            EXPECT_EQ(str(label->text()), b.label);
            EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()));
            EXPECT_GE(edit->width(), 8 * edit->fontMetrics().averageCharWidth());
            for (QWidget* w : {static_cast<QWidget*>(label), static_cast<QWidget*>(edit)}) {
                const QRect r(w->mapTo(p.screen, QPoint(0, 0)), w->size());
                EXPECT_TRUE(QRect(0, 0, 240, keys::kFullArea.top()).contains(r));
                for (const QRect& other : taken)
                    EXPECT_FALSE(r.intersects(other));
                taken.push_back(r);
            }
        }
    }
}

} // namespace
} // namespace brovant
