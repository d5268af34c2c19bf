#include "app/TariffAssignmentDlg.h"
#include "app/KeyTables.h"
#include "app/ProgramFixture.h"

#include <QFontInfo>

namespace brovant {
namespace {

using namespace test;
using Dlg = TariffAssignmentDlg;

struct TariffProgram : Program {
    QLineEdit* edit(const char* name) { return screen->findChild<QLineEdit*>(name); }
    QString editLine()
    {
        return edit("REGION_A")->text() + u'/' + edit("BAUMART")->text() + u'/'
               + edit("TARIF")->text();
    }
    QStringList history()
    {
        return {edit("history1")->text(), edit("history2")->text(), edit("history3")->text()};
    }
    QString label(const char* name) { return Program::label(QLatin1StringView(name), screen); }
    // TARIF of the assignment rows of a region and species, as stored.
    QStringList stored(const char* region, const char* species)
    {
        return rows(QStringLiteral("SELECT TARIF FROM Brov_Einstellungen WHERE ID_TYPE = 3 AND "
                                   "rtrim(REGION_A) = '%1' AND rtrim(BAUMART) = '%2'")
                        .arg(text(region), text(species)));
    }
    int assignments()
    {
        return count(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = 3"));
    }
    Dlg* screen = find<Dlg>();
};

TEST(TariffAssignmentDlg, OpensOnAnEmptyLineBelowThePrecedingRows)
{
    struct Case {
        const char* region; // nullptr: all regions
        const char* title;
        QStringList history;
    } const cases[] = {
        {nullptr,
         "Tarif-Zuordnung",
         {"WR02        PA    ALN01", "WR02        WEI   ALN01", "WR02        UL    ALH01"}},
        {"RHEINEB",
         "Tarif-Zuordnung: RHEINEB",
         {"RHEINEB     WEI   ALN01", "RHEINEB     UL    ALH01", "RHEINEB     SKI   KI02 "}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        TariffProgram p;
        if (c.region)
            p.screen->openRegion(text(c.region));
        else
            p.screen->openAll();
        ASSERT_EQ(p.active(), p.screen);
        EXPECT_EQ(str(p.label("title")), c.title);
        EXPECT_EQ(p.history(), c.history);
        EXPECT_EQ(str(p.editLine()), "//");
        EXPECT_EQ(str(p.label("position")), "neu");
        EXPECT_EQ(QApplication::focusWidget(), p.edit("REGION_A"));
        for (int i = 1; i <= 3; ++i) {
            QLineEdit* line = p.edit(QStringLiteral("history%1").arg(i).toLatin1().constData());
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
    struct Case {
        const char* name;
        const char* region;
        bool regionFromList;
        const char* species; // always from the list
        const char* tariff;
        bool tariffFromList;
        int saveKey;
        bool saved;
        QStringList stored; // TARIF of the region's rows of that species afterwards
    } const cases[] = {
        // clang-format off
        {"all from lists, refused", "WR01", true, "FI", "FI02", true, Dlg::kSave, false, {"FI01 "}},
        {"typed region, saved by Enter", "WR9", false, "TA", "TA01", true, KeypadScreen::kEnter,
         true, {"TA01 "}},
        {"typed tariff", "WR9", false, "FI", "FI01", false, Dlg::kSave, true, {"FI01 "}},
        // clang-format on
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TariffProgram p;
        p.screen->openAll();
        if (c.regionFromList) {
            p.press(Dlg::kRegionKeys);
            p.pick(text(c.region)); // moves on to the species list
        } else {
            p.type(text(c.region));
            p.press(Dlg::kSpeciesKeys);
        }
        p.pick(text(c.species)); // moves on to the tariff list
        EXPECT_EQ(QApplication::focusWidget(), p.edit("TARIF"));
        if (c.tariffFromList) {
            p.pick(text(c.tariff));
        } else {
            p.press(Dlg::kLetterKeys);
            p.type(text(c.tariff));
        }
        const QString typed = p.editLine();
        EXPECT_EQ(typed, QStringLiteral("%1/%2/%3").arg(c.region, c.species, c.tariff));
        p.press(c.saveKey);

        EXPECT_EQ(p.stored(c.region, c.species), c.stored);
        EXPECT_EQ(p.dialogs.asked().size(), c.saved ? 0 : 1);
        if (c.saved) {
            EXPECT_EQ(str(p.editLine()), "//");
            EXPECT_EQ(p.history().last(),
                      QStringLiteral("%1    %2   %3")
                          .arg(text(c.region).leftJustified(8), text(c.species).leftJustified(3),
                               text(c.tariff).leftJustified(5)));
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
