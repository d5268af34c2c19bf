// The region screen as the forester reaches it: "Region" on the list selection, a region picked
// and one typed that has no tariffs yet (assigned on the tariff screen), one removed, and back.
#include "app/RegionDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"

#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;

TEST(RegionDlg, RegionKeyOpensTheListsRegionsToAddAndRemove)
{
    Program p;
    p.insert(schema::Kopfdaten, {{u"ID_FILE", 1}, {u"LISTE_NR", "WALD"}});
    p.press(MainMenuDlg::kSelectList);
    p.press(ListSelectionDlg::kRegion);
    auto* screen = p.find<RegionDlg>();
    ASSERT_EQ(p.active(), screen);
    EXPECT_EQ(p.label("title"), QStringLiteral("Wuchsregionen: WALD"));
    QTreeWidget* view = screen->regionView();
    const auto shown = [view] {
        QStringList out;
        for (int i = 0; i < view->topLevelItemCount(); ++i)
            out << view->topLevelItem(i)->text(0) + u'|' + view->topLevelItem(i)->text(1);
        return out;
    };
    const QString stored = "SELECT rtrim(REGION_A) || '|' || rtrim(BAUMART) FROM Brov_Region "
                           "WHERE ID_FILE = 1 ORDER BY rowid";

    // A region of the master data, picked from the list keyboard.
    p.pick(QStringLiteral("WR02"));
    const QStringList wr02 = p.rows("SELECT rtrim(REGION_A) || '|' || rtrim(BAUMART) FROM "
                                    "Brov_Einstellungen WHERE ID_TYPE = 3 AND REGION_A LIKE "
                                    "'WR02%' ORDER BY ID");
    ASSERT_FALSE(wr02.isEmpty());
    EXPECT_EQ(shown(), wr02);
    EXPECT_EQ(p.rows(stored), wr02);

    // A typed region without tariffs: "Zuordnen" opens their assignment; once it has some, back
    // on this screen the region joins the list.
    p.type(QStringLiteral("WR9"));
    p.dialogs.answerNext(Answer::First);
    p.press(KeypadScreen::kEnter);
    ASSERT_EQ(p.activeName(), QStringLiteral("tariffAssignment"));
    EXPECT_EQ(p.label("title"), QStringLiteral("Tarif-Zuordnung: WR9"));
    p.insert(schema::Einstellungen, {{u"ID", 9000},
                                     {u"ID_TYPE", schema::TariffAssignmentRow},
                                     {u"REGION_A", "WR9"},
                                     {u"BAUMART", "FI"},
                                     {u"TARIF", "FI01"}});
    p.press(Screen::kCancel);
    ASSERT_EQ(p.active(), screen);
    EXPECT_EQ(shown(), wr02 + QStringList{"WR9|FI"});

    // The tapped row's region leaves the list after the question.
    const QPoint at = view->visualItemRect(view->topLevelItem(int(wr02.size()))).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
    p.dialogs.answerNext(Answer::Yes);
    p.press(RegionDlg::kRemove);
    EXPECT_EQ(shown(), wr02);
    EXPECT_EQ(p.rows(stored), wr02);
    EXPECT_EQ(p.dialogs.asked().last(),
              QStringLiteral("Wuchsregion WR9|aus der Liste entfernen?|"));

    p.press(Screen::kCancel);
    EXPECT_EQ(p.activeName(), QStringLiteral("listSelection"));
}

} // namespace
} // namespace brovant
