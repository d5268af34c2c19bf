#include "app/ConfigurationDlg.h"
#include "app/KeyTables.h"
#include "app/ProgramFixture.h"
#include "support/CaseFile.h"

namespace brovant {
namespace {

using namespace test;

// On an empty device: the registry holds nothing until a page is confirmed.
struct ConfigProgram : Program {
    ConfigProgram()
        : Program(ProgramSetup().bare())
    {
        EXPECT_NE(screen, nullptr);
    }
    void clickPage(const char* title) { click(QStringLiteral("page") + text(title)); }
    QStringList stored(const char* column)
    {
        return rows(QStringLiteral("SELECT %1 FROM Brov_Konfiguration").arg(text(column)));
    }
    ConfigurationDlg* screen = find<ConfigurationDlg>();
};

// A letter word into the first field (all selected, so it replaces), the next-field key, the
// digit keyboard and a number into the second, Enter. Which fields a page has is the logic's.
// The page shows and saves the password, the registry keeps it, and no file of the database holds
// it: the database travels in every backup. Each page fits above the keyboard.
TEST(ConfigurationDlg, SoftKeysPasswordAndLayout)
{
    ConfigProgram p;
    p.screen->openPage(int(ConfigPage::Modem));
    ASSERT_EQ(p.active(), p.screen);
    EXPECT_EQ(str(p.focused()), "NAME1_A");
    p.type(QStringLiteral("MÜLLER"));
    p.press(KeypadScreen::kNextField);
    EXPECT_EQ(str(p.focused()), "NUMBER1_A");
    p.press(KeypadScreen::kZiff);
    EXPECT_EQ(p.keyboard()->findChild<KeyButton*>(QStringLiteral("char_A")), nullptr);
    p.type(QStringLiteral("0761-12"));
    EXPECT_EQ(str(p.edit("NUMBER1_A")->text()), "0761-12");
    p.press(KeypadScreen::kEnter);

    EXPECT_EQ(p.active(), p.app.mainMenu());
    EXPECT_EQ(str(p.registry("MODEM", "Name1")), "MÜLLER");
    EXPECT_EQ(str(p.registry("MODEM", "Number1")), "0761-12");
    EXPECT_TRUE(p.dialogs.asked().isEmpty()) << str(p.dialogs.asked().join(u'\n'));

    p.session.profile().writeString(text("FTP"), text("Password"), text("Alt-Geheim-1"));
    p.screen->openPage(int(ConfigPage::Ftp));
    EXPECT_EQ(str(p.edit("FTP_PASSWORD")->text()), "Alt-Geheim-1");
    p.edit("FTP_PASSWORD")->setText(text("Neu-Geheim-2"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(str(p.registry("FTP", "Password")), "Neu-Geheim-2");
    const QDir folder(p.root.host(text("Brovant")));
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden)) {
        const QByteArray bytes = p.root.readFile(text("Brovant/") + name);
        EXPECT_FALSE(bytes.contains("Geheim")) << str(name);
    }
    p.screen->openPage(int(ConfigPage::Ftp));
    EXPECT_EQ(str(p.edit("FTP_PASSWORD")->text()), "Neu-Geheim-2");

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

// Cancel writes nothing, Enter writes what fits the column; both return to the screen that
// opened the page, or to the main menu.
TEST(ConfigurationDlg, CancelAndConfirmReturnToTheScreenThatOpenedIt)
{
    for (const bool fromOtherScreen : {true, false}) {
        SCOPED_TRACE(fromOtherScreen);
        ConfigProgram p;
        auto* caller = p.app.stack().addScreen(
            std::make_unique<KeypadScreen>(p.app.stack(), QStringLiteral("caller")));
        Screen* back = fromOtherScreen ? static_cast<Screen*>(caller) : p.app.mainMenu();
        const auto open = [&](ConfigPage page) {
            if (fromOtherScreen)
                p.app.stack().switchTo(caller);
            else
                p.app.stack().setActiveScreen(nullptr);
            p.screen->openPage(int(page));
            ASSERT_EQ(p.active(), p.screen);
        };
        open(ConfigPage::Ftp);
        p.type(QStringLiteral("X"));
        p.press(Screen::kCancel);
        EXPECT_EQ(p.active(), back);
        EXPECT_EQ(str(p.registry("FTP", "Server")), "<absent>");
        // The row holds what the page showed when it opened.
        EXPECT_EQ(p.stored("FTP_SERVER"), QStringList{QStringLiteral("ftp.example.com")});

        open(ConfigPage::Modem);
        p.press(KeypadScreen::kNextField);
        p.type(QString(25, u'7'));
        p.press(KeypadScreen::kEnter);
        EXPECT_EQ(p.active(), back);
        EXPECT_EQ(p.registry("MODEM", "Number1"), QString(18, u'7'));
    }
}

TEST(ConfigurationDlg, LeavingAChangedPageAsksWhetherToSave)
{
    for (const Case& c : readCases(QStringLiteral("app/data/changed_pages.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const bool typeSomething = !c.fields[0].isEmpty();
        const QString stored = c.text(2);
        ConfigProgram p;
        p.screen->openPage(int(ConfigPage::CompanyHeader));
        if (typeSomething)
            p.type(c.text(0));
        p.dialogs.answerNext(c.fields[1] == "JA" ? Answer::Yes : Answer::No);
        p.clickPage("Modem");
        EXPECT_EQ(p.screen->page(), ConfigPage::Modem);
        EXPECT_EQ(str(p.focused()), "NAME1_A");
        EXPECT_TRUE(p.edit("NAME1_A")->isVisible());
        EXPECT_FALSE(p.edit("FIRMENKOPF1_A")->isVisible());
        EXPECT_EQ(p.dialogs.asked().size(), typeSomething ? 1 : 0);
        EXPECT_EQ(p.registry("FIRMENKOPF", "1"), stored);
        // Coming back shows the registry's value, not what was typed and dropped.
        p.clickPage("Firmenkopf");
        EXPECT_EQ(p.edit("FIRMENKOPF1_A")->text(),
                  stored == QStringLiteral("<absent>") ? QString() : stored);
    }
}

} // namespace
} // namespace brovant
