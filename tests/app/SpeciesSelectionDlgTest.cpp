#include "app/SpeciesSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TallyDlg.h"
#include "support/CaseFile.h"

namespace brovant {
namespace {

using namespace test;
using Dlg = SpeciesSelectionDlg;

struct SpeciesProgram : Program {
    SpeciesProgram()
    {
        lists.list(1, QStringLiteral("L1"));
        state.currentList = 1;
    }
    // "Einstellung" on the tally screen's secondary keys.
    void open()
    {
        app.stack().switchTo(tally);
        press(TallyDlg::kEtc);
        press(TallyDlg::kSpeciesSetup);
        ASSERT_EQ(active(), screen);
    }
    QString caption(int command) { return keyboard()->keyFor(command)->caption(); }
    QString typed() { return edit(QStringLiteral("BAUMART"))->text(); }
    QString slot(int n) { return session.store().readText(Setting::HauptHolzart, n); }
    // The letters are one "ABC" away; Enter brings the slot keys back.
    void typeCode(const QString& code)
    {
        press(Dlg::kLetters);
        type(code);
        press(KeypadScreen::kEnter);
    }

    TallyDlg* tally = find<TallyDlg>();
    Dlg* screen = find<Dlg>();
};

// The slots on their keys as opened; typed codes go to the slots and the caliper's key, and
// the tally screen's species keys follow.
TEST(SpeciesSelectionDlg, CodesGoToTheSlotsAndTheCaliperKey)
{
    SpeciesProgram p;
    p.open();
    EXPECT_EQ(p.label(QStringLiteral("title")), text("* Einstellung der Holzart *"));
    EXPECT_EQ(p.focused(), QStringLiteral("BAUMART"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::SlotKeys);
    const char* const expected[] = {"FI", "TA", "DGL", "KI",  "LÄ", "BU",
                                    "EI", "ES", "AH",  "HBU", "ER", "BI"};
    for (int n = 1; n <= 12; ++n)
        EXPECT_EQ(p.caption(Dlg::kFirstSlot + n - 1),
                  QStringLiteral("HA%1\n").arg(n) + text(expected[n - 1]));
    EXPECT_EQ(p.caption(Dlg::kCaliperKey), QStringLiteral("Kl.8\n"));
    p.press(KeypadScreen::kZiff);
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Digits);
    p.press(KeypadScreen::kZiff);
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::SlotKeys);
    // With the edit empty a key only beeps and writes nothing.
    p.press(Dlg::kFirstSlot + 4);
    p.press(Dlg::kCaliperKey);
    EXPECT_EQ(p.dialogs.beeps(), 2);
    const QString unwritten = QStringLiteral("<unwritten>");
    EXPECT_EQ(p.session.store().readText(Setting::HauptHolzart, 5, unwritten), unwritten);
    EXPECT_EQ(p.session.store().readText(Setting::KluppeHolzart, 0, unwritten), unwritten);
    EXPECT_EQ(p.caption(Dlg::kFirstSlot + 4), text("HA5\nLÄ"));
    for (const Case& c : readCases(QStringLiteral("app/data/species_slots.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const QString code = c.text(0);
        const int slot = c.fields[1].toInt(); // 0: the caliper's key 8
        const int command = slot > 0 ? Dlg::kFirstSlot + slot - 1 : int(Dlg::kCaliperKey);
        p.typeCode(code);
        EXPECT_EQ(p.typed(), code);
        p.press(command);
        const QString stored = code.leftJustified(3, u' ');
        if (slot > 0) {
            EXPECT_EQ(p.slot(slot), stored);
            EXPECT_EQ(p.state.tables.mainSpecies[size_t(slot - 1)], stored);
            EXPECT_EQ(p.caption(command), QStringLiteral("HA%1\n").arg(slot) + code);
        } else {
            EXPECT_EQ(p.session.store().readText(Setting::KluppeHolzart), stored);
            EXPECT_EQ(p.state.tables.caliperSpecies, stored);
            EXPECT_EQ(p.caption(command), QStringLiteral("Kl.8\n") + code);
        }
        EXPECT_EQ(p.typed(), QString());
    }
    EXPECT_EQ(p.dialogs.beeps(), 2);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());

    // Back on the tally screen its species keys show the new slots.
    p.press(Screen::kCancel);
    ASSERT_EQ(p.active(), p.tally);
    QTest::mouseClick(p.edit(QStringLiteral("BAUMART")), Qt::LeftButton);
    EXPECT_EQ(p.keyCaptions(TallyDlg::kSpeciesEntry).mid(0, 6),
              (QStringList{"ES", "ES", "DGL", "KI", "KIR", "BU"}));
}

} // namespace
} // namespace brovant
