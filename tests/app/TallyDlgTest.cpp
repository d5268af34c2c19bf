#include "app/TallyDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TotalsDlg.h"
#include "platform/serial/SerialPort.h"
#include "support/PseudoTerminal.h"
#include "tally/caliper/CaliperReader.h"

#include <QDir>
#include <QTreeWidget>

namespace brovant {
namespace {

using namespace test;
using Dlg = TallyDlg;

struct TallyProgram : Program {
    // A list header as the list header screen stores one; returns its ID_FILE.
    std::int64_t addList(const char* name, const char* addition)
    {
        insert(schema::Kopfdaten, {{u"ID_FILE", qlonglong(++lists)},
                                   {u"LISTE_NR", name},
                                   {u"ZUSATZ_A", addition},
                                   {u"KOR_FAKTOR_N", 100},
                                   {u"REGION_A", "WR01"},
                                   {u"DUE_MARK", 0},
                                   {u"EXPORTED_N_NI", 0}});
        return lists;
    }
    // "Holz" on the list's row of the list selection.
    void open(const char* name)
    {
        fromListSelection(text(name), ListSelectionDlg::TallyTab, ListSelectionDlg::kTally);
        ASSERT_EQ(active(), screen);
        dialogs.clear();
    }
    QLineEdit* field(const char* name) { return screen->findChild<QLineEdit*>(name); }
    // A tap on the field; its own bar comes up and the value is selected for typing over.
    void tap(const char* name)
    {
        QTest::mouseClick(field(name), Qt::LeftButton);
        QApplication::processEvents();
    }
    // Digits on the keypad, letters on "Alpha" of the secondary bar.
    void keys(const QString& characters)
    {
        for (const QChar c : characters) {
            const int wanted = c.isDigit() ? Dlg::Numeric : Dlg::Letters;
            if (screen->keyboardIndex() != wanted && c.isDigit()) {
                press(KeypadScreen::kZiff);
            } else if (screen->keyboardIndex() != wanted) {
                press(Dlg::kEtc);
                press(Dlg::kAlpha);
            }
            press(QStringLiteral("char_") + c);
        }
    }
    void enter(const char* name, const char* typed)
    {
        tap(name);
        keys(text(typed));
    }
    // ID, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR, TARIF, NA, KA of the list's trees.
    QStringList stored(std::int64_t list)
    {
        return rows(QStringLiteral("SELECT ID, ID_TYPE, STK, rtrim(BAUMART), BHD, DMSTUFE, "
                                   "KUBATUR, rtrim(TARIF), rtrim(NA), rtrim(KA) FROM "
                                   "Brov_Holzdaten WHERE ID_FILE = %1 ORDER BY ID")
                        .arg(list));
    }
    // TARIF, BAUMART, NA, KA, STK, BHD, DMSTUFE, KUBATUR as the edits show them.
    QString shown()
    {
        QStringList values;
        for (const char* name :
             {"TARIF", "BAUMART", "NA", "KA", "STK", "BHD", "DMSTUFE", "KUBATUR"})
            values << field(name)->text();
        return values.join(u'|');
    }
    QString previews() { return label("Prev1") + u'/' + label("Prev2"); }
    QString label(const char* name) { return Program::label(QLatin1StringView(name), screen); }
    // A tree typed on the keypad: species and tariff picked from their keys, count and diameter
    // typed, confirmed with Enter in the diameter.
    void tally(const char* species, const char* tariff, const char* count, const char* diameter)
    {
        tap("BAUMART");
        pick(text(species));
        if (field("TARIF")->text() != text(tariff)) {
            tap("TARIF");
            pick(text(tariff));
        }
        enter("STK", count);
        enter("BHD", diameter);
        press(KeypadScreen::kEnter);
    }

    std::int64_t lists = 0;
    Dlg* screen = find<Dlg>();
};

TEST(TallyDlg, TwoTreesByKeypad)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12 Nord");
    p.open("L1");
    EXPECT_EQ(p.label("title"), QStringLiteral("Liste: L1 - Abt. 12 Nord"));
    EXPECT_EQ(p.shown(), QStringLiteral("||||1|0||0.00"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Numeric);
    EXPECT_EQ(p.label("position"), QStringLiteral("neu"));

    // The species key leads on to the tariffs (none is known for the species yet), the tariff
    // key to the diameter.
    p.tap("BAUMART");
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::SpeciesKeys);
    p.pick(QStringLiteral("FI"));
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::TariffKeys);
    p.pick(QStringLiteral("FI01"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    p.tap("NA");
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::QualityKeys);
    p.pick(QStringLiteral("SH"));
    p.tap("KA");
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::CaliperClassKeys);
    p.pick(QStringLiteral("W"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    p.keys(QStringLiteral("25"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.stored(list), QStringList{"1|1|1|FI|26|26|59|FI01|SH|W"});
    EXPECT_EQ(p.shown(), QStringLiteral("FI01|FI|SH|W|1|0||0.00"));
    EXPECT_EQ(p.previews(), QStringLiteral(" 1      26         0.59/"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));

    // Three trees at once: Enter walks from the count through the class to the diameter, the
    // device's Enter key confirms there. Before that, leaving the diameter shows its class.
    p.enter("BHD", "31");
    p.tap("STK");
    EXPECT_EQ(p.shown(), QStringLiteral("FI01|FI|SH|W|1|32|32|0.99"));
    p.keys(QStringLiteral("3"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.focused(), QStringLiteral("DMSTUFE"));
    EXPECT_EQ(p.field("KUBATUR")->text(), QStringLiteral("2.97"));
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    QTest::keyClick(p.field("BHD"), Qt::Key_Return);
    EXPECT_EQ(p.stored(list),
              (QStringList{"1|1|1|FI|26|26|59|FI01|SH|W", "2|1|3|FI|32|32|297|FI01|SH|W"}));
    EXPECT_EQ(p.previews(), QStringLiteral(" 3      32         2.97/ 1      26         0.59"));
    EXPECT_EQ(p.shown(), QStringLiteral("FI01|FI|SH|W|1|0||0.00"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    EXPECT_TRUE(p.dialogs.asked().isEmpty());

    // Opened again, the screen stands behind the last tree with both in the preview.
    p.press(Screen::kCancel);
    p.open("L1");
    EXPECT_EQ(p.previews(), QStringLiteral(" 3      32         2.97/ 1      26         0.59"));
}

// The field the logic names gets the focus and its bar; the checks themselves are the logic's.
TEST(TallyDlg, RefusedTreeShowsTheNoticeAndFocusesTheField)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");
    p.enter("BAUMART", "EI");
    p.enter("BHD", "30");
    // Leaving a field hands it to the logic (the diameter then shows its class).
    p.tap("STK");
    p.tap("BHD");
    const QString before = p.shown();
    p.press(KeypadScreen::kEnter);
    EXPECT_EQ(p.dialogs.asked(), QStringList{"Tarif fehlt !!!||"});
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    EXPECT_EQ(p.screen->keyboardIndex(), Dlg::TariffKeys);
    // The record stays as it was, unsaved.
    EXPECT_EQ(p.shown(), before);
    EXPECT_EQ(p.label("position"), QStringLiteral("neu"));
    EXPECT_TRUE(p.stored(list).isEmpty());
}

// Each browsing key reaches the logic (which asks about a changed record) and shows where it
// stands.
TEST(TallyDlg, BrowseWithTheArrowsAskingToSave)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");
    p.tally("BU", "BU01", "1", "30");
    p.tally("BU", "BU01", "2", "40");
    ASSERT_EQ(p.stored(list).size(), 2);

    p.press(Dlg::kUp);
    EXPECT_EQ(p.label("position"), QStringLiteral("2/2"));
    EXPECT_EQ(p.shown(), QStringLiteral("BU01|BU|||2|40|40|3.50"));
    EXPECT_EQ(p.previews(), QStringLiteral(" 1      30         0.88/"));

    // A change, and the device's Up key: saved on "JA".
    p.enter("STK", "3");
    p.dialogs.answerNext(Answer::Yes);
    QTest::keyClick(p.field("STK"), Qt::Key_Up);
    EXPECT_EQ(p.stored(list).value(1), QStringLiteral("2|1|3|BU|40|40|525|BU01||"));
    EXPECT_EQ(p.label("position"), QStringLiteral("1/2"));
    p.press(Dlg::kDown);
    EXPECT_EQ(p.label("position"), QStringLiteral("2/2"));
    QTest::keyClick(p.field("BHD"), Qt::Key_Down);
    EXPECT_EQ(p.label("position"), QStringLiteral("neu"));

    // "Anfang", then "Delete" on the first tree.
    p.press(Dlg::kEtc);
    p.press(Dlg::kFirst);
    EXPECT_EQ(p.label("position"), QStringLiteral("1/2"));
    p.dialogs.answerNext(Answer::Yes);
    p.press(Dlg::kEtc);
    p.press(Dlg::kDelete);
    EXPECT_EQ(p.stored(list), QStringList{"2|1|3|BU|40|40|525|BU01||"});
    EXPECT_EQ(p.label("position"), QStringLiteral("1/1"));
    EXPECT_EQ(p.dialogs.asked().size(), 2);
}

TEST(TallyDlg, KeyBarsAndScreenSwitches)
{
    TallyProgram p;
    p.addList("L1", "Abt. 12");
    p.open("L1");

    // Each field's own bar; "Ziff" between it and the keypad (the species keys for the numeric
    // fields), "Etc" and "Alpha" there and back.
    const struct {
        const char* field;
        int bar;
        int other;
    } fields[] = {
        {"TARIF", Dlg::TariffKeys, Dlg::Numeric}, {"BAUMART", Dlg::SpeciesKeys, Dlg::Numeric},
        {"NA", Dlg::QualityKeys, Dlg::Numeric},   {"KA", Dlg::CaliperClassKeys, Dlg::Numeric},
        {"STK", Dlg::Numeric, Dlg::SpeciesKeys},  {"DMSTUFE", Dlg::Numeric, Dlg::SpeciesKeys},
        {"BHD", Dlg::Numeric, Dlg::SpeciesKeys},
    };
    for (const auto& f : fields) {
        SCOPED_TRACE(f.field);
        p.tap(f.field);
        EXPECT_EQ(p.screen->keyboardIndex(), f.bar);
        p.press(KeypadScreen::kZiff);
        EXPECT_EQ(p.screen->keyboardIndex(), f.other);
        p.press(KeypadScreen::kZiff);
        EXPECT_EQ(p.screen->keyboardIndex(), f.bar);
        p.press(Dlg::kEtc);
        EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Secondary);
        p.press(Dlg::kEtc);
        EXPECT_EQ(p.screen->keyboardIndex(), f.bar);
        p.press(Dlg::kEtc);
        p.press(Dlg::kAlpha);
        EXPECT_EQ(p.screen->keyboardIndex(), Dlg::Letters);
        EXPECT_EQ(p.focused(), text(f.field));
    }
    // The species keys are the twelve main species; the bar's arrows walk the entry order.
    p.tap("BAUMART");
    QStringList captions;
    for (int i = 0; i < p.keyboard()->keyCount(); ++i) {
        if (p.keyboard()->key(i)->def().commandId == Dlg::kSpeciesEntry)
            captions << p.keyboard()->key(i)->caption();
    }
    EXPECT_EQ(captions, (QStringList{"FI", "TA", "DGL", "KI", text("LÄ"), "BU", "EI", "ES", "AH",
                                     "HBU", "ER", "BI"}));
    p.press(KeypadScreen::kNextField);
    EXPECT_EQ(p.focused(), QStringLiteral("NA"));
    p.tap("BHD");
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
    EXPECT_EQ(p.active()->objectName(), QStringLiteral("species"));
    p.press(Screen::kCancel);
    EXPECT_EQ(p.active(), p.screen);
    QTest::keyClick(p.field("BHD"), Qt::Key_Escape);
    EXPECT_EQ(p.active()->objectName(), QStringLiteral("listSelection"));
}

// "Eval" prepares the totals sorted by species; "BHD/Stufe" shows them as the tally holds the
// trees, species in the order first tallied, also back from the distribution.
TEST(TallyDlg, ClassesKeyShowsTheTotalsInTallyOrder)
{
    TallyProgram p;
    p.addList("L1", "Abt. 12");
    p.open("L1");
    for (const auto& [species, tariff] :
         {std::pair("KI", "KI01"), {"FI", "FI01"}, {"KI", "KI01"}, {"BU", "BU01"}})
        p.tally(species, tariff, "1", "30");
    auto* totals = p.find<TotalsDlg>();
    ASSERT_NE(totals, nullptr);
    const auto species = [&] {
        QStringList codes;
        for (int i = 0; i < totals->totalsView()->topLevelItemCount(); ++i)
            codes << totals->totalsView()->topLevelItem(i)->text(0);
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
        ASSERT_EQ(p.active()->objectName(), QStringLiteral("distribution"));
        p.press(Screen::kCancel);
        ASSERT_EQ(p.active(), totals);
        EXPECT_EQ(species(), QString::fromLatin1(c.shown));
        p.press(Screen::kCancel);
        ASSERT_EQ(p.active(), p.screen);
    }
}

TEST(TallyDlg, CaliperMeasurementsLandWhileTheScreenIsShown)
{
    TallyProgram p;
    const std::int64_t list = p.addList("L1", "Abt. 12");
    p.open("L1");
    p.tally("FI", "FI01", "1", "20");
    CaliperReader* caliper = p.app.caliper();
    ASSERT_NE(caliper, nullptr);

    // Typed but not yet confirmed: the count goes with the measurement.
    p.enter("STK", "2");
    emit caliper->measured(0, 33);
    EXPECT_EQ(p.stored(list).value(1), QStringLiteral("2|1|2|FI|34|34|230|FI01||"));
    EXPECT_EQ(p.previews(), QStringLiteral(" 2      34         2.30/ 1      20         0.30"));
    EXPECT_EQ(p.focused(), QStringLiteral("BHD"));
    // Key 8 stands for its own species, here one without a tariff yet: refused, the tariff next.
    p.state.tables.caliperSpecies = QStringLiteral("BU ");
    emit caliper->measured(7, 30);
    EXPECT_EQ(p.dialogs.asked(), QStringList{"Tarif fehlt !!!||"});
    EXPECT_EQ(p.focused(), QStringLiteral("TARIF"));
    EXPECT_EQ(p.field("BAUMART")->text(), QStringLiteral("BU"));
    EXPECT_EQ(p.stored(list).size(), 2);

    // Elsewhere, the measurement is not taken.
    p.press(Dlg::kEtc);
    p.press(Dlg::kSpeciesSetup);
    emit caliper->measured(0, 40);
    EXPECT_EQ(p.stored(list).size(), 2);
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

    // Key 3 is the third main species (DGL); 27 cm falls in class 28.
    ASSERT_TRUE(line.write("327\r\n"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return p.stored(list).size() == 2; }, 10000));
    EXPECT_EQ(p.stored(list).value(1).section(u'|', 0, 5), QStringLiteral("2|1|1|DGL|28|28"));

    // A wake-up opens the port again after the pauses, behind the wait cursor.
    const qint64 slept = p.clock.sleptMs();
    p.app.secondStart();
    EXPECT_EQ(p.clock.sleptMs() - slept, 4000);
    EXPECT_TRUE(caliper->running());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    ASSERT_TRUE(line.write("330\r\n"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return p.stored(list).size() == 3; }, 10000));

    p.press(Screen::kCancel);
    EXPECT_FALSE(caliper->running());
    // Without a running reader a second start does not wait.
    p.app.secondStart();
    EXPECT_EQ(p.clock.sleptMs() - slept, 4000);
    EXPECT_TRUE(p.dialogs.asked().isEmpty());
}

TEST(TallyDlg, CaliperPortThatDoesNotOpenLeavesTheScreenByHand)
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
}

TEST(TallyDlg, UnreadableListGoesBackToTheListSelection)
{
    TallyProgram p;
    p.app.stack().switchTo(p.find<ListSelectionDlg>());
    p.state.currentList = 42; // no such list
    p.app.stack().switchTo(p.screen);
    EXPECT_EQ(p.dialogs.asked(), QStringList{"Datenbank nicht lesbar!||"});
    QTest::qWait(0);
    EXPECT_EQ(p.active()->objectName(), QStringLiteral("listSelection"));
}

} // namespace
} // namespace brovant
