#include "app/TallyDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TotalsDlg.h"
#include "platform/serial/SerialPort.h"
#include "support/CaseFile.h"
#include "support/PseudoTerminal.h"
#include "tally/caliper/CaliperReader.h"

#include <QDir>

namespace brovant {
namespace {

using namespace test;
using Dlg = TallyDlg;

struct TallyProgram : Program {
    // A list header as the list header screen stores one; returns its ID_FILE.
    std::int64_t addList(const char* name, const char* addition)
    {
        lists.list(++made, text(name), 100,
                   {{u"ZUSATZ_A", text(addition)},
                    {u"REGION_A", "WR01"},
                    {u"DUE_MARK", 0},
                    {u"EXPORTED_N_NI", 0}});
        return made;
    }
    // "Holz" on the list's row of the list selection.
    void open(const char* name)
    {
        fromListSelection(text(name), ListSelectionDlg::TallyTab, ListSelectionDlg::kTally);
        ASSERT_EQ(active(), screen);
        dialogs.clear();
    }
    void enter(const char* name, const char* digits)
    {
        tapField(text(name));
        type(text(digits));
    }
    // ID, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR, TARIF, NA, KA of the list's trees.
    QStringList stored(std::int64_t list)
    {
        return rows(QStringLiteral("SELECT ID, ID_TYPE, STK, rtrim(BAUMART), BHD, DMSTUFE, "
                                   "KUBATUR, rtrim(TARIF), rtrim(NA), rtrim(KA) FROM "
                                   "Brov_Holzdaten WHERE ID_FILE = %1 ORDER BY ID")
                        .arg(list));
    }
    // A tree typed on the keypad: species and tariff picked from their keys, count and diameter
    // typed, confirmed with Enter in the diameter.
    void tally(const char* species, const char* tariff, const char* count, const char* diameter)
    {
        tapField(QStringLiteral("BAUMART"));
        pick(text(species));
        if (edit("TARIF")->text() != text(tariff)) {
            tapField(QStringLiteral("TARIF"));
            pick(text(tariff));
        }
        enter("STK", count);
        enter("BHD", diameter);
        press(KeypadScreen::kEnter);
    }

    std::int64_t made = 0;
    Dlg* screen = find<Dlg>();
};

// Each field's own bar and the keys between them; "Eval" on an empty list only says so. Each
// field's keys come up with its focus; Enter walks the fields and the device's Enter key stores
// the tree (the tree's values: the day in the field).
TEST(TallyDlg, KeyBarsFocusAndScreenSwitches)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");

    // Each field's own bar, "Ziff" to the other and back, "Etc" and "Alpha" there and back.
    const QMap<QByteArray, int> bars{{"Tariff", Dlg::TariffKeys},
                                     {"Species", Dlg::SpeciesKeys},
                                     {"Quality", Dlg::QualityKeys},
                                     {"CaliperClass", Dlg::CaliperClassKeys},
                                     {"Numeric", Dlg::Numeric}};
    for (const Case& c : readCases(QStringLiteral("app/data/tally_key_bars.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const int bar = bars.value(c.fields[1], -1);
        const int other = bars.value(c.fields[2], -1);
        p.tapField(c.text(0));
        EXPECT_EQ(p.screen->keyboardIndex(), bar);
        p.press(KeypadScreen::kZiff);
        EXPECT_EQ(p.screen->keyboardIndex(), other);
        p.press(KeypadScreen::kZiff);
        EXPECT_EQ(p.screen->keyboardIndex(), bar);
        p.press(Dlg::kEtc);
        EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Secondary);
        p.press(Dlg::kEtc);
        EXPECT_EQ(p.screen->keyboardIndex(), bar);
        p.press(Dlg::kEtc);
        p.press(Dlg::kAlpha);
        EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Letters);
        EXPECT_EQ(p.focused(), c.text(0));
    }
    p.tapField(QStringLiteral("BAUMART"));
    p.press(KeypadScreen::kNextField);
    EXPECT_EQ(p.focused(), QStringLiteral("NA"));
    p.tapField(QStringLiteral("BHD"));
    p.press(KeypadScreen::kNextField);
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    p.press(KeypadScreen::kPreviousField);
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));

    // "Eval" on an empty list only says so (with trees, see below).
    p.press(Dlg::kEtc);
    p.press(Dlg::kEval);
    EXPECT_EQ(p.dialogs.asked().size(), 1);
    EXPECT_EQ(p.active(), p.screen);
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    p.press(Dlg::kEtc);
    p.press(Dlg::kSpeciesSetup);
    EXPECT_EQ(p.activeName(), QStringLiteral("species"));
    p.press(Screen::kCancel);
    EXPECT_EQ(p.active(), p.screen);
    p.dialogs.clear();
    EXPECT_EQ(p.shownTree(), QStringLiteral("||||1|0||0.00"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Numeric);

    // The species key leads on to the tariffs, the tariff key to the diameter.
    p.tapField(QStringLiteral("BAUMART"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::SpeciesKeys);
    p.pick(QStringLiteral("FI"));
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::TariffKeys);
    p.pick(QStringLiteral("FI01"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));

    // Leaving the diameter shows its class; Enter walks from the count through the class to the
    // diameter, the device's Enter key confirms there.
    p.enter("BHD", "31");
    p.tapField(QStringLiteral("STK"));
    EXPECT_EQ(p.shownTree(), QStringLiteral("FI01|FI|||1|32|32|0.99"));
    p.type(QStringLiteral("3"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.focused(), QStringLiteral("DMSTUFE"));
    EXPECT_EQ(p.edit("KUBATUR")->text(), QStringLiteral("2.97"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    QTest::keyClick(p.edit("BHD"), Qt::Key_Return);
    EXPECT_EQ(p.stored(list), QStringList{"1|1|3|FI|32|32|297|FI01||"});
    EXPECT_EQ(p.label("Prev1"), QStringLiteral(" 3      32         2.97"));
    EXPECT_EQ(p.shownTree(), QStringLiteral("FI01|FI|||1|0||0.00"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
    // The device's Up key in a field reaches the browsing.
    QTest::keyClick(p.edit("BHD"), Qt::Key_Up);
    EXPECT_EQ(p.label("position"), QStringLiteral("1/1"));
    QTest::keyClick(p.edit("BHD"), Qt::Key_Escape);
    EXPECT_EQ(p.activeName(), QStringLiteral("listSelection"));
}

// "Eval" prepares the totals sorted by species; "BHD/Stufe" shows them as the tally holds the
// trees, species in the order first tallied, also back from the distribution. A caliper
// measurement the logic refuses focuses the field it names with its keys; on another screen none
// is taken (measurements taken: the day in the field).
TEST(TallyDlg, ClassesKeyAndRefusedMeasurements)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");
    for (const auto& [species, tariff] :
         {std::pair("KI", "KI01"), {"FI", "FI01"}, {"KI", "KI01"}, {"BU", "BU01"}})
        p.tally(species, tariff, "1", "30");
    auto* totals = p.find<TotalsDlg>();
    ASSERT_NE(totals, nullptr);
    const auto species = [&] {
        QStringList codes;
        for (const QString& row : Program::shownRows(totals->totalsView()))
            codes << row.section(u'|', 0, 0);
        return codes.join(u',');
    };
    const struct {
        int key;
        const char* shown;
    } cases[] = {{Dlg::kClasses, "KI,FI,BU,,"}, {Dlg::kEval, "BU,FI,KI,,"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        p.press(Dlg::kEtc);
        p.press(c.key);
        ASSERT_EQ(p.active(), totals);
        EXPECT_EQ(species(), QString::fromLatin1(c.shown));
        p.press(TotalsDlg::kDistribution);
        ASSERT_EQ(p.activeName(), QStringLiteral("distribution"));
        p.press(Screen::kCancel);
        ASSERT_EQ(p.active(), totals);
        EXPECT_EQ(species(), QString::fromLatin1(c.shown));
        p.press(Screen::kCancel);
        ASSERT_EQ(p.active(), p.screen);
    }
    p.tally("FI", "FI01", "1", "20");
    CaliperReader* caliper = p.app.caliper();
    ASSERT_NE(caliper, nullptr);
    // Key 8 stands for its own species, here one without a tariff yet.
    p.state.tables.caliperSpecies = QStringLiteral("TA ");
    emit caliper->measured(7, 30);
    EXPECT_EQ(p.dialogs.asked(), QStringList{"Tarif fehlt !!!||"});
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::TariffKeys);
    EXPECT_EQ(p.edit("BAUMART")->text(), QStringLiteral("TA"));
    EXPECT_EQ(p.stored(list).size(), 5);

    p.press(Dlg::kEtc);
    p.press(Dlg::kSpeciesSetup);
    emit caliper->measured(0, 40);
    EXPECT_EQ(p.stored(list).size(), 5);
}

TEST(TallyDlg, CaliperOnItsPortFromOpeningToLeaving)
{
    TallyProgram p;
    PseudoTerminal line;
    ASSERT_FALSE(line.slave().isEmpty()) << "no pseudo-terminal";
    QDir().mkpath(p.root.host(QStringLiteral("dev")));
    ASSERT_TRUE(QFile::link(line.slave(), p.root.host(QStringLiteral("dev/COM3"))));
    p.state.tables.caliperActive = 1;
    p.state.tables.caliperPort = 3;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");
    p.tally("DGL", "DG01", "1", "20");
    CaliperReader* caliper = p.app.caliper();
    ASSERT_TRUE(caliper->running());
    EXPECT_EQ(caliper->port(), 3);

    // A wake-up opens the port again after the pauses, behind the wait cursor. Key 3 is the
    // third main species (DGL); 27 cm falls in class 28.
    const qint64 slept = p.clock.sleptMs();
    p.app.secondStart();
    EXPECT_EQ(p.clock.sleptMs() - slept, 4000);
    EXPECT_TRUE(caliper->running());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    ASSERT_TRUE(line.write("327\r\n"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return p.stored(list).size() == 2; }, 10000));
    EXPECT_EQ(p.stored(list).value(1).section(u'|', 0, 5), QStringLiteral("2|1|1|DGL|28|28"));

    p.press(Screen::kCancel);
    EXPECT_FALSE(caliper->running());
    // Without a running reader a second start does not wait.
    p.app.secondStart();
    EXPECT_EQ(p.clock.sleptMs() - slept, 4000);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
}

// A caliper port that does not open leaves the screen to the keypad; an unreadable list goes back
// to the list selection.
TEST(TallyDlg, CaliperPortThatDoesNotOpenAndAnUnreadableList)
{
    TallyProgram p;
    p.state.tables.caliperActive = 1;
    p.state.tables.caliperPort = 4;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    if (p.active() != p.app.mainMenu())
        p.app.stack().switchTo(p.app.mainMenu());
    p.state.currentList = int(list);
    p.app.stack().switchTo(p.screen);
    EXPECT_EQ(p.dialogs.asked(),
              QStringList{serialOpenFailureLines(serialPortName(4)).join(u'|') + u'|'});
    EXPECT_FALSE(p.app.caliper()->running());
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    p.tally("FI", "FI01", "1", "20");
    EXPECT_EQ(p.stored(list).size(), 1);
    p.dialogs.clear();
    p.app.stack().switchTo(p.find<ListSelectionDlg>());
    p.state.currentList = 42; // no such list
    p.app.stack().switchTo(p.screen);
    EXPECT_EQ(p.dialogs.asked(), QStringList{"Datenbank nicht lesbar!||"});
    QTest::qWait(0);
    EXPECT_EQ(p.activeName(), QStringLiteral("listSelection"));
}

} // namespace
} // namespace brovant
