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
    Dlg* screen = find<Dlg>("tariffAssignment");
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
        {"NEU1", "Tarif-Zuordnung: NEU1", {"", "", ""}},
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

TEST(TariffAssignmentDlg, CodesPickedOrTypedAreCheckedAndSaved)
{
    struct Case {
        const char* name;
        const char* region;
        bool regionFromList;
        const char* species; // always from the list
        const char* tariff;
        bool tariffFromList;
        int saveKey;
        const char* notice;
        QStringList stored; // TARIF of the region's rows of that species afterwards
    } const cases[] = {
        {"all from lists, a duplicate",
         "WR01",
         true,
         "FI",
         "FI02",
         true,
         Dlg::kSave,
         "Kombination WR/HA|existiert bereits!|",
         {"FI01 "}},
        {"typed region, saved by Enter",
         "WR9",
         false,
         "TA",
         "TA01",
         true,
         CNorvKeybDlg::kEnter,
         "",
         {"TA01 "}},
        {"typed tariff unknown",
         "WR9",
         false,
         "FI",
         "FIX",
         false,
         Dlg::kSave,
         "Tarif nicht in Stammdaten|vorhanden !!!|",
         {}},
        {"typed tariff known", "WR9", false, "FI", "FI01", false, Dlg::kSave, "", {"FI01 "}},
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
        if (std::string(c.notice).empty()) {
            EXPECT_TRUE(p.dialogs.asked().isEmpty()) << str(p.dialogs.asked().join(u'\n'));
            EXPECT_EQ(str(p.editLine()), "//");
            EXPECT_EQ(p.history().last(),
                      QStringLiteral("%1    %2   %3")
                          .arg(text(c.region).leftJustified(8), text(c.species).leftJustified(3),
                               text(c.tariff).leftJustified(5)));
            EXPECT_EQ(QApplication::focusWidget(), p.edit("REGION_A"));
        } else {
            EXPECT_EQ(p.dialogs.asked(), QStringList{text(c.notice)});
            EXPECT_EQ(p.editLine(), typed);
        }
    }
}

TEST(TariffAssignmentDlg, RegionKeysShowTheRegionsSortedAndASecondPressReturnsToLetters)
{
    TariffProgram p;
    p.screen->openAll();
    p.press(Dlg::kRegionKeys);
    ASSERT_EQ(p.screen->keyboardIndex(), Dlg::RegionList);
    QStringList captions;
    for (int i = 0; i < 6; ++i)
        captions << p.screen->keyboard()->key(i)->caption();
    EXPECT_EQ(captions, (QStringList{"OSTALB", "RHEINEB", "SCHWARZW", "WR01", "WR02", ""}));
    p.press(Dlg::kRegionKeys);
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Letters);
}

TEST(TariffAssignmentDlg, BrowsingAsksBeforeLeavingAChangedRow)
{
    struct Case {
        const char* name;
        int answer;
        const char* stored;
    } const cases[] = {
        {"yes saves", MessageDialogs::Yes, "ALN01"},
        {"no drops", MessageDialogs::No, "ALH01"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TariffProgram p;
        p.screen->openAll();
        p.press(Dlg::kUp);
        EXPECT_EQ(str(p.editLine()), "WR02/UL/ALH01");
        EXPECT_EQ(str(p.label("position")), "89/89");
        EXPECT_EQ(str(p.history().last()), "WR02        WEI   ALN01");

        p.press(Dlg::kTariffKeys);
        p.pick(QStringLiteral("ALN01"));
        p.dialogs.answerNext(c.answer);
        // The device's cursor key does what the arrow key on the screen does.
        QTest::keyClick(p.edit("TARIF"), Qt::Key_Up);

        EXPECT_EQ(p.dialogs.asked(), QStringList{QStringLiteral("Abspeichern?||")});
        EXPECT_EQ(str(p.editLine()), "WR02/WEI/ALN01");
        EXPECT_EQ(p.stored("WR02", "UL"), QStringList{QStringLiteral("%1").arg(c.stored)});
        p.press(Dlg::kDown);
        EXPECT_EQ(p.editLine(), QStringLiteral("WR02/UL/%1").arg(c.stored));
        p.press(Dlg::kDown);
        EXPECT_EQ(str(p.label("position")), "neu");
    }
}

TEST(TariffAssignmentDlg, DeleteAsksFirst)
{
    for (const int answer : {MessageDialogs::Yes, MessageDialogs::No}) {
        SCOPED_TRACE(answer);
        TariffProgram p;
        p.screen->openAll();
        const int before = p.assignments();
        p.press(Dlg::kUp);
        p.dialogs.answerNext(answer);
        p.press(Dlg::kDelete);
        EXPECT_EQ(p.dialogs.asked(),
                  QStringList{QStringLiteral("Aktuellen Satz wirklich löschen?||")});
        const bool yes = answer == MessageDialogs::Yes;
        EXPECT_EQ(p.assignments(), before - (yes ? 1 : 0));
        EXPECT_EQ(p.stored("WR02", "UL").size(), yes ? 0 : 1);
        EXPECT_EQ(str(p.editLine()), yes ? "//" : "WR02/UL/ALH01");
    }
}

TEST(TariffAssignmentDlg, CancelReturnsToTheScreenThatOpenedIt)
{
    TariffProgram p;
    auto* caller = p.app.addScreen(std::make_unique<CNorvKeybDlg>(p.app, QStringLiteral("caller")));
    p.app.SwitchToDialog(caller, 0);
    p.screen->openRegion(QStringLiteral("WR01"));
    p.type(QStringLiteral("X"));
    p.press(CNorvBaseDlg::IDCANCEL);
    EXPECT_EQ(p.active(), caller);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
}

TEST(TariffAssignmentDlg, EverythingFitsAboveTheKeyboard)
{
    TariffProgram p;
    p.screen->openAll();
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
        place(p.screen->findChild<CNorvKey*>(QStringLiteral("key%1").arg(id)));

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
}

} // namespace
} // namespace brovant
