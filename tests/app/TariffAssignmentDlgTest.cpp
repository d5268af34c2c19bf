#include "app/TariffAssignmentDlg.h"
#include "app/KeyTables.h"
#include "app/ProgramFixture.h"
#include "support/CaseFile.h"

#include <QFontInfo>

namespace brovant {
namespace {

using namespace test;
using Dlg = TariffAssignmentDlg;

struct TariffProgram : Program {
    QString editLine()
    {
        return edit("REGION_A")->text() + u'/' + edit("BAUMART")->text() + u'/'
               + edit("TARIF")->text();
    }
    QStringList history()
    {
        return {edit("history1")->text(), edit("history2")->text(), edit("history3")->text()};
    }
    // TARIF of the assignment rows of a region and species, as stored.
    QStringList stored(const QString& region, const QString& species)
    {
        return rows(QStringLiteral("SELECT TARIF FROM Brov_Einstellungen WHERE ID_TYPE = 3 AND "
                                   "rtrim(REGION_A) = '%1' AND rtrim(BAUMART) = '%2'")
                        .arg(region, species));
    }
    int assignments()
    {
        return count(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = 3"));
    }
    Dlg* screen = find<Dlg>();
};

TEST(TariffAssignmentDlg, OpensOnAnEmptyLineBelowThePrecedingRows)
{
    for (const Case& c : readCases(QStringLiteral("app/data/tariff_openings.txt"))) {
        SCOPED_TRACE(c.where().constData());
        TariffProgram p;
        if (c.fields[0] != "-")
            p.screen->openRegion(c.text(0));
        else
            p.screen->openAll();
        ASSERT_EQ(p.active(), p.screen);
        EXPECT_EQ(p.label("title"), c.text(1));
        EXPECT_EQ(p.history(), (QStringList{c.text(2), c.text(3), c.text(4)}));
        EXPECT_EQ(str(p.editLine()), "//");
        EXPECT_EQ(str(p.label("position")), "neu");
        EXPECT_EQ(QApplication::focusWidget(), p.edit("REGION_A"));
        for (int i = 1; i <= 3; ++i) {
            QLineEdit* line = p.edit(QStringLiteral("history%1").arg(i));
            EXPECT_TRUE(line->isReadOnly());
            EXPECT_EQ(line->focusPolicy(), Qt::NoFocus);
            EXPECT_TRUE(QFontInfo(line->font()).fixedPitch()) << str(line->font().family());
        }
    }
}

// The lists lead from region to species to tariff; what the logic says to a row shows on the
// edit line (its checks are the logic's).
TEST(TariffAssignmentDlg, CodesPickedOrTypedAreSaved)
{
    for (const Case& c : readCases(QStringLiteral("app/data/tariff_rows.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const QString region = c.text(0), species = c.text(2), tariff = c.text(3);
        const bool saved = c.fields[5] == "1";
        TariffProgram p;
        p.screen->openAll();
        if (c.fields[1] == "list") {
            p.press(Dlg::kRegionKeys);
            p.pick(region); // moves on to the species list
        } else {
            p.type(region);
            p.press(Dlg::kSpeciesKeys);
        }
        p.pick(species); // moves on to the tariff list
        EXPECT_EQ(QApplication::focusWidget(), p.edit("TARIF"));
        if (c.fields[4] == "list") {
            p.pick(tariff);
        } else {
            p.press(Dlg::kLetterKeys);
            p.type(tariff);
        }
        const QString typed = p.editLine();
        EXPECT_EQ(typed, QStringLiteral("%1/%2/%3").arg(region, species, tariff));
        p.press(c.fields[6] == "Enter" ? int(KeypadScreen::kEnter) : int(Dlg::kSave));

        EXPECT_EQ(p.stored(region, species), QStringList{c.text(7)});
        EXPECT_EQ(p.dialogs.asked().size(), saved ? 0 : 1);
        if (saved) {
            EXPECT_EQ(str(p.editLine()), "//");
            EXPECT_EQ(p.history().last(),
                      QStringLiteral("%1    %2   %3")
                          .arg(region.leftJustified(8), species.leftJustified(3),
                               tariff.leftJustified(5)));
            EXPECT_EQ(QApplication::focusWidget(), p.edit("REGION_A"));
        } else {
            EXPECT_EQ(p.editLine(), typed);
        }
    }
}

// A second press of a list key returns to the letters; the arrow keys and the device's cursor
// keys browse, a changed row is handed over first, and "Delete" removes the row shown; everything
// fits above the keyboard; "Abbrechen" returns to the screen that opened it.
TEST(TariffAssignmentDlg, KeysBrowsingDeletingLayoutAndWayBack)
{
    TariffProgram p;
    p.screen->openAll();
    for (const int list : {Dlg::kRegionKeys, Dlg::kSpeciesKeys, Dlg::kTariffKeys}) {
        p.press(list);
        EXPECT_NE(p.screen->keyboardIndex(), Dlg::Letters) << list;
        p.press(list);
        EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Letters) << list;
    }
    const int before = p.assignments();
    p.press(Dlg::kUp);
    EXPECT_EQ(str(p.editLine()), "WR02/UL/ALH01");
    EXPECT_EQ(str(p.label("position")), "89/89");
    EXPECT_EQ(str(p.history().last()), "WR02        WEI   ALN01");

    p.press(Dlg::kTariffKeys);
    p.pick(QStringLiteral("ALN01"));
    p.dialogs.answerNext(Answer::Yes);
    QTest::keyClick(p.edit("TARIF"), Qt::Key_Up);
    EXPECT_EQ(p.dialogs.asked().size(), 1);
    EXPECT_EQ(str(p.editLine()), "WR02/WEI/ALN01");
    EXPECT_EQ(p.stored("WR02", "UL"), QStringList{"ALN01"});
    p.press(Dlg::kDown);
    EXPECT_EQ(str(p.editLine()), "WR02/UL/ALN01");

    p.dialogs.answerNext(Answer::Yes);
    p.press(Dlg::kDelete);
    EXPECT_EQ(p.dialogs.asked().size(), 2);
    EXPECT_EQ(p.assignments(), before - 1);
    EXPECT_TRUE(p.stored("WR02", "UL").isEmpty());
    EXPECT_EQ(str(p.editLine()), "//");
    EXPECT_EQ(str(p.label("position")), "neu");

    std::vector<std::pair<QString, QRect>> taken;
    const auto place = [&](QWidget* w) {
        const QRect r(w->mapTo(p.screen, QPoint(0, 0)), w->size());
        EXPECT_TRUE(QRect(0, 0, 240, keys::kFullArea.top()).contains(r)) << str(w->objectName());
        for (const auto& [name, other] : taken)
            EXPECT_FALSE(r.intersects(other)) << str(w->objectName()) << " " << str(name);
        taken.emplace_back(w->objectName(), r);
    };
    for (const char* name : {"title", "heading", "position"})
        place(p.screen->findChild<QLabel*>(name));
    for (const char* name : {"history1", "history2", "history3", "REGION_A", "BAUMART", "TARIF"})
        place(p.edit(name));
    for (int id : {Dlg::kUp, Dlg::kDown, Dlg::kSave, Dlg::kDelete, Dlg::kRegionKeys,
                   Dlg::kSpeciesKeys, Dlg::kTariffKeys, Dlg::kLetterKeys})
        place(p.screen->shownKey(id));

    // Each edit shows its longest value whole; a history line shows all of its text.
    const struct {
        const char* name;
        int length;
    } edits[] = {{"REGION_A", 8}, {"BAUMART", 3}, {"TARIF", 5}};
    for (const auto& e : edits) {
        QLineEdit* edit = p.edit(e.name);
        EXPECT_EQ(edit->maxLength(), e.length);
        edit->setText(QString(e.length, u'W'));
        edit->setCursorPosition(0);
        EXPECT_GE(edit->width(), edit->fontMetrics().horizontalAdvance(edit->text()) + 6);
    }
    QLineEdit* line = p.edit("history1");
    EXPECT_GE(line->width(),
              line->fontMetrics().horizontalAdvance(QStringLiteral("SCHWARZW    SKI   KI02 ")) + 6);

    p.dialogs.clear();
    auto* caller = p.app.stack().addScreen(
        std::make_unique<KeypadScreen>(p.app.stack(), QStringLiteral("caller")));
    p.app.stack().switchTo(caller);
    p.screen->openRegion(QStringLiteral("WR01"));
    p.type(QStringLiteral("X"));
    p.press(Screen::kCancel);
    EXPECT_EQ(p.active(), caller);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
}

} // namespace
} // namespace brovant
