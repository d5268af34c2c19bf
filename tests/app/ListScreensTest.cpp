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
    Dlg* screen = find<Dlg>();
};

// A new list made page by page from the main menu; the field keys and "Zuordnen" on page 1; where
// the screen goes when page 1 is refused.
TEST(ListHeaderDlg, PagesFieldKeysZuordnenAndRefusals)
{
    for (const char* section : {"pages", "keys", "no name", "no region"}) {
        SCOPED_TRACE(section);
        HeaderProgram p;
        p.names = {{"NewList", MainMenuDlg::kNewList},
                   {"Letters", Dlg::Letters},
                   {"Digits", Dlg::Digits},
                   {"Choices", Dlg::Choices}};
        p.probe("choices", [&](auto) { return p.keyCaptions(Dlg::kChoiceEntry).join(u'/'); });
        p.probe("bold", [&](const QString& label) {
            return text(p.screen->findChild<QLabel*>(label)->font().bold() ? "yes" : "no");
        });
        p.probe("stored", [&](const QString& columns) { return p.stored(columns).join(u'/'); });
        p.run("list_header.txt", section);
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
    p.press(MainMenuDlg::kNewList);
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

// The columns, tabs and key bars of the list selection, then what its keys and taps do.
TEST(ListSelectionDlg, ColumnsKeysModelWaysAndDelete)
{
    Program p;
    for (const auto& [id, name, mark] : {std::tuple{1, "WALD", 0}, {2, "FELD", 1}})
        p.lists.list(id, text(name), 100,
                     {{u"ZUSATZ_A", "Zusatz von " + text(name)},
                      {u"DUE_MARK", mark},
                      {u"EXPORTED_N_NI", 0}});
    p.press(MainMenuDlg::kSelectList);
    auto* screen = p.find<ListSelectionDlg>();
    ASSERT_EQ(p.active(), screen);
    QTreeWidget* view = screen->listView();
    EXPECT_EQ(screen->windowTitle(), QStringLiteral("Listenauswahl"));
    QTreeWidgetItem* heading = view->headerItem();
    EXPECT_EQ(heading->text(0), QStringLiteral("Liste"));
    EXPECT_EQ(heading->text(1), QStringLiteral("DÜ"));
    EXPECT_EQ(heading->text(2), QStringLiteral("Zusatz")); // KOPF00 "Zusatz:" of the demo
    EXPECT_EQ(view->columnWidth(0), 80);
    EXPECT_EQ(view->columnWidth(1), 30);
    EXPECT_EQ(view->columnWidth(2), 80);
    EXPECT_EQ(view->topLevelItem(0)->textAlignment(1) & Qt::AlignHorizontal_Mask,
              int(Qt::AlignRight));
    EXPECT_EQ(view->topLevelItem(0)->textAlignment(0) & Qt::AlignHorizontal_Mask, 0);
    EXPECT_EQ(view->selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_EQ(Program::shownRows(view),
              (QStringList{"WALD    |   0|Zusatz von WALD", "FELD    |A0|Zusatz von FELD"}));
    EXPECT_EQ(view->currentItem(), view->topLevelItem(0));
    EXPECT_TRUE(view->hasFocus());

    auto* tabs = screen->findChild<QTabBar*>(QStringLiteral("tabs"));
    ASSERT_EQ(tabs->count(), 3);
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
        EXPECT_EQ(tabs->tabText(i), text(bars[i].caption));
        p.tapTab(QStringLiteral("tabs"), i);
        for (const auto& bar : bars) {
            for (int key : bar.keys)
                EXPECT_EQ(screen->shownKey(key) != nullptr, &bar == &bars[i]) << i << " " << key;
        }
        EXPECT_NE(screen->shownKey(Screen::kCancel), nullptr);
    }
    EXPECT_EQ(screen->shownKey(ListSelectionDlg::kMark)->text(), QStringLiteral("DÜ"));

    p.names = {{"Model", ListSelectionDlg::kModel},
               {"Info", ListSelectionDlg::kInfo},
               {"New", ListSelectionDlg::kNew},
               {"Delete", ListSelectionDlg::kDelete}};
    p.probe("rows", [&](auto) { return Program::shownRows(view).join(u'/'); });
    p.probe("selected",
            [&](auto) { return QString::number(view->indexOfTopLevelItem(view->currentItem())); });
    p.probe("current", [&](auto) { return QString::number(p.state.currentList); });
    p.probe("back", [&](auto) {
        p.app.stack().switchTo(screen);
        return QString();
    });
    p.probe("count", [&](auto) { return QString::number(view->topLevelItemCount()); });
    p.probe("lists", [&](auto) {
        return p.rows(QStringLiteral("SELECT COUNT(*) FROM Brov_Kopfdaten")).join(u'/');
    });
    p.run("list_selection.txt");
}

} // namespace
} // namespace brovant
