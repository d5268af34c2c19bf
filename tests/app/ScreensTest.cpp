// The smaller screens, each from where the forester reaches it.
#include "app/DistributionDlg.h"
#include "app/KeyTables.h"
#include "app/ProgramFixture.h"
#include "app/RegionDlg.h"
#include "app/ScreenStack.h"
#include "app/SpeciesSelectionDlg.h"
#include "app/SystemInfoDlg.h"
#include "app/TallyDlg.h"
#include "app/TotalsDlg.h"

#include <QFontMetrics>
#include <QProgressBar>
#include <QSignalSpy>

namespace brovant {
namespace {

using namespace test;

// Every layout stays inside its area, keys never overlap, and the bar sits on the bottom edge.
TEST(KeyTables, LayoutsFitTheirAreas)
{
    struct Case {
        const char* name;
        std::vector<KeyDef> keys;
        QRect area;
    };
    const Case cases[] = {
        {"mainMenu", keys::mainMenu(), keys::kTallArea},
        {"letters", keys::letters(), keys::kFullArea},
        {"digits", keys::digits(), keys::kFullArea},
        {"codeList", keys::codeList(1159, 4, 5), keys::kFullArea},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QRect inside(QPoint(0, 0), c.area.size());
        for (size_t i = 0; i < c.keys.size(); ++i) {
            const QRect a(c.keys[i].x, c.keys[i].y, c.keys[i].width, c.keys[i].height);
            EXPECT_TRUE(inside.contains(a)) << i;
            // A gloved finger needs room.
            EXPECT_GE(a.width(), 28) << i;
            EXPECT_GE(a.height(), 20) << i;
            for (size_t j = i + 1; j < c.keys.size(); ++j) {
                const QRect b(c.keys[j].x, c.keys[j].y, c.keys[j].width, c.keys[j].height);
                EXPECT_FALSE(a.intersects(b)) << i << " and " << j;
            }
        }
        const KeyDef& back = c.keys[c.keys.size() - 6];
        EXPECT_EQ(back.commandId, 2);
        EXPECT_EQ(c.area.top() + back.y + back.height, 319);
    }
}

// Typing, switching and deleting on the letters and digits; then a list keyboard pages through
// its table.
TEST(Keypad, TypingSwitchingDeletingAndPaging)
{
    ScreenStack app;
    KeypadScreen dlg(app, QStringLiteral("test"));
    dlg.addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    dlg.addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    auto* edit = new QLineEdit(&dlg);
    edit->setGeometry(10, 10, 100, 20);
    app.mainWindow()->show();
    app.mainWindow()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(app.mainWindow()));
    dlg.bringToFront();
    edit->setFocus();
    const auto press = [&](const QString& name) {
        auto* key = dlg.keyboard()->findChild<KeyButton*>(name);
        ASSERT_NE(key, nullptr) << name.toStdString();
        QTest::mouseClick(key, Qt::LeftButton);
    };

    press(QStringLiteral("char_L"));
    press(QStringLiteral("char_Ä"));
    press(QStringLiteral("keyShift"));
    press(QStringLiteral("char_ß"));
    press(QStringLiteral("char_A"));
    press(QStringLiteral("char_␣"));
    press(QStringLiteral("key1009"));
    EXPECT_EQ(dlg.keyboardIndex(), 1);
    press(QStringLiteral("char_4"));
    press(QStringLiteral("char_2"));
    press(QStringLiteral("key6003"));
    EXPECT_EQ(edit->text(), QStringLiteral("LÄßa 4"));
    press(QStringLiteral("key1009"));
    EXPECT_EQ(dlg.keyboardIndex(), 0);
    // The keys never take the focus from the field.
    EXPECT_TRUE(edit->hasFocus());

    auto* list = new OnScreenKeyboard(keys::kFullArea, keys::codeList(1159, 4, 5));
    dlg.addKeyboard(list);
    dlg.showKeyboard(2);
    QStringList species;
    for (int i = 1; i <= 45; ++i)
        species << QStringLiteral("S%1").arg(i, 2, 10, QChar(u'0'));
    species << QStringList(15, QStringLiteral("     ")); // 60 entries, the last blank
    list->setCodeTable(species, {}, 1159);
    QSignalSpy chosen(list, &OnScreenKeyboard::entryChosen);

    EXPECT_EQ(list->pageCount(), 3);
    EXPECT_FALSE(list->findChild<KeyButton*>(QStringLiteral("pagePrevious"))->isEnabled());
    QTest::mouseClick(list->key(3), Qt::LeftButton);
    press(QStringLiteral("pageNext"));
    press(QStringLiteral("pageNext"));
    EXPECT_EQ(list->page(), 2);
    EXPECT_FALSE(list->findChild<KeyButton*>(QStringLiteral("pageNext"))->isEnabled());
    EXPECT_EQ(list->key(4)->caption(), QStringLiteral("S45"));
    QTest::mouseClick(list->key(4), Qt::LeftButton);
    QTest::mouseClick(list->key(5), Qt::LeftButton); // blank: nothing
    ASSERT_EQ(chosen.count(), 2);
    EXPECT_EQ(chosen[0][1].toInt(), 3);
    EXPECT_EQ(chosen[0][2].toString(), QStringLiteral("S04"));
    EXPECT_EQ(chosen[1][0].toInt(), 1159);
    EXPECT_EQ(chosen[1][1].toInt(), 44);
    EXPECT_EQ(list->lastEntry(), 44);
}

// The region screen as the forester reaches it: "Region" on the list selection, a region picked
// and one typed that has no tariffs yet (assigned on the tariff screen), one removed, and back.
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

struct Tree {
    const char* species;
    const char* diameterClass;
    int count;
    int volume;
};

// The totals screen and the diameter distribution behind it.
class TotalsScreen : public ::testing::Test, protected Program {
protected:
    void addList(int id, const QString& name, int factor, std::initializer_list<Tree> trees)
    {
        lists.list(id, name, factor, {{u"REGION_A", "WR01"}});
        for (const Tree& t : trees)
            lists.tree(id, t.species, t.count, t.volume, {{u"DMSTUFE", t.diameterClass}});
    }
    void settingsChanged()
    {
        state.tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    }
    QTreeWidget* view() const { return screen->findChild<QTreeWidget*>("totalsView"); }
    QStringList shown() const { return shownRows(view()); }

    TotalsDlg* screen = find<TotalsDlg>();
};

TEST_F(TotalsScreen, CellsKeysAndWaysOut)
{
    addList(1, QStringLiteral("WALD"), 90,
            {{"KI", "20", 2, 200}, {"FI", "20", 1, 45}, {"FI", "20", 1, 50}, {"FI", "20", 1, 55}});
    addList(2, QStringLiteral("FELD"), 100, {{"BU", "20", 1, 300}});
    names = {{"SelectList", MainMenuDlg::kSelectList},
             {"Eval", ListSelectionDlg::kEval},
             {"Print", TotalsDlg::kPrint},
             {"Sortiment", TotalsDlg::kAssortment},
             {"Enter", KeypadScreen::kEnter}};
    probe("rows", [&](auto) { return shown().join(u'/'); });
    // The captions of the keys sending that command, "none" without such a key.
    probe("keys", [&](const QString& key) {
        const bool present = keyboard()->keyFor(names.value(key)) != nullptr;
        return present ? keyCaptions(names.value(key)).join(u'/') : QStringLiteral("none");
    });
    probe("current", [&](auto) {
        return QString::number(view()->indexOfTopLevelItem(view()->currentItem()));
    });
    run("totals.txt");
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
}

// The diameter distribution behind the totals screen's "Vert.", and the totals screen's print keys
// writing their PDFs into the printer path (what the pages hold is the evaluation's).
TEST_F(TotalsScreen, DistributionStepsThroughTheSpeciesAndPrintKeysWriteIntoThePrinterPath)
{
    addList(1, QStringLiteral("WALD 1"), 90,
            {{"KI", "20", 2, 200},
             {"FI", "26", 1, 59},
             {"FI", "32", 2, 198},
             {"KI", "24", 1, 50},
             {"FI", "26", 3, 177}});
    fromListSelection(QStringLiteral("WALD 1"), ListSelectionDlg::EvaluationTab,
                      ListSelectionDlg::kEval);
    ASSERT_EQ(activeName(), QStringLiteral("totals"));
    EXPECT_EQ(keyCaptions(TotalsDlg::kDistribution), QStringList{"Vert."});
    auto* distribution = find<DistributionDlg>();
    const auto chart = [distribution] {
        return distribution->shownChart();
    };
    names = {{"Vert", TotalsDlg::kDistribution},
             {"NextSpecies", DistributionDlg::kNextSpecies},
             {"PreviousSpecies", DistributionDlg::kPreviousSpecies},
             {"AllSpecies", DistributionDlg::kAllSpecies},
             {"Print", TotalsDlg::kPrint},
             {"Sortiment", TotalsDlg::kAssortment}};
    probe("species", [&](auto) { return QString::number(distribution->shownSpecies()); });
    probe("stems", [&](auto) {
        QStringList all; // one series a species
        for (const auto& series : chart().series) {
            QStringList stems;
            for (std::int64_t value : series.values)
                stems << QString::number(value);
            all << stems.join(u'/');
        }
        return all.join(u'|');
    });
    probe("classes", [&](auto) { return chart().labels.join(u'/'); });
    probe("file",
          [&](const QString& path) { return text(session.root().isFile(path) ? "yes" : "no"); });
    probe("printer", [&](const QString& path) {
        session.store().writeInt(Setting::PrinterFrage, 5, 1);
        session.store().writeText(Setting::PrinterPath, 0, path);
        settingsChanged();
        return QString();
    });
    run("distribution.txt");
    // The chart is drawn where a finger reads it.
    QWidget* drawn = distribution->findChild<QWidget*>(QStringLiteral("chart"));
    ASSERT_NE(drawn, nullptr);
    EXPECT_GE(drawn->width(), 230);
    EXPECT_GE(drawn->height(), 200);
}

// The species setting: typed codes go to the slots and the caliper's key, and the tally screen's
// species keys follow.
TEST(SpeciesSelectionDlg, CodesGoToTheSlotsAndTheCaliperKey)
{
    using Dlg = SpeciesSelectionDlg;
    Program p;
    p.lists.list(1, QStringLiteral("L1"));
    p.state.currentList = 1;
    p.names = {{"Etc", TallyDlg::kEtc},     {"Einstellung", TallyDlg::kSpeciesSetup},
               {"Kl8", Dlg::kCaliperKey},   {"ABC", Dlg::kLetters},
               {"SlotKeys", Dlg::SlotKeys}, {"Digits", Dlg::Digits}};
    for (int n = 1; n <= 12; ++n)
        p.names.insert(QStringLiteral("Slot%1").arg(n), Dlg::kFirstSlot + n - 1);
    SettingsStore& store = p.session.store();
    const QString unwritten = QStringLiteral("<unwritten>");
    p.probe("tally", [&](auto) {
        p.app.stack().switchTo(p.find<TallyDlg>());
        return QString();
    });
    p.probe("caption", [&](const QString& key) {
        return p.keyboard()->keyFor(p.names.value(key))->caption();
    });
    p.probe("beeps", [&](auto) { return QString::number(p.dialogs.beeps()); });
    p.probe("slot", [&](const QString& n) {
        return store.readText(Setting::HauptHolzart, n.toInt(), unwritten);
    });
    p.probe("table", [&](const QString& n) { return p.state.tables.mainSpecies[n.toUInt() - 1]; });
    p.probe("caliper", [&](const QString& table) {
        return table.isEmpty() ? store.readText(Setting::KluppeHolzart, 0, unwritten)
                               : p.state.tables.caliperSpecies;
    });
    p.probe("species",
            [&](auto) { return p.keyCaptions(TallyDlg::kSpeciesEntry).mid(0, 6).join(u'/'); });
    p.run("species.txt");
}

// The system information screen from the main menu: the battery route of each kind of device,
// the clock that runs only while it is shown, and the way back.
struct InfoProgram : Program {
    explicit InfoProgram(ProgramSetup::Stage stage)
        : Program(ProgramSetup().bare().staging(std::move(stage)))
    {
        EXPECT_NE(screen, nullptr);
    }
    void openFromMenu()
    {
        ASSERT_EQ(active(), app.mainMenu());
        press(MainMenuDlg::kSystemInfo);
    }
    QString text(const char* name) const { return label(QLatin1StringView(name), screen); }
    QProgressBar* bar() const { return screen->findChild<QProgressBar*>("batteryBar"); }
    QLabel* stateWord() const { return screen->findChild<QLabel*>("batteryState"); }
    SystemInfoDlg* screen = find<SystemInfoDlg>();
};

// Which route a device takes is the device layer's; the screen shows a word or the bar.
TEST(SystemInfoDlg, ShowsTheBatteryRouteOfTheDevice)
{
    for (const Case& c : readCases(QStringLiteral("app/data/battery_routes.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const auto given = [&](int field) {
            return c.fields[field] != "-";
        };
        const bool getac = c.fields[4] == "1";
        InfoProgram program([&](const TempRoot& root) {
            const char* files[] = {"Windows/hardware.conf", "Windows/uni1.state",
                                   "sys/BAT0/capacity"};
            for (int field = 1; field <= 3; ++field) {
                if (given(field))
                    root.writeFile(QLatin1StringView(files[field - 1]), c.fields[field]);
            }
            if (getac)
                root.writeFile("Windows/externapi.dll", "MZ");
        });
        ASSERT_NE(program.screen, nullptr);

        program.openFromMenu();
        ASSERT_EQ(program.app.stack().activeScreen(), program.screen);
        EXPECT_TRUE(program.screen->isVisible());
        EXPECT_FALSE(program.app.mainMenu()->isVisible());
        EXPECT_EQ(program.text("title"), QStringLiteral("Systeminfo"));
        EXPECT_EQ(program.text("version"), QStringLiteral("Brovanterfassung V3.03t"));
        EXPECT_EQ(program.text("hardware") == QStringLiteral("Getac"), getac);
        EXPECT_FALSE(program.text("hardware").isEmpty());

        EXPECT_EQ(program.stateWord()->isVisible(), given(5));
        EXPECT_EQ(program.bar()->isVisible(), !given(5));
        if (given(5))
            EXPECT_EQ(program.stateWord()->text(), c.text(5));
        else
            EXPECT_EQ(program.bar()->value(), c.fields[6].toInt());

        // Every line fits the 240 pixels of the screen.
        for (const QLabel* label : program.screen->findChildren<QLabel*>()) {
            if (!label->isVisible() || label->wordWrap())
                continue;
            EXPECT_LE(QFontMetrics(label->font()).horizontalAdvance(label->text()), label->width())
                << str(label->objectName()) << ": " << str(label->text());
            EXPECT_LE(label->geometry().right(), 239) << str(label->objectName());
        }
    }
}

// The clock and the battery run only while the screen is shown; the build line shows the compile
// date the German way.
TEST(SystemInfoDlg, ClockBatteryAndBuildLine)
{
    InfoProgram program([](const TempRoot& root) {
        root.writeFile("Windows/hardware.conf", "uni1=\\Windows\\uni1.state\n");
        root.writeFile("Windows/uni1.state", "20");
    });
    const TempRoot& root = program.root;
    ASSERT_NE(program.screen, nullptr);
    EXPECT_FALSE(program.screen->refreshRunning());

    program.clock.advanceMs(60000);
    program.openFromMenu();
    EXPECT_TRUE(program.screen->refreshRunning());
    EXPECT_FALSE(program.app.mainMenu()->clockRunning());
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:09"));
    EXPECT_EQ(program.text("date"), QStringLiteral("04.05.2026"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("gut"));

    // The next tick shows the new second and asks the battery again.
    program.clock.advanceMs(2000);
    root.writeFile("Windows/uni1.state", "30");
    EXPECT_TRUE(QTest::qWaitFor([&] { return program.text("time") == u"07:06:11"; }, 3000));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("niedrig"));

    program.press(Screen::kCancel);
    EXPECT_EQ(program.app.stack().activeScreen(), program.app.mainMenu());
    EXPECT_TRUE(program.app.mainMenu()->isVisible());
    EXPECT_TRUE(program.app.mainMenu()->clockRunning());
    EXPECT_FALSE(program.screen->isVisible());
    EXPECT_FALSE(program.screen->refreshRunning());

    // Hidden, the screen is left alone.
    program.clock.advanceMs(5000);
    root.writeFile("Windows/uni1.state", "40");
    QTest::qWait(int(SystemInfoDlg::kRefreshMs * 1.5));
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:11"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("niedrig"));

    // Shown again, it is up to date at once.
    program.openFromMenu();
    EXPECT_EQ(program.text("time"), QStringLiteral("07:06:16"));
    EXPECT_EQ(program.stateWord()->text(), QStringLiteral("sehr niedrig"));
    EXPECT_TRUE(program.screen->refreshRunning());
    for (const Case& c : readCases(QStringLiteral("app/data/build_lines.txt")))
        EXPECT_EQ(SystemInfoDlg::buildLine(QStringLiteral("3.3.0"), c.fields[0].constData()),
                  c.text(1))
            << c.where().constData();
}

} // namespace
} // namespace brovant
