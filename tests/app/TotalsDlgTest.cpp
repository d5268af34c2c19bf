#include "app/TotalsDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"

#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;

class TotalsScreen : public ::testing::Test, protected Program {
protected:
    void addList(int id, const QString& name, int factor,
                 std::initializer_list<std::tuple<const char*, int, int>> trees)
    {
        lists.list(id, name, factor);
        for (const auto& [species, count, volume] : trees)
            lists.tree(id, species, count, volume);
    }
    QTreeWidget* view() const { return screen->findChild<QTreeWidget*>("totalsView"); }
    QStringList shown() const { return shownRows(view()); }

    TotalsDlg* screen = find<TotalsDlg>();
};

// The core cells of the chosen list, again for another list; the key bar, the row keys stopping
// at the ends, and the way back.
TEST_F(TotalsScreen, CellsKeysAndWaysOut)
{
    addList(1, QStringLiteral("WALD"), 90,
            {{"KI", 2, 200}, {"FI", 1, 45}, {"FI", 1, 50}, {"FI", 1, 55}});
    addList(2, QStringLiteral("FELD"), 100, {{"BU", 1, 300}});
    fromListSelection(QStringLiteral("WALD"), ListSelectionDlg::EvaluationTab,
                      ListSelectionDlg::kEval);
    ASSERT_EQ(activeName(), QStringLiteral("totals"));
    EXPECT_EQ(screen->findChild<QLabel*>("title")->text(), QStringLiteral("Gesamtsumme"));
    const QTreeWidgetItem* heading = view()->headerItem();
    ASSERT_EQ(view()->columnCount(), 4);
    const char* captions[] = {"HA", "Kub.", "Stk", "d-Kub."};
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(heading->text(c), QString::fromLatin1(captions[c]));
        EXPECT_EQ(view()->topLevelItem(0)->textAlignment(c) & Qt::AlignHorizontal_Mask,
                  c == 0 ? 0 : int(Qt::AlignRight))
            << c;
    }
    EXPECT_EQ(view()->selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_TRUE(view()->font().fixedPitch());
    EXPECT_EQ(shown(), (QStringList{"FI|   1.34|   3| 0.45", "KI|   1.80|   2| 0.90", "|||",
                                    "|   3.14|   5| 0.63"}));

    // Opened again for another list, the rows are that list's alone.
    press(Screen::kCancel);
    ASSERT_EQ(activeName(), QStringLiteral("listSelection"));
    fromListSelection(QStringLiteral("FELD"), ListSelectionDlg::EvaluationTab,
                      ListSelectionDlg::kEval);
    ASSERT_EQ(activeName(), QStringLiteral("totals"));
    EXPECT_EQ(shown(), (QStringList{"BU|   3.00|   1| 3.00", "|||", "|   3.00|   1| 3.00"}));
    OnScreenKeyboard* keys = keyboard();
    ASSERT_NE(keys, nullptr);
    ASSERT_NE(keys->keyFor(TotalsDlg::kPrint), nullptr);
    ASSERT_NE(keys->keyFor(TotalsDlg::kAssortment), nullptr);
    EXPECT_EQ(keys->keyFor(TotalsDlg::kPrint)->caption(), QStringLiteral("Ausdruck"));
    EXPECT_EQ(keys->keyFor(TotalsDlg::kAssortment)->caption(), QStringLiteral("Sortiment"));
    EXPECT_EQ(keys->keyFor(KeypadScreen::kEnter), nullptr);

    // The row keys step through the rows and stop at the ends.
    for (int step : {1, 1, 1, -1})
        press(step > 0 ? KeypadScreen::kNextField : KeypadScreen::kPreviousField);
    EXPECT_EQ(view()->indexOfTopLevelItem(view()->currentItem()), 1);

    // What the print keys do: DistributionDlgTest.cpp.
    press(Screen::kCancel);
    EXPECT_EQ(activeName(), QStringLiteral("listSelection"));
}

} // namespace
} // namespace brovant
