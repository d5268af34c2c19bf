#include "app/ListHeaderDlg.h"
#include "app/ListInfoDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TariffAssignmentDlg.h"

namespace brovant {
namespace {

using namespace test;

using Dlg = ListHeaderDlg;

struct HeaderProgram : Program {
    void newList() { press(MainMenuDlg::kNewList); }
    void enter() { press(KeypadScreen::kEnter); }
    QString page() { return label(QStringLiteral("pageNumber")); }
    // Where the screen goes when a list is done or given up.
    Screen* listSelection() const
    {
        Screen* selection = app.stack().screen<ListSelectionDlg>();
        return selection ? selection : app.mainMenu();
    }
    QStringList stored(const QString& columns)
    {
        return rows(QStringLiteral("SELECT %1 FROM Brov_Kopfdaten").arg(columns));
    }
    void addList(int id, const char* name, const char* kopf1 = "")
    {
        insert(schema::Kopfdaten, {{u"ID_FILE", id},
                                   {u"LISTE_NR", name},
                                   {u"ZUSATZ_A", QStringLiteral("Zusatz %1").arg(id)},
                                   {u"DATUM_A", "01.04.2026"},
                                   {u"KOR_FAKTOR_N", 95},
                                   {u"REGION_A", "WR02    "},
                                   {u"KOPF1_A", kopf1},
                                   {u"KOPF12_A", "Anna Probe"}});
    }
    // Page 1 as a forester fills it: the name typed, the region typed on the letters.
    void fillFirstPage(const char* name, const char* region)
    {
        type(text(name));
        for (int field = 0; field < 4; ++field)
            press(KeypadScreen::kNextField);
        ASSERT_EQ(str(focused()), "REGION_A");
        if (screen->keyboardIndex() != Dlg::Letters)
            press(KeypadScreen::kZiff); // from the region list to the letters
        type(text(region));
    }
    Dlg* screen = find<Dlg>();
};

// A new list made page by page from the main menu; the field keys and "Zuordnen" on page 1.
TEST(ListHeaderDlg, PagesFieldKeysAndZuordnen)
{
    for (const char* file : {"list_header_pages.txt", "list_header_keys.txt"}) {
        SCOPED_TRACE(file);
        HeaderProgram p;
        p.run(text(file),
              {{"NewList", MainMenuDlg::kNewList},
               {"Letters", Dlg::Letters},
               {"Digits", Dlg::Digits},
               {"Choices", Dlg::Choices}},
              {{"choices",
                [&](const QString&) {
                    return p.keyCaptions(Dlg::kChoiceEntry).join(u'/');
                }},
               {"bold",
                [&](const QString&) {
                    return p.screen->findChild<QLabel*>("label_KOPF1_A")->font().bold()
                               ? QStringLiteral("label_KOPF1_A")
                               : QString();
                }},
               {"stored", [&](const QString& columns) {
                    return p.stored(columns).join(u'/');
                }}});
    }
}

// Where the screen goes when page 1 is refused: the checks themselves are the logic's.
TEST(ListHeaderDlg, LeavingTheFirstPageGoesWhereTheAnswerLeads)
{
    for (const Case& c : readCases(QStringLiteral("app/data/first_page_refused.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const bool stays = c.fields[3] == "stays";
        HeaderProgram p;
        p.newList();
        p.fillFirstPage(c.fields[0].constData(), c.fields[1].constData());
        if (c.fields[2] == "JA")
            p.dialogs.answerNext(Answer::Yes);
        p.enter();
        EXPECT_EQ(p.dialogs.asked().size(), 1);
        EXPECT_EQ(p.active(), stays ? p.screen : p.listSelection());
        if (stays) {
            EXPECT_EQ(str(p.page()), "1/9");
        }
    }
}

// A new list taken from the model shows its values; the model list itself keeps its name and
// starts at the next field. The list information shows the free fields of the current list.
TEST(ListHeaderDlg, TheModelListAndTheListInformation)
{
    HeaderProgram p;
    p.addList(1, "EINS", "Forstamt Eichengrund");
    p.addList(2, "ZWEI", QString(40, u'W').toLatin1().constData());
    p.addList(4, "MODELL", "Forstamt Tannenhöhe");
    p.dialogs.answerNext(Answer::Yes);
    p.newList();
    EXPECT_EQ(str(p.edit("KOPF1_A")->text()), "Forstamt Tannenhöhe");
    p.app.stack().switchTo(p.app.mainMenu());
    p.state.currentList = 4;
    p.screen->openExisting();
    ASSERT_EQ(p.active(), p.screen);
    EXPECT_TRUE(p.edit("LISTE_NR")->isReadOnly());
    EXPECT_EQ(str(p.focused()), "ZUSATZ_A");
    EXPECT_EQ(str(p.label("title")), "Liste: MODELL");
    Screen* info = p.app.stack().screen<ListInfoDlg>();
    ASSERT_NE(info, nullptr);
    const struct {
        int list;
        const char* title;
        const char* kopf1;
    } cases[] = {
        {1, "Liste: EINS", "Forstamt Eichengrund"},
        {2, "Liste: ZWEI", ""}, // too long: cut with an ellipsis, whole in the tooltip
        {7, "Liste: ", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.list);
        p.state.currentList = c.list;
        p.app.stack().switchTo(p.app.mainMenu());
        p.app.stack().switchTo(info);
        EXPECT_EQ(str(p.label("title")), c.title);
        EXPECT_EQ(str(p.label("label_KOPF1_A")), "Forstamt:");
        EXPECT_EQ(str(p.label("label_KOPF16_A")), "Bemerkung:");
        auto* kopf1 = info->findChild<QLabel*>("KOPF1_A");
        if (c.list == 2) {
            EXPECT_TRUE(kopf1->text().endsWith(QChar(0x2026))) << str(kopf1->text());
            EXPECT_EQ(kopf1->toolTip(), QString(40, u'W'));
        } else {
            EXPECT_EQ(str(kopf1->text()), c.kopf1);
        }
        EXPECT_EQ(str(p.label("KOPF12_A")), c.list == 7 ? "" : "Anna Probe");
        // Nothing can be typed; back returns to the screen that opened it.
        EXPECT_TRUE(info->findChildren<QLineEdit*>().isEmpty());
        p.press(Screen::kCancel);
        EXPECT_EQ(p.active(), p.app.mainMenu());
    }
}

class ListScreen : public ::testing::Test, protected Program {
protected:
    void addList(int id, const QString& name, int mark = 0)
    {
        lists.list(
            id, name, 100,
            {{u"ZUSATZ_A", "Zusatz von " + name}, {u"DUE_MARK", mark}, {u"EXPORTED_N_NI", 0}});
    }
    // The main menu's "Liste auswählen".
    void open()
    {
        if (active() != app.mainMenu())
            app.stack().switchTo(app.mainMenu());
        press(MainMenuDlg::kSelectList);
        ASSERT_EQ(active(), screen);
    }
    QTreeWidget* view() { return screen->listView(); }
    QTabBar* tabs() { return screen->findChild<QTabBar*>(QStringLiteral("tabs")); }
    void tab(int index) { tapTab(QStringLiteral("tabs"), index); }
    void tapRow(int row, bool twice = false)
    {
        QTreeWidgetItem* item = view()->topLevelItem(row);
        ASSERT_NE(item, nullptr) << row;
        const QPoint at = view()->visualItemRect(item).center();
        // A double tap arrives as a press and release followed by the double click.
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {}, at);
        if (twice)
            QTest::mouseDClick(view()->viewport(), Qt::LeftButton, {}, at);
    }
    QStringList shown() { return shownRows(view()); }
    int selectedRow() { return view()->indexOfTopLevelItem(view()->currentItem()); }
    int count(const char* sql) { return Program::count(QString::fromLatin1(sql)); }

    ListSelectionDlg* screen = find<ListSelectionDlg>();
};

// The columns, tabs and key bars; "Modell" makes the model of the tapped list and shows it
// chosen; info for the tapped list; a double tap on the model list warns and opens the tally all
// the same; "Neu" opens the header screen; the bar's key and the device's Delete key on the list
// both reach the deletion (what they do is the logic's).
TEST_F(ListScreen, ColumnsKeysModelWaysAndDelete)
{
    addList(1, QStringLiteral("WALD"));
    addList(2, QStringLiteral("FELD"), 1);
    open();
    EXPECT_EQ(screen->windowTitle(), QStringLiteral("Listenauswahl"));
    QTreeWidgetItem* heading = view()->headerItem();
    EXPECT_EQ(heading->text(0), QStringLiteral("Liste"));
    EXPECT_EQ(heading->text(1), QStringLiteral("DÜ"));
    EXPECT_EQ(heading->text(2), QStringLiteral("Zusatz")); // KOPF00 "Zusatz:" of the demo
    EXPECT_EQ(view()->columnWidth(0), 80);
    EXPECT_EQ(view()->columnWidth(1), 30);
    EXPECT_EQ(view()->columnWidth(2), 80);
    EXPECT_EQ(view()->topLevelItem(0)->textAlignment(1) & Qt::AlignHorizontal_Mask,
              int(Qt::AlignRight));
    EXPECT_EQ(view()->topLevelItem(0)->textAlignment(0) & Qt::AlignHorizontal_Mask, 0);
    EXPECT_EQ(view()->selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_EQ(shown(),
              (QStringList{"WALD    |   0|Zusatz von WALD", "FELD    |A0|Zusatz von FELD"}));
    EXPECT_EQ(selectedRow(), 0);
    EXPECT_TRUE(view()->hasFocus());

    ASSERT_EQ(tabs()->count(), 3);
    const struct {
        const char* caption;
        std::vector<int> keys;
    } bars[] = {
        {"Holzaufnahme",
         {ListSelectionDlg::kTally, ListSelectionDlg::kNew, ListSelectionDlg::kInfo,
          ListSelectionDlg::kDelete, ListSelectionDlg::kModel, ListSelectionDlg::kRegion}},
        {"Auswert.",
         {ListSelectionDlg::kEval, ListSelectionDlg::kPrint, ListSelectionDlg::kAssortment}},
        {"  DÜ   ", {ListSelectionDlg::kMark, ListSelectionDlg::kSend, ListSelectionDlg::kReceive}},
    };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(tabs()->tabText(i), text(bars[i].caption));
        tab(i);
        for (const auto& bar : bars) {
            for (int key : bar.keys)
                EXPECT_EQ(screen->shownKey(key) != nullptr, &bar == &bars[i]) << i << " " << key;
        }
        EXPECT_NE(screen->shownKey(Screen::kCancel), nullptr);
    }
    EXPECT_EQ(screen->shownKey(ListSelectionDlg::kMark)->text(), QStringLiteral("DÜ"));

    tab(0);
    tapRow(0);
    dialogs.answerNext(Answer::First);
    press(ListSelectionDlg::kModel);
    EXPECT_EQ(shown().last(), QStringLiteral("MODELL  |   0|Zusatz von WALD"));
    EXPECT_EQ(selectedRow(), 2);
    EXPECT_EQ(state.currentList, 3);
    EXPECT_EQ(dialogs.asked().size(), 1);
    dialogs.clear();

    tapRow(1);
    press(ListSelectionDlg::kInfo);
    EXPECT_EQ(activeName(), QStringLiteral("listInfo"));
    EXPECT_EQ(state.currentList, 2);
    app.stack().switchTo(screen);
    EXPECT_EQ(selectedRow(), 1);
    tapRow(2, true);
    EXPECT_EQ(dialogs.asked(), QStringList{"Holzaufnahme in Modell-Liste |nicht möglich!|"});
    EXPECT_EQ(state.currentList, 3);
    EXPECT_EQ(activeName(), QStringLiteral("tally"));
    app.stack().switchTo(screen);

    // "Neu" opens the header screen for a new list.
    press(ListSelectionDlg::kNew);
    EXPECT_EQ(state.currentList, -1);
    EXPECT_EQ(activeName(), QStringLiteral("listHeader"));
    app.stack().switchTo(screen);
    dialogs.clear();
    const std::function<void()> keys[] = {[this] { press(ListSelectionDlg::kDelete); },
                                          [this] {
                                              QTest::keyClick(view(), Qt::Key_Delete);
                                          }};
    for (const auto& key : keys) {
        dialogs.answerNext(Answer::Yes);
        dialogs.answerNext(Answer::Yes);
        key();
    }
    EXPECT_EQ(view()->topLevelItemCount(), 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM Brov_Kopfdaten"), 1);
    EXPECT_EQ(dialogs.asked().size(), 4);
    press(Screen::kCancel);
    EXPECT_EQ(active(), app.mainMenu());
}

} // namespace
} // namespace brovant
