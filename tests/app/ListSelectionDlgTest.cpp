#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"

#include <QTabBar>
#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;
using Dlg = ListSelectionDlg;

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

    Dlg* screen = find<Dlg>();
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
         {Dlg::kTally, Dlg::kNew, Dlg::kInfo, Dlg::kDelete, Dlg::kModel, Dlg::kRegion}},
        {"Auswert.", {Dlg::kEval, Dlg::kPrint, Dlg::kAssortment}},
        {"  DÜ   ", {Dlg::kMark, Dlg::kSend, Dlg::kReceive}},
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
    EXPECT_EQ(screen->shownKey(Dlg::kMark)->text(), QStringLiteral("DÜ"));

    tab(0);
    tapRow(0);
    dialogs.answerNext(Answer::First);
    press(Dlg::kModel);
    EXPECT_EQ(shown().last(), QStringLiteral("MODELL  |   0|Zusatz von WALD"));
    EXPECT_EQ(selectedRow(), 2);
    EXPECT_EQ(state.currentList, 3);
    EXPECT_EQ(dialogs.asked().size(), 1);
    dialogs.clear();

    tapRow(1);
    press(Dlg::kInfo);
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
    press(Dlg::kNew);
    EXPECT_EQ(state.currentList, -1);
    EXPECT_EQ(activeName(), QStringLiteral("listHeader"));
    app.stack().switchTo(screen);
    dialogs.clear();
    const std::function<void()> keys[] = {[this] { press(Dlg::kDelete); },
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
