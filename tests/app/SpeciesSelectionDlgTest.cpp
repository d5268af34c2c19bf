#include "app/SpeciesSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TallyDlg.h"

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
    void typeCode(const char* code)
    {
        press(Dlg::kLetters);
        type(text(code));
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
    const struct {
        const char* code;
        int command;
        int slot; // 0: the caliper's key 8
    } steps[] = {
        {"KIR", Dlg::kFirstSlot + 4, 5},
        {"ES", Dlg::kFirstSlot, 1},
        {"ES", Dlg::kFirstSlot + 1, 2}, // the same code twice is allowed
        {"WEI", Dlg::kCaliperKey, 0},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.code);
        p.typeCode(s.code);
        EXPECT_EQ(p.typed(), text(s.code));
        p.press(s.command);
        const QString stored = text(s.code).leftJustified(3, u' ');
        if (s.slot > 0) {
            EXPECT_EQ(p.slot(s.slot), stored);
            EXPECT_EQ(p.state.tables.mainSpecies[size_t(s.slot - 1)], stored);
            EXPECT_EQ(p.caption(s.command), QStringLiteral("HA%1\n").arg(s.slot) + text(s.code));
        } else {
            EXPECT_EQ(p.session.store().readText(Setting::KluppeHolzart), stored);
            EXPECT_EQ(p.state.tables.caliperSpecies, stored);
            EXPECT_EQ(p.caption(s.command), QStringLiteral("Kl.8\n") + text(s.code));
        }
        EXPECT_EQ(p.typed(), QString());
    }
    EXPECT_EQ(p.dialogs.beeps(), 2);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());

    // Back on the tally screen its species keys show the new slots.
    p.press(Screen::kCancel);
    ASSERT_EQ(p.active(), p.tally);
    QTest::mouseClick(p.edit(QStringLiteral("BAUMART")), Qt::LeftButton);
    QStringList captions;
    for (int i = 0; i < p.keyboard()->keyCount(); ++i) {
        if (p.keyboard()->key(i)->def().commandId == TallyDlg::kSpeciesEntry)
            captions << p.keyboard()->key(i)->caption();
    }
    EXPECT_EQ(captions.mid(0, 6), (QStringList{"ES", "ES", "DGL", "KI", "KIR", "BU"}));
}

} // namespace
} // namespace brovant
