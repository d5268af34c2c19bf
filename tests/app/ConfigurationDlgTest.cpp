#include "app/ConfigurationDlg.h"
#include "app/BrovantApp.h"
#include "app/CNorvKey.h"
#include "app/KeyTables.h"
#include "app/logic/AppState.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace brovant {
namespace {

std::string str(const QString& text)
{
    return text.toStdString();
}

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// The program started on an empty device, main menu active, messages answered by script.
class Program {
public:
    Program()
    {
        app.replaceMessages(&dialogs);
        EXPECT_TRUE(app.start());
        app.mainWindow()->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(app.mainWindow()));
        screen = qobject_cast<ConfigurationDlg*>(app.findScreen(QStringLiteral("configuration")));
        EXPECT_NE(screen, nullptr);
        dialogs.clear();
    }
    ~Program() { app.shutdown(); }

    // A key of the keyboard shown now, clicked like a finger would.
    void press(const QString& objectName)
    {
        auto* key = screen->keyboard()->findChild<CNorvKey*>(objectName);
        ASSERT_NE(key, nullptr) << str(objectName);
        ASSERT_TRUE(key->isVisible()) << str(objectName);
        QTest::mouseClick(key, Qt::LeftButton);
    }
    void press(int command) { press(QStringLiteral("key%1").arg(command)); }
    void type(const QString& characters)
    {
        for (const QChar c : characters)
            press(QStringLiteral("char_") + c);
    }
    void clickPage(const char* title)
    {
        auto* key = screen->findChild<QAbstractButton*>(QStringLiteral("page") + text(title));
        ASSERT_NE(key, nullptr) << title;
        QTest::mouseClick(key, Qt::LeftButton);
    }
    QLineEdit* edit(const char* column) { return screen->findChild<QLineEdit*>(text(column)); }
    QString focused() const
    {
        QWidget* w = QApplication::focusWidget();
        return w ? w->objectName() : QString();
    }
    QString registry(const char* section, const char* entry)
    {
        return session.profile().readString(text(section), text(entry), QStringLiteral("<absent>"));
    }
    QStringList stored(const char* column)
    {
        QStringList values;
        auto q = session.database().query(
            QStringLiteral("SELECT %1 FROM Brov_Konfiguration").arg(text(column)));
        while (q.next())
            values << q.text(0);
        return values;
    }
    CNorvBaseDlg* active() const { return app.GetActiveDlg(); }

    test::TempRoot root;
    DeviceSession session{root.path(), Database::Durability::Relaxed};
    AppState state;
    ManualClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app{session, state, clock};
    ConfigurationDlg* screen = nullptr;
};

// One page typed on: a letter word into the first field, the next-field key, the digit keyboard
// and a number into the second field, the bar's Enter. The first two fields start all selected,
// so typing replaces what the registry held.
struct TypingCase {
    const char* name;
    ConfigPage page;
    const char* section;
    const char* first;
    const char* firstEntry;
    const char* second;
    const char* secondEntry;
    // A third field not typed on: confirming writes what it showed.
    const char* untouched;
    const char* untouchedEntry;
    const char* untouchedValue;
};

// Test names and failure messages show the case's name, not its bytes.
void PrintTo(const TypingCase& c, std::ostream* os)
{
    *os << c.name;
}

class ConfigurationTypingTest : public ::testing::TestWithParam<TypingCase> {};

TEST_P(ConfigurationTypingTest, SoftKeysTypeIntoTheFocusedFieldAndEnterStoresThePage)
{
    const TypingCase& c = GetParam();
    Program p;
    p.screen->openPage(int(c.page));
    ASSERT_EQ(p.active(), p.screen);
    EXPECT_EQ(str(p.focused()), c.first);

    p.type(QStringLiteral("MÜLLER"));
    p.press(CNorvKeybDlg::kNextField);
    EXPECT_EQ(str(p.focused()), c.second);
    p.press(CNorvKeybDlg::kZiff);
    p.type(QStringLiteral("0761-12"));
    EXPECT_EQ(str(p.edit(c.second)->text()), "0761-12");
    p.press(CNorvKeybDlg::kEnter);

    EXPECT_EQ(p.active(), p.app.findScreen(QStringLiteral("mainMenu")));
    EXPECT_EQ(str(p.registry(c.section, c.firstEntry)), "MÜLLER");
    EXPECT_EQ(str(p.registry(c.section, c.secondEntry)), "0761-12");
    EXPECT_EQ(str(p.registry(c.section, c.untouchedEntry)), c.untouchedValue);
    EXPECT_EQ(p.stored(c.first), QStringList{QStringLiteral("MÜLLER")});
    EXPECT_EQ(p.stored(c.second), QStringList{QStringLiteral("0761-12")});
    EXPECT_EQ(p.stored(c.untouched), QStringList{text(c.untouchedValue)});
    EXPECT_TRUE(p.dialogs.asked().isEmpty()) << str(p.dialogs.asked().join(u'\n'));
}

const TypingCase kTypingCases[] = {
    {"CompanyHeader", ConfigPage::CompanyHeader, "FIRMENKOPF", "FIRMENKOPF1_A", "1",
     "FIRMENKOPF2_A", "2", "FIRMENKOPF5_A", "5", ""},
    {"Modem", ConfigPage::Modem, "MODEM", "NAME1_A", "Name1", "NUMBER1_A", "Number1", "INIT_A",
     "Init", "AT"},
    {"Ftp", ConfigPage::Ftp, "FTP", "FTP_SERVER", "Server", "FTP_NAME", "Name", "FTP_PASSWORD",
     "Password", "tebralik"},
};

INSTANTIATE_TEST_SUITE_P(Pages, ConfigurationTypingTest, ::testing::ValuesIn(kTypingCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ConfigurationDlg, CancelReturnsWithoutWriting)
{
    Program p;
    p.screen->openPage(int(ConfigPage::Ftp));
    p.type(QStringLiteral("X"));
    p.press(CNorvBaseDlg::IDCANCEL);
    EXPECT_EQ(p.active(), p.app.findScreen(QStringLiteral("mainMenu")));
    EXPECT_EQ(str(p.registry("FTP", "Server")), "<absent>");
    EXPECT_EQ(str(p.registry("FTP", "Name")), "<absent>");
    // The row holds what the page showed when it opened.
    EXPECT_EQ(p.stored("FTP_SERVER"), QStringList{QStringLiteral("ftp.example.com")});
}

TEST(ConfigurationDlg, FieldsTakeNoMoreThanTheirColumn)
{
    Program p;
    p.screen->openPage(int(ConfigPage::Modem));
    p.press(CNorvKeybDlg::kNextField);
    p.press(CNorvKeybDlg::kZiff);
    p.type(QString(25, u'7'));
    p.press(CNorvKeybDlg::kEnter);
    EXPECT_EQ(p.registry("MODEM", "Number1"), QString(18, u'7'));
}

TEST(ConfigurationDlg, ConfirmReturnsToTheScreenThatOpenedIt)
{
    struct Case {
        const char* name;
        bool fromOtherScreen;
    } const cases[] = {{"from a screen", true}, {"from no screen", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Program p;
        auto* caller =
            p.app.addScreen(std::make_unique<CNorvKeybDlg>(p.app, QStringLiteral("caller")));
        if (c.fromOtherScreen)
            p.app.SwitchToDialog(caller, 0);
        else
            p.app.SetActiveDlg(nullptr);
        p.screen->openPage(int(ConfigPage::CompanyHeader));
        ASSERT_EQ(p.active(), p.screen);
        p.press(CNorvKeybDlg::kEnter);
        EXPECT_EQ(p.active(), c.fromOtherScreen ? static_cast<CNorvBaseDlg*>(caller)
                                                : p.app.findScreen(QStringLiteral("mainMenu")));
    }
}

TEST(ConfigurationDlg, LeavingAChangedPageAsksWhetherToSave)
{
    struct Case {
        const char* name;
        bool typeSomething;
        int answer;
        const char* stored; // FIRMENKOPF/1 afterwards
    } const cases[] = {
        {"unchanged page asks nothing", false, MessageDialogs::Yes, "<absent>"},
        {"yes saves", true, MessageDialogs::Yes, "HOLZ"},
        {"no drops", true, MessageDialogs::No, "<absent>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Program p;
        p.screen->openPage(int(ConfigPage::CompanyHeader));
        if (c.typeSomething)
            p.type(QStringLiteral("HOLZ"));
        p.dialogs.answerNext(c.answer);
        p.clickPage("Modem");

        EXPECT_EQ(p.screen->page(), ConfigPage::Modem);
        EXPECT_EQ(str(p.focused()), "NAME1_A");
        EXPECT_TRUE(p.edit("NAME1_A")->isVisible());
        EXPECT_FALSE(p.edit("FIRMENKOPF1_A")->isVisible());
        EXPECT_EQ(p.dialogs.asked().size(), c.typeSomething ? 1 : 0);
        EXPECT_EQ(str(p.registry("FIRMENKOPF", "1")), c.stored);
        // Coming back shows the registry's value, not what was typed and dropped.
        p.clickPage("Firmenkopf");
        EXPECT_EQ(str(p.edit("FIRMENKOPF1_A")->text()),
                  std::string(c.stored) == "<absent>" ? "" : c.stored);
    }
}

TEST(ConfigurationDlg, EachPageFitsAboveTheKeyboard)
{
    Program p;
    for (int page = 0; page < ConfigurationLogic::kPages; ++page) {
        p.screen->openPage(page);
        std::vector<QRect> taken;
        for (const ConfigBinding& b : ConfigurationLogic::bindings(ConfigPage(page))) {
            SCOPED_TRACE(b.column);
            QLineEdit* edit = p.edit(b.column);
            auto* label = p.screen->findChild<QLabel*>(QStringLiteral("label_") + text(b.column));
            ASSERT_NE(edit, nullptr);
            ASSERT_NE(label, nullptr);
            EXPECT_TRUE(edit->isVisible());
            EXPECT_EQ(str(label->text()), b.label);
            EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()));
            // Wide enough for a few characters of input.
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
