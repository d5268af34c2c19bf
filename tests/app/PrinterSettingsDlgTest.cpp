// The printer and communication settings screen and the cable settings screen, reached from the
// settings screen's "Kommunikation" and driven by taps.
#include "app/PrinterSettingsDlg.h"
#include "app/CableSettingsDlg.h"
#include "app/ProgramFixture.h"
#include "app/SettingsDlg.h"
#include "support/CaseFile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>
#include <QTabBar>

namespace brovant {
namespace {

using namespace test;

const QString kComm = QStringLiteral("ControlPanel\\Comm");

struct CommunicationProgram : Program {
    CommunicationProgram()
        : Program(ProgramSetup().bare())
    {
    }
    // Main menu, "Funktionen/Einstellungen", tab "Konfiguration", "Kommunikation".
    void open()
    {
        app.stack().switchTo(app.mainMenu());
        press(MainMenuDlg::kSettings);
        auto* settings = qobject_cast<SettingsDlg*>(active());
        ASSERT_NE(settings, nullptr);
        settings->showTab(1);
        click(SettingsDlg::kCommunication);
        ASSERT_EQ(str(activeName()), "printerSettings");
    }
    template <class W> W* widget(const char* name) const
    {
        auto* w = active()->findChild<W*>(QLatin1StringView(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void tab(int index) { tapTab(QStringLiteral("tabs"), index); }
    void tap(const char* name) { click(text(name)); }
    void choose(const char* list, const QString& entry) { Program::choose(text(list), entry); }
    QString shown(const char* list) const { return widget<QComboBox>(list)->currentText(); }
    bool hidden(const char* name) const { return widget<QWidget>(name)->isHidden(); }
    QString number(const char* section, const char* entry)
    {
        const int value = session.profile().readInt(text(section), text(entry), -1);
        return value < 0 ? QStringLiteral("<absent>") : QString::number(value);
    }
    std::optional<quint32> autoConnect()
    {
        return session.registry().dword(Hive::CurrentUser, kComm, QStringLiteral("AutoCnct"));
    }
};

TEST(PrinterSettingsDlg, ChoicesOnBothScreensAreStoredWhenConfirmed)
{
    CommunicationProgram p;
    p.session.store().writeText(Setting::ModemName, 2, QStringLiteral("Büro"));
    p.open();
    EXPECT_EQ(str(p.label(QStringLiteral("title"))), "Einstellungen - Kommunikation");
    EXPECT_TRUE(p.widget<QRadioButton>("mode1")->isChecked());
    EXPECT_FALSE(p.widget<QComboBox>("modemEntry")->isEnabled());
    EXPECT_EQ(str(p.label(QStringLiteral("cableLine"))), "ActiveSync");

    p.tap("mode2");
    p.choose("modemEntry", QStringLiteral("2: Büro"));
    p.tab(PrinterSettingsDlg::CaliperTab);
    EXPECT_FALSE(p.widget<QComboBox>("caliperPort")->isEnabled());
    p.tap("caliperActive");
    p.choose("caliperPort", QStringLiteral("COM3"));
    p.choose("caliperFormat", QStringLiteral("NMEA"));
    p.tab(PrinterSettingsDlg::PrinterTab);
    EXPECT_EQ(str(p.shown("printerType")), "Typ 5");
    EXPECT_EQ(str(p.label(QStringLiteral("pageLength"))), "65");
    p.choose("printerType", QStringLiteral("Typ 1"));
    EXPECT_EQ(str(p.label(QStringLiteral("pageLength"))), "72");
    for (int i = 0; i < 3; ++i)
        QTest::mouseClick(p.widget<QPushButton>("pageLengthUp"), Qt::LeftButton);
    QTest::mouseClick(p.widget<QPushButton>("pageLengthDown"), Qt::LeftButton);
    p.tap("askBeforePrinting");
    p.choose("printerPort", QStringLiteral("COM2"));
    p.choose("printerBaudrate", QStringLiteral("9600"));
    p.choose("printFolder", QStringLiteral("\\Export"));

    QTest::mouseClick(p.widget<QPushButton>("cable"), Qt::LeftButton);
    ASSERT_EQ(str(p.activeName()), "cableSettings");
    EXPECT_EQ(str(p.label(QStringLiteral("title"))), "Einstellungen - Kabel");
    EXPECT_EQ(str(p.shown("port")), "ActiveSync");
    p.choose("port", QStringLiteral("COM4"));
    p.choose("baudrate", QStringLiteral("115200"));
    p.choose("wordlength", QStringLiteral("7"));
    p.choose("stopbits", QStringLiteral("2"));
    p.press(KeypadScreen::kEnter);

    // Back with everything chosen before still shown, and the new line.
    ASSERT_EQ(str(p.activeName()), "printerSettings");
    EXPECT_EQ(p.widget<QTabBar>("tabs")->currentIndex(), int(PrinterSettingsDlg::PrinterTab));
    EXPECT_EQ(str(p.label(QStringLiteral("pageLength"))), "74");
    EXPECT_EQ(str(p.label(QStringLiteral("cableLine"))), "COM4, 115200 Bd, 7 Bit, 2 Stopbits");
    EXPECT_EQ(str(p.number("DUE", "Port")), "4");
    EXPECT_EQ(str(p.number("DUE", "DueMode")), "<absent>");
    p.press(KeypadScreen::kEnter);

    EXPECT_EQ(str(p.activeName()), "settings");
    for (const Case& v : readCases(QStringLiteral("app/data/communication_stored.txt")))
        EXPECT_EQ(str(p.number(v.fields[0].constData(), v.fields[1].constData())), str(v.text(2)))
            << v.where().constData();
    EXPECT_EQ(str(p.registry("Printer", "Path")), "\\Export");
    EXPECT_EQ(p.autoConnect(), std::nullopt);
    // The program's own tables follow both screens (what they hold is the logic's to say).
    EXPECT_EQ(p.state.tables.duePort, 4);
    EXPECT_EQ(p.state.tables.printerType, 1);
}

// Whatever was chosen on both screens, cancelling leaves the registry and the tables as they
// were, and the next opening shows the store again. ActiveSync hides the serial line's fields with
// their captions; the port chosen is stored and shown on the communication screen (ActiveSync's
// own connection: the logic's).
TEST(PrinterSettingsDlg, CancelLeavesEverythingAsItWasAndActiveSyncHidesTheLine)
{
    CommunicationProgram p;
    p.open();
    const QString registry = p.session.registry().exportText();
    const QString tables = p.state.tables.describe();
    p.tap("mode3");
    p.tab(PrinterSettingsDlg::CaliperTab);
    p.tap("caliperActive");
    p.tab(PrinterSettingsDlg::PrinterTab);
    p.choose("printerType", QStringLiteral("Typ 0"));
    QTest::mouseClick(p.widget<QPushButton>("pageLengthDown"), Qt::LeftButton);
    p.tap("askBeforePrinting");
    p.tab(PrinterSettingsDlg::TransferTab);
    p.tap("cable");
    p.choose("port", QStringLiteral("COM2"));
    p.choose("baudrate", QStringLiteral("1200"));
    p.press(Screen::kCancel);
    EXPECT_EQ(str(p.label(QStringLiteral("cableLine"))), "ActiveSync");
    p.press(Screen::kCancel);
    EXPECT_EQ(str(p.activeName()), "settings");
    EXPECT_EQ(p.session.registry().exportText(), registry);
    EXPECT_EQ(p.state.tables.describe(), tables);

    p.open();
    EXPECT_TRUE(p.widget<QRadioButton>("mode1")->isChecked());
    EXPECT_FALSE(p.widget<QCheckBox>("caliperActive")->isChecked());
    EXPECT_EQ(str(p.shown("printerType")), "Typ 5");
    p.session.store().writeInt(Setting::DuePort, 0, 3);
    p.open();
    p.tap("cable");
    EXPECT_EQ(str(p.shown("port")), "COM3");
    for (const char* port : {"ActiveSync", "COM1"}) {
        p.choose("port", text(port));
        const bool lineShown = port != std::string("ActiveSync");
        for (const char* field : {"baudrate", "wordlength", "stopbits"}) {
            EXPECT_EQ(p.hidden(field), !lineShown) << port << field;
            EXPECT_EQ(p.hidden((std::string("label_") + field).c_str()), !lineShown) << field;
        }
        EXPECT_FALSE(p.hidden("label_port"));
    }
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(str(p.activeName()), "printerSettings");
    EXPECT_EQ(str(p.number("DUE", "Port")), "1");
    EXPECT_TRUE(p.label(QStringLiteral("cableLine")).startsWith(QStringLiteral("COM1, ")));
}

} // namespace
} // namespace brovant
