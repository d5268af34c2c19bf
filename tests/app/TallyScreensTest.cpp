#include "app/KeyTables.h"
#include "app/ListSelectionDlg.h"
#include "app/ProgramFixture.h"
#include "app/TallyDlg.h"
#include "app/TariffAssignmentDlg.h"
#include "app/TotalsDlg.h"
#include "platform/serial/SerialPort.h"
#include "support/PseudoTerminal.h"
#include "tally/caliper/CaliperReader.h"

#include <QDir>
#include <QFontInfo>

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
    p.names = {{"Tariff", Dlg::TariffKeys},   {"Species", Dlg::SpeciesKeys},
               {"Quality", Dlg::QualityKeys}, {"CaliperClass", Dlg::CaliperClassKeys},
               {"Numeric", Dlg::Numeric},     {"Etc", Dlg::kEtc},
               {"Eval", Dlg::kEval},          {"Einstellung", Dlg::kSpeciesSetup}};
    for (const Case& c : readCases(QStringLiteral("app/data/tally_key_bars.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const int bar = p.names.value(c.text(1), -1);
        const int other = p.names.value(c.text(2), -1);
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
    p.probe("tree", [&](auto) { return p.shownTree(); });
    p.probe("stored", [&](auto) { return p.stored(list).join(u'/'); });
    p.run("tally_keys.txt");
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
    p.names = {{"Etc", Dlg::kEtc},
               {"Classes", Dlg::kClasses},
               {"Eval", Dlg::kEval},
               {"Vert", TotalsDlg::kDistribution}};
    p.probe("species", [&](auto) {
        QStringList codes;
        for (const QString& row : Program::shownRows(p.find<TotalsDlg>()->totalsView()))
            codes << row.section(u'|', 0, 0);
        return codes.join(u',');
    });
    p.run("tally_classes.txt");
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

struct TariffProgram : Program {
    TariffProgram()
    {
        names = {{"Regions", TariffAssignmentDlg::kRegionKeys},
                 {"Species", TariffAssignmentDlg::kSpeciesKeys},
                 {"Tariffs", TariffAssignmentDlg::kTariffKeys},
                 {"LetterKeys", TariffAssignmentDlg::kLetterKeys},
                 {"Up", TariffAssignmentDlg::kUp},
                 {"Down", TariffAssignmentDlg::kDown},
                 {"Save", TariffAssignmentDlg::kSave},
                 {"Delete", TariffAssignmentDlg::kDelete},
                 {"Letters", TariffAssignmentDlg::Letters},
                 {"RegionList", TariffAssignmentDlg::RegionList},
                 {"SpeciesList", TariffAssignmentDlg::SpeciesList},
                 {"TariffList", TariffAssignmentDlg::TariffList}};
        probe("open", [this](const QString& region) {
            if (region == u"all")
                screen->openAll();
            else
                screen->openRegion(region);
            return QString();
        });
        probe("line", [this](auto) {
            return edit("REGION_A")->text() + u'/' + edit("BAUMART")->text() + u'/'
                   + edit("TARIF")->text();
        });
        // TARIF of the assignment rows of a region and species, as stored.
        probe("stored", [this](const QString& row) {
            return rows(QStringLiteral("SELECT TARIF FROM Brov_Einstellungen WHERE ID_TYPE = 3 "
                                       "AND rtrim(REGION_A) = '%1' AND rtrim(BAUMART) = '%2'")
                            .arg(row.section(u' ', 0, 0), row.section(u' ', 1)))
                .join(u'/');
        });
        probe("assignments", [this](auto) {
            return rows(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = 3"))
                .join(u'/');
        });
    }
    TariffAssignmentDlg* screen = find<TariffAssignmentDlg>();
};

// The tariff assignment opened, rows put together and saved, its keys; the history lines only
// show; everything fits above the keyboard; "Abbrechen" returns to the screen that opened it.
TEST(TariffAssignmentDlg, OpeningsRowsKeysLayoutAndWayBack)
{
    for (const char* section :
         {"all", "one region", "picked", "typed region", "typed tariff", "keys"}) {
        SCOPED_TRACE(section);
        TariffProgram p;
        p.run("tariff_assignment.txt", section);
    }
    TariffProgram p;
    p.screen->openAll();
    for (int i = 1; i <= 3; ++i) {
        QLineEdit* line = p.edit(QStringLiteral("history%1").arg(i));
        EXPECT_TRUE(line->isReadOnly());
        EXPECT_EQ(line->focusPolicy(), Qt::NoFocus);
        EXPECT_TRUE(QFontInfo(line->font()).fixedPitch()) << str(line->font().family());
    }
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
    for (int id : {TariffAssignmentDlg::kUp, TariffAssignmentDlg::kDown, TariffAssignmentDlg::kSave,
                   TariffAssignmentDlg::kDelete, TariffAssignmentDlg::kRegionKeys,
                   TariffAssignmentDlg::kSpeciesKeys, TariffAssignmentDlg::kTariffKeys,
                   TariffAssignmentDlg::kLetterKeys})
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
