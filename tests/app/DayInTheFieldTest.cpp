// A forester's day with the real program, from the morning's configuration to the evening's
// reinitialisation: three lists made on the header screen, 2,000 trees (half typed on the keypad,
// half from the caliper on a pseudo-terminal), corrections, totals and the printed listing,
// automatic and manual backups, the lists sent to the office's brovant-tool over a pseudo-terminal
// cable and two lists received from it, a restore and "Delete all". Every step is checked against
// what the forester did (the trees are kept here as they were entered), and the messages of every
// step are compared as a whole.
#include "app/DayInTheField.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/PrinterSettingsDlg.h"
#include "app/RestoreDlg.h"
#include "app/SettingsDlg.h"
#include "app/TallyDlg.h"
#include "app/TotalsDlg.h"
#include "data/Schema.h"
#include "tally/caliper/CaliperReader.h"
#include "tool/ToolRun.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTabBar>
#include <QTreeWidget>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <vector>

namespace brovant {
namespace {

using namespace test;
using Tally = TallyDlg;

const QStringList kMainSpecies = {"FI", "TA", "DGL", "KI", "LÄ", "BU", "EI"};

// One tree as the forester entered it, with what the master data make of it.
struct Tree {
    qint64 id = 0;
    QString tariff;
    QString species;
    QString quality;
    QString caliperClass;
    int count = 1;
    int diameter = 0; // the class's diameter, as stored
    QString diameterClass;
    int volume = 0; // hundredths of m3

    // ID, ID_TYPE, TARIF, BAUMART, NA, KA, STK, BHD, DMSTUFE, KUBATUR as the rows are read.
    QString row() const
    {
        return QStringLiteral("%1|1|%2|%3|%4|%5|%6|%7|%8|%9")
            .arg(id)
            .arg(tariff, species, quality, caliperClass)
            .arg(count)
            .arg(diameter)
            .arg(diameterClass)
            .arg(volume);
    }
    // The fields of the tally screen showing it.
    QString shown() const
    {
        return QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8")
            .arg(tariff, species, quality, caliperClass)
            .arg(count)
            .arg(diameter)
            .arg(diameterClass, QString::number(volume / 100.0, 'f', 2));
    }
    // Its preview line on the tally screen.
    QString preview() const
    {
        return QStringLiteral("%1     %2      %3")
            .arg(count, 2)
            .arg(diameter, 3)
            .arg(QString::number(volume / 100.0, 'f', 2), 7);
    }
};

struct List {
    QString name;
    QString addition;
    QString region;
    int factor = 100;
    // The tariff each species is tallied with in this list.
    std::map<QString, QString> tariffs;
    qint64 idFile = 0;
    std::vector<Tree> trees;
};

// A backup the day should have left, with what it holds.
struct Backup {
    QString name;
    QDateTime made;
    int lists = 0;
    int trees = 0;
};

// The record the tally screen stands on: a new one starts as a copy of the last tree.
struct Entry {
    QString tariff, species, quality, caliperClass;
    int count = 1;
};

// One tree for the keypad: a species, a count, the diameter typed, and a quality or caliper
// class to put in ("-" takes it out again).
struct KeypadTree {
    QString species;
    int count = 1;
    int diameter = 0;
    QString quality;
    QString caliperClass;
};

class ForesterDay : public ::testing::Test {
protected:
    // --- the forester's hands -----------------------------------------------------------------

    void tapField(const char* name)
    {
        auto* edit = h.active()->findChild<QLineEdit*>(QLatin1StringView(name));
        ASSERT_NE(edit, nullptr) << name;
        QTest::mouseClick(edit, Qt::LeftButton);
        // The field selects its value for typing over once the tap has placed the cursor.
        QApplication::processEvents();
    }
    void tapTab(const char* bar, int index)
    {
        auto* tabs = h.active()->findChild<QTabBar*>(QLatin1StringView(bar));
        ASSERT_NE(tabs, nullptr) << bar;
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(index).center());
        ASSERT_EQ(tabs->currentIndex(), index);
    }
    void tapButton(const QString& name)
    {
        auto* button = h.active()->findChild<QAbstractButton*>(name);
        ASSERT_NE(button, nullptr) << name.toStdString();
        ASSERT_TRUE(button->isVisible() && button->isEnabled()) << name.toStdString();
        // Check boxes are hit on their mark.
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(10, button->height() / 2));
    }
    void choose(const char* combo, const QString& entry)
    {
        auto* box = h.active()->findChild<QComboBox*>(QLatin1StringView(combo));
        ASSERT_NE(box, nullptr) << combo;
        const int index = box->findText(entry);
        ASSERT_GE(index, 0) << combo << " has no " << entry.toStdString();
        box->setCurrentIndex(index);
    }
    // Typed on the soft keys, a blank on the space key.
    void type(const QString& characters)
    {
        for (const QChar c : characters)
            h.type(c == u' ' ? QStringLiteral("␣") : QString(c));
    }
    void toMainMenu()
    {
        for (int i = 0; i < 4 && h.active() != h.app.mainMenu(); ++i)
            h.press(Screen::kCancel);
        ASSERT_EQ(h.active(), h.app.mainMenu());
    }
    void openListSelection(int tab)
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kSelectList);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        tapTab("tabs", tab);
    }
    void openSettings(int tab)
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kSettings);
        ASSERT_EQ(h.activeName(), QStringLiteral("settings"));
        tapTab("tabs1021", tab);
    }
    QTreeWidget* listView() { return h.find<ListSelectionDlg>()->listView(); }
    // A tap on the list's row in the list selection.
    void selectList(const QString& name)
    {
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        QTreeWidget* view = listView();
        for (int i = 0; i < view->topLevelItemCount(); ++i) {
            QTreeWidgetItem* item = view->topLevelItem(i);
            if (item->text(0).trimmed() == name) {
                QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                                  view->visualItemRect(item).center());
                ASSERT_EQ(view->currentItem(), item);
                return;
            }
        }
        FAIL() << "no row " << name.toStdString();
    }
    QString selectedList()
    {
        const QTreeWidgetItem* item = listView()->currentItem();
        return item ? item->text(0).trimmed() : QStringLiteral("<none>");
    }
    // The rows of the list selection as shown: list, "DÜ" column, addition.
    QStringList shownLists()
    {
        QStringList out;
        QTreeWidget* view = listView();
        for (int i = 0; i < view->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* item = view->topLevelItem(i);
            out << item->text(0) + u'|' + item->text(1) + u'|' + item->text(2);
        }
        return out;
    }
    // A new list on the header screen, page by page: name, addition, factor and region on page 1,
    // the mandatory Forstamt, Revier, Abteilung and Aufnehmer from their choices or typed.
    void makeList(const List& list, const QString& department, const QString& recorder)
    {
        ASSERT_NO_FATAL_FAILURE(toMainMenu());
        h.press(MainMenuDlg::kNewList);
        ASSERT_EQ(h.activeName(), QStringLiteral("listHeader"));
        type(list.name);
        h.press(KeypadScreen::kNextField);
        type(list.addition);
        h.press(KeypadScreen::kNextField); // the date stays today's
        h.press(KeypadScreen::kNextField);
        if (list.factor != 100)
            type(QString::number(list.factor));
        h.press(KeypadScreen::kNextField);
        h.pick(list.region);
        h.press(KeypadScreen::kEnter);
        h.pick(QStringLiteral("Forstamt Musterwald"));
        h.pick(QStringLiteral("Revier Hirschberg"));
        h.press(KeypadScreen::kEnter);
        type(department);
        for (int page = 3; page < 7; ++page)
            h.press(KeypadScreen::kEnter);
        tapField("KOPF12_A");
        h.pick(recorder);
        for (int page = 7; page <= 9; ++page)
            h.press(KeypadScreen::kEnter);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
    }

    // Everything said since the last call, after checking that every question had its answer.
    QStringList said()
    {
        QStringList out = transcript(h.dialogs);
        if (h.dialogs.beeps() > 0)
            out << QStringLiteral("Signalton: %1").arg(h.dialogs.beeps());
        EXPECT_EQ(h.dialogs.pendingAnswers(), 0u) << "answers left over";
        EXPECT_EQ(h.dialogs.unansweredQuestions(), 0) << "questions without a scripted answer";
        h.dialogs.clear();
        return out;
    }

    // --- what the day has made so far ---------------------------------------------------------

    int treesSoFar() const
    {
        int n = receivedTrees;
        for (const List& l : lists)
            n += int(l.trees.size());
        return n;
    }
    void automaticBackup()
    {
        if (autoBackup)
            backupMade(QStringLiteral("Auto"));
    }
    void backupMade(const QString& kind)
    {
        // One numbering over both kinds; the oldest of 30 automatic backups makes room.
        if (kind == QStringLiteral("Auto")) {
            const auto isAuto = [](const Backup& b) {
                return b.name.endsWith(QStringLiteral("_Auto.cdb"));
            };
            if (std::count_if(backups.begin(), backups.end(), isAuto) == 30)
                backups.erase(std::find_if(backups.begin(), backups.end(), isAuto));
        }
        backups.push_back(
            {QStringLiteral("%1_%2.cdb").arg(++backupNumber, 4, 10, QChar(u'0')).arg(kind),
             h.clock.now(), madeLists + receivedLists, treesSoFar()});
    }
    // Every backup the day should have left is in the folder, and nothing else; each holds the
    // lists and trees there were when it was made.
    void checkBackups()
    {
        QStringList names;
        for (const Backup& b : backups)
            names << b.name;
        EXPECT_EQ(
            QDir(h.root.host(QStringLiteral("Brovant/Save"))).entryList(QDir::Files, QDir::Name),
            names);
        for (const Backup& b : backups) {
            const QString file = h.root.host(QStringLiteral("Brovant/Save/") + b.name);
            EXPECT_EQ(sqlRows(file, "SELECT (SELECT COUNT(*) FROM Brov_Kopfdaten), "
                                    "(SELECT COUNT(*) FROM Brov_Holzdaten)"),
                      QStringList{QStringLiteral("%1|%2").arg(b.lists).arg(b.trees)})
                << b.name.toStdString();
        }
    }

    // Where two lists of rows part, so a failure does not drown in rows.
    static std::string firstDifference(const QStringList& actual, const QStringList& expected)
    {
        for (qsizetype i = 0; i < std::max(actual.size(), expected.size()); ++i) {
            if (actual.value(i) != expected.value(i))
                return "row " + std::to_string(i) + ": \"" + actual.value(i).toStdString()
                       + "\" instead of \"" + expected.value(i).toStdString() + '"';
        }
        return {};
    }
    QStringList storedTrees(const List& list)
    {
        return h.rows(QStringLiteral("SELECT ID, ID_TYPE, rtrim(TARIF), rtrim(BAUMART), rtrim(NA), "
                                     "rtrim(KA), STK, BHD, DMSTUFE, KUBATUR FROM Brov_Holzdaten "
                                     "WHERE ID_FILE = %1 ORDER BY rowid")
                          .arg(list.idFile));
    }
    static QStringList enteredTrees(const List& list)
    {
        QStringList out;
        for (const Tree& t : list.trees)
            out << t.row();
        return out;
    }
    void checkTrees(const List& list)
    {
        EXPECT_EQ(firstDifference(storedTrees(list), enteredTrees(list)), "")
            << list.name.toStdString();
    }
    // Everything of the lists in the database, for comparing two states.
    QStringList listTables()
    {
        QStringList out;
        for (const char* table : {"Brov_Kopfdaten", "Brov_Holzdaten", "Brov_Region"}) {
            out << QLatin1StringView(table);
            out << h.rows(
                QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1StringView(table)));
        }
        return out;
    }

    // --- the tally screen ---------------------------------------------------------------------

    Tally* tally() { return h.find<Tally>(); }
    QString screenLabel(const char* name)
    {
        auto* label = tally()->findChild<QLabel*>(QLatin1StringView(name));
        return label ? label->text() : QStringLiteral("<none>");
    }
    QString shownRecord()
    {
        QStringList values;
        for (const char* name :
             {"TARIF", "BAUMART", "NA", "KA", "STK", "BHD", "DMSTUFE", "KUBATUR"})
            values << tally()->findChild<QLineEdit*>(QLatin1StringView(name))->text();
        return values.join(u'|');
    }
    // "Holz" on the list's row: the screen opens behind the last tree, the two before it in the
    // preview lines.
    void openTally(const List& list)
    {
        ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TallyTab));
        ASSERT_NO_FATAL_FAILURE(selectList(list.name));
        h.press(ListSelectionDlg::kTally);
        ASSERT_EQ(h.activeName(), QStringLiteral("tally"));
        EXPECT_EQ(screenLabel("title"),
                  QStringLiteral("Liste: %1 - %2").arg(list.name, list.addition));
        EXPECT_EQ(screenLabel("position"), QStringLiteral("neu"));
        const size_t n = list.trees.size();
        EXPECT_EQ(screenLabel("Prev1"), n > 0 ? list.trees[n - 1].preview() : QString());
        EXPECT_EQ(screenLabel("Prev2"), n > 1 ? list.trees[n - 2].preview() : QString());
        current = Entry{};
        if (n > 0) {
            const Tree& last = list.trees.back();
            current = {last.tariff, last.species, last.quality, last.caliperClass, 1};
        }
    }
    // Back to the list selection, which makes its automatic backup and shows the list chosen.
    void closeTally(const List& list)
    {
        h.press(Screen::kCancel);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        automaticBackup();
        EXPECT_EQ(selectedList(), list.name);
    }
    // The confirmed record as the tally saves it: the next running number, class and volume from
    // the master data; every 50th tree makes the automatic backup.
    void saved(List& list, int typedDiameter)
    {
        const DemoMasterData::Class c = demo.classOf(typedDiameter);
        Tree t;
        t.id = list.trees.empty() ? 1 : list.trees.back().id + 1;
        t.tariff = current.tariff;
        t.species = current.species;
        t.quality = current.quality;
        t.caliperClass = current.caliperClass;
        t.count = current.count;
        t.diameter = c.diameter;
        t.diameterClass = c.code;
        t.volume = demo.volume(current.tariff, c.code, current.count);
        list.trees.push_back(t);
        speciesTariff[t.species] = t.tariff;
        current.count = 1;
        if (t.id % 50 == 0)
            automaticBackup();
    }
    // A stored tree changed on the screen and saved again.
    void corrected(List& list, size_t index, int typedDiameter)
    {
        Tree& t = list.trees[index];
        const DemoMasterData::Class c = demo.classOf(typedDiameter);
        t.diameter = c.diameter;
        t.diameterClass = c.code;
        t.volume = demo.volume(t.tariff, c.code, t.count);
        speciesTariff[t.species] = t.tariff;
        // Saved again, the last tree stands where a new one would: its number decides a backup.
        if (index + 1 == list.trees.size() && t.id % 50 == 0)
            automaticBackup();
    }
    // A species key: a species other than the record's brings the tariff it was last saved with.
    void speciesChosen(const QString& species)
    {
        if (species == current.species)
            return;
        current.species = species;
        current.tariff = speciesTariff.count(species) ? speciesTariff[species] : QString();
    }
    // One tree as a finger types it: the species key when the species changes (and the tariff
    // key when the list wants another one), the code keys and the count when they change, the
    // diameter, Enter.
    void typeTree(List& list, const KeypadTree& t)
    {
        const QString tariff = list.tariffs[t.species];
        if (t.species != current.species) {
            tapField("BAUMART");
            h.pick(t.species);
            speciesChosen(t.species);
            if (current.tariff.isEmpty()) {
                // A species never tallied before: the tariff keys come up by themselves.
                ASSERT_EQ(tally()->keyboardIndex(), Tally::TariffKeys);
                h.pick(tariff);
                current.tariff = tariff;
            }
        }
        if (current.tariff != tariff) {
            tapField("TARIF");
            h.pick(tariff);
            current.tariff = tariff;
        }
        const auto code = [&](const char* name, const QString& wanted, QString& now) {
            if (wanted.isEmpty() || wanted == now || (wanted == u'-' && now.isEmpty()))
                return;
            tapField(name);
            if (wanted == u'-') {
                h.press(KeypadScreen::kZiff);
                h.press(Tally::kClear);
                tapField("BHD");
                now.clear();
            } else {
                h.pick(wanted);
                now = wanted;
            }
        };
        code("NA", t.quality, current.quality);
        code("KA", t.caliperClass, current.caliperClass);
        if (t.count != 1) {
            tapField("STK");
            h.type(QString::number(t.count));
            tapField("BHD");
            current.count = t.count;
        }
        ASSERT_EQ(QApplication::focusWidget()->objectName(), QStringLiteral("BHD"));
        h.type(QString::number(t.diameter));
        h.press(KeypadScreen::kEnter);
        saved(list, t.diameter);
        h.clock.advanceMs(12000);
    }
    // The keypad trees of one list: groups of one species, now and then two or three trees at
    // once, and the odd diameter below the first bound or past the last.
    static std::vector<KeypadTree> keypadPlan(int listIndex, int trees, const QStringList& pool)
    {
        std::minstd_rand random(20260504u + unsigned(listIndex));
        std::vector<KeypadTree> plan;
        QString species;
        int groupLeft = 0;
        int group = 0;
        for (int i = 0; i < trees; ++i) {
            if (groupLeft == 0) {
                // The first groups of the day meet every main species once.
                species = listIndex == 0 && group < kMainSpecies.size()
                              ? kMainSpecies[group]
                              : pool[int(random() % unsigned(pool.size()))];
                ++group;
                groupLeft = 3 + int(random() % 10);
            }
            --groupLeft;
            KeypadTree t{species, 1, 8 + int(random() % 60), {}, {}};
            if (i % 97 == 50)
                t.diameter = 7; // class 08
            if (i % 131 == 70)
                t.diameter = 104; // the top class
            if (i % 13 == 5)
                t.count = 2 + int(random() % 2);
            plan.push_back(t);
        }
        return plan;
    }

    // --- the caliper --------------------------------------------------------------------------

    // A telegram's effect on the record: its key's species and its diameter, saved; a diameter
    // of 0 is refused with its notice and leaves the species changed.
    void measured(List& list, const QByteArray& telegram)
    {
        const auto digit = [&](int i) {
            return telegram[i] >= '0' && telegram[i] <= '9';
        };
        if (telegram.size() < 3 || !digit(1) || !digit(2))
            return; // dropped by the reader
        if (telegram[0] >= '1' && telegram[0] <= '7')
            speciesChosen(kMainSpecies[telegram[0] - '1']);
        const int diameter = (telegram[1] - '0') * 10 + (telegram[2] - '0');
        if (diameter == 0)
            caliperNotices << QStringLiteral("Hinweis: Eingabe fehlt !!!");
        else
            saved(list, diameter);
    }
    // The caliper's telegrams for one list: runs of one species key, the line ends calipers
    // send, and now and then what the reader drops or takes with the species kept.
    static QByteArrayList caliperPlan(int listIndex, int trees, const QByteArray& keys)
    {
        std::minstd_rand random(7000u + unsigned(listIndex));
        QByteArrayList plan;
        char key = '1';
        int runLeft = 0;
        const char* ends[] = {"\r\n", "\r", "\n"};
        for (int i = 0; i < trees; ++i) {
            if (runLeft == 0) {
                key = keys[int(random() % unsigned(keys.size()))];
                runLeft = 2 + int(random() % 12);
            }
            --runLeft;
            QByteArray telegram =
                key + QByteArray::number(5 + int(random() % 85)).rightJustified(2, '0');
            if (i % 61 == 30)
                telegram[0] = '8'; // the caliper's own key without a species of its own
            if (i % 89 == 44)
                telegram[0] = '0'; // no species key
            plan << telegram + ends[i % 3];
            if (i % 113 == 20)
                plan << "12\r\n"
                     << "3A5\r\n"; // too short, no diameter
        }
        // The last one without a line end: the silence after it ends it.
        plan.last() = plan.last().trimmed();
        return plan;
    }
    // The telegrams down the line while the tally screen shows the list, a few dozen at a time
    // as a forester measures, each batch stored before the next.
    void streamCaliper(List& list, const QByteArrayList& telegrams)
    {
        for (qsizetype from = 0; from < telegrams.size(); from += 40) {
            const QByteArrayList batch = telegrams.mid(from, 40);
            for (const QByteArray& t : batch)
                measured(list, t.trimmed());
            ASSERT_TRUE(caliper.write(batch.join()));
            const qsizetype wanted = qsizetype(list.trees.size());
            // A guard against a hang only: the trees come as fast as they are stored.
            ASSERT_TRUE(QTest::qWaitFor(
                [&] {
                    return storedTrees(list).size() >= wanted
                           && screenLabel("Prev1") == list.trees.back().preview();
                },
                120000))
                << storedTrees(list).size() << " of " << wanted << " trees";
        }
    }

    // --- totals -------------------------------------------------------------------------------

    // The totals screen's rows from the trees as entered: per species (sorted by code) the count
    // and the volumes corrected record by record, an empty row, the grand total.
    static QStringList expectedTotals(const List& list)
    {
        std::map<QString, std::pair<qint64, qint64>> bySpecies;
        for (const Tree& t : list.trees) {
            auto& [count, volume] = bySpecies[t.species];
            count += t.count;
            volume += qint64(t.volume) * list.factor / 100;
        }
        const auto cells = [](const QString& code, qint64 count, qint64 volume) {
            const double mean = double(float(volume) / float(count)) / 100.0 + 0.001;
            return QStringLiteral("%1|%2|%3|%4")
                .arg(code, QString::asprintf("%7.2f", double(volume) / 100.0),
                     QString::asprintf("%4lld", count), QString::asprintf("%5.2f", mean));
        };
        QStringList out;
        qint64 count = 0;
        qint64 volume = 0;
        for (const auto& [code, sums] : bySpecies) {
            out << cells(code, sums.first, sums.second);
            count += sums.first;
            volume += sums.second;
        }
        out << QStringLiteral("|||") << cells(QString(), count, volume);
        return out;
    }
    QStringList shownTotals()
    {
        QStringList out;
        auto* view = h.find<TotalsDlg>()->totalsView();
        for (int i = 0; i < view->topLevelItemCount(); ++i) {
            QStringList cells;
            for (int c = 0; c < view->columnCount(); ++c)
                cells << view->topLevelItem(i)->text(c);
            out << cells.join(u'|');
        }
        return out;
    }
    // The listing's "Zusammenstellung nach Holzarten", its cells separated by '|'.
    static QStringList printedSummary(const QString& pdf)
    {
        QProcess p;
        p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
        if (!p.waitForFinished(60000) || p.exitCode() != 0)
            return {QStringLiteral("<pdftotext failed>")};
        QStringList out;
        bool inside = false;
        for (const QString& line : QString::fromUtf8(p.readAllStandardOutput()).split(u'\n')) {
            const QString cells = line.split(u' ', Qt::SkipEmptyParts).join(u'|');
            if (cells == QStringLiteral("Zusammenstellung|nach|Holzarten"))
                inside = true;
            else if (inside && cells.startsWith(QStringLiteral("Kubatur|in|m³")))
                return out << cells;
            else if (inside && !cells.startsWith(QStringLiteral("HA|")))
                out << cells;
        }
        return out;
    }
    // The same from the totals as they should be, and the note on the correction factor.
    static QStringList expectedSummary(const List& list)
    {
        QStringList out;
        for (const QString& row : expectedTotals(list)) {
            QStringList cells = row.split(u'|');
            for (QString& cell : cells)
                cell = cell.trimmed();
            if (cells[1].isEmpty())
                continue;
            if (cells[0].isEmpty())
                cells[0] = QStringLiteral("Gesamt");
            out << cells.join(u'|');
        }
        return out << QStringLiteral("Kubatur|in|m³,|je|Datensatz|mit|dem|Korrekturfaktor|%1|%|"
                                     "berechnet.")
                          .arg(list.factor);
    }

    // --- the office ---------------------------------------------------------------------------

    // A list as the office sends it: the header naming the file, "001" in the office's columns
    // (factor 0.90), a region and the trees.
    static QByteArray officeList(const QByteArray& number, const QByteArray& trees)
    {
        return "TD0" + number.leftJustified(8, ' ') + ".DATQuendrax     0Brovant_V300_D\r\n" + "001"
               + number.leftJustified(8, ' ') + QByteArray("Liste:").leftJustified(20, ' ')
               + "04.05.2026" + QByteArray("Datum:").leftJustified(20, ' ') + "0.90"
               + QByteArray("Faktor:").leftJustified(20, ' ') + "WR01    T00300\r\n"
               + "REGWR01    FI FI01 \r\n" + trees;
    }
    // "10A": plot, count, species, diameter, class, volume, quality, caliper class, tariff.
    static QByteArray officeTree(int count, const char* species, int diameter, const char* m3,
                                 const char* tariff)
    {
        return "10A1    " + QByteArray::number(count).rightJustified(2, ' ')
               + QByteArray(species).leftJustified(3, ' ')
               + QByteArray::number(diameter).rightJustified(3, ' ') + QByteArray::number(diameter)
               + QByteArray(m3).rightJustified(7, ' ') + "    "
               + QByteArray(tariff).leftJustified(5, ' ') + "\r\n";
    }
    // The tree lines of a list file read back in their columns, numbered as they come.
    static QStringList treeLines(const QByteArray& file)
    {
        QStringList out;
        qint64 n = 0;
        for (const QByteArray& raw : file.split('\n')) {
            const QString line = cp1252::decode(raw.endsWith('\r') ? raw.chopped(1) : raw);
            if (!line.startsWith(QStringLiteral("10A")))
                continue;
            const auto column = [&](int start, int length) {
                return line.mid(start, length).trimmed();
            };
            out << QStringLiteral("%1|1|%2|%3|%4|%5|%6|%7|%8|%9")
                       .arg(++n)
                       .arg(column(29, 5), column(10, 3), column(25, 2), column(27, 2))
                       .arg(column(8, 2).toInt())
                       .arg(column(13, 3).toInt())
                       .arg(column(16, 2))
                       .arg(qRound(column(18, 7).toDouble() * 100));
        }
        return out;
    }
    // The trees as the list file should carry them, numbered as they stand.
    static QStringList fileTrees(const List& list)
    {
        QStringList out;
        qint64 n = 0;
        for (Tree t : list.trees) {
            t.id = ++n;
            out << t.row();
        }
        return out;
    }

    // --- the steps of the day -----------------------------------------------------------------

    void startWithTheStagedConfiguration();
    void setUpTheHandheld();
    void makeTheLists();
    void tallyByKeypad();
    void tallyByCaliper();
    void correctTrees();
    void totalsAndListings();
    void markAndBackUp();
    void sendToTheOffice();
    void receiveFromTheOffice();
    void restoreTheManualBackup();
    void deleteAll();
    void goOnWithANewList();
    void endTheDay();
    void startTheNextMorning();

    Handheld h{QDateTime(QDate(2026, 5, 4), QTime(7, 5, 0))};
    DemoMasterData demo;
    PseudoTerminal caliper;
    PtyCable cable; // end 0 the handheld, end 1 the office
    std::array<List, 3> lists;
    List evening;
    int madeLists = 0;
    int receivedLists = 0; // from the office, not among `lists`
    int receivedTrees = 0;
    std::map<QString, QString> speciesTariff; // the tariff each species was last saved with
    Entry current;
    QStringList caliperNotices;
    bool autoBackup = false;
    int backupNumber = 0;
    std::vector<Backup> backups;
    QString manualBackup;
    QStringList atManualBackup;
};

// 1. The handheld starts with the office's configuration staged: it is imported and loaded.
void ForesterDay::startWithTheStagedConfiguration()
{
    ASSERT_TRUE(h.app.start());
    h.app.stack().mainWindow()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(h.app.stack().mainWindow()));
    EXPECT_EQ(said(), (QStringList{
                          "Info: Datenbank wird initialisiert...",
                          "Fortschritt: 0 10 20 30 100",
                          "Info zu",
                          "Info: Konfiguration wird eingelesen...",
                          "Fortschritt: 0 4 6 9 12 16 19 22 26 29 32 36 39 42 46 49 52 56 62 70 "
                          "78 85 89 92 96 0",
                          "Info zu",
                          "Info: Konfiguration wird initialisiert...",
                          "Fortschritt: 10 20",
                          "Info zu",
                      }));
    ASSERT_TRUE(h.session.configurationLoaded());
    EXPECT_EQ(h.active(), h.app.mainMenu());
    QStringList mainSpecies;
    for (int i = 0; i < kMainSpecies.size(); ++i)
        mainSpecies << h.state.tables.mainSpecies[size_t(i)].trimmed();
    EXPECT_EQ(mainSpecies, kMainSpecies);
    // The caliper's key 8 has no species of its own: it keeps the species.
    EXPECT_EQ(h.state.tables.caliperSpecies.trimmed(), QString());
}

// The handheld's ports (the caliper on COM3, the cable on COM1) and the settings screens:
// automatic backups on, the cable's port and the caliper chosen.
void ForesterDay::setUpTheHandheld()
{
    ASSERT_TRUE(QDir().mkpath(h.root.host(QStringLiteral("dev"))));
    ASSERT_TRUE(QFile::link(caliper.slave(), h.root.host(QStringLiteral("dev/COM3"))));
    ASSERT_TRUE(QFile::link(cable.end(0), h.root.host(QStringLiteral("dev/COM1"))));

    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    h.dialogs.answerNext(Answer::Yes);
    tapButton(QStringLiteral("check1194"));
    autoBackup = true;
    tapTab("tabs1021", 1);
    tapButton(QStringLiteral("button%1").arg(SettingsDlg::kCommunication));
    ASSERT_EQ(h.activeName(), QStringLiteral("printerSettings"));
    tapButton(QStringLiteral("cable"));
    ASSERT_EQ(h.activeName(), QStringLiteral("cableSettings"));
    choose("port", QStringLiteral("COM1"));
    h.press(KeypadScreen::kEnter);
    ASSERT_EQ(h.activeName(), QStringLiteral("printerSettings"));
    tapTab("tabs", PrinterSettingsDlg::CaliperTab);
    tapButton(QStringLiteral("caliperActive"));
    choose("caliperPort", QStringLiteral("COM3"));
    h.press(KeypadScreen::kEnter);
    ASSERT_EQ(h.activeName(), QStringLiteral("settings"));
    EXPECT_EQ(said(), QStringList{"Frage: Hiermit werden nur Holzlisten gesichert, für|die "
                                  "Konfiguration muss ein Backup gemacht|werden. Wollen Sie die "
                                  "Listen sichern? [JA/NEIN] JA"});
    const SettingsStore& store = h.session.store();
    EXPECT_EQ(store.readInt(Setting::BackupAuto), 1);
    EXPECT_EQ(store.readInt(Setting::DuePort), 1);
    EXPECT_EQ(store.readInt(Setting::KluppeAktiv), 1);
    EXPECT_EQ(store.readInt(Setting::KluppePort), 3);
}

// 2. Three lists on the header screen, each ending in the list selection, which backs up.
void ForesterDay::makeTheLists()
{
    const std::map<QString, QString> wr01 = {{"FI", "FI01"}, {"TA", "TA01"}, {"DGL", "DG01"},
                                             {"KI", "KI01"}, {"LÄ", "LÄ01"}, {"BU", "BU01"},
                                             {"EI", "EI01"}};
    std::map<QString, QString> wr02 = wr01;
    wr02["FI"] = "FI02";
    wr02["KI"] = "KI02";
    wr02["BU"] = "BU02";
    lists[0] = {"HIEB01", "NORDHANG", "WR01", 100, wr01, 0, {}};
    lists[1] = {"SUED02", "SÜDHANG BUCHE", "WR02", 95, wr02, 0, {}};
    lists[2] = {"EICHE03", "EICHEN ABT. 7", "WR01", 100, wr01, 0, {}};
    for (List& list : lists) {
        h.clock.advanceMs(60000);
        ASSERT_NO_FATAL_FAILURE(makeList(list, QStringLiteral("7"), QStringLiteral("Anna Probe")));
        list.idFile = ++madeLists;
        automaticBackup();
        EXPECT_EQ(selectedList(), list.name);
    }
    EXPECT_EQ(said(), QStringList());
    EXPECT_EQ(shownLists(), (QStringList{"HIEB01  |   0|NORDHANG", "SUED02  |   0|SÜDHANG BUCHE",
                                         "EICHE03 |   0|EICHEN ABT. 7"}));
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, "
                                    "REGION_A, KOPF1_A, KOPF2_A, KOPF3_A, KOPF12_A, DUE_MARK, "
                                    "EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid")),
              (QStringList{"1|HIEB01|NORDHANG|04.05.2026|100|WR01|Forstamt Musterwald|Revier "
                           "Hirschberg|7|Anna Probe|0|0",
                           "2|SUED02|SÜDHANG BUCHE|04.05.2026|95|WR02|Forstamt Musterwald|Revier "
                           "Hirschberg|7|Anna Probe|0|0",
                           "3|EICHE03|EICHEN ABT. 7|04.05.2026|100|WR01|Forstamt Musterwald|Revier "
                           "Hirschberg|7|Anna Probe|0|0"}));
}

// 3a. 1,000 trees typed on the keypad over the three lists; a stretch of veneer quality and one of
// windthrow, the first tree typed before its species and one Enter without a diameter.
void ForesterDay::tallyByKeypad()
{
    const int trees[] = {400, 350, 250};
    const QStringList pools[] = {{"FI", "FI", "FI", "TA", "TA", "DGL", "KI", "LÄ", "BU", "EI"},
                                 {"BU", "BU", "BU", "FI", "FI", "KI", "EI"},
                                 {"EI", "EI", "EI", "BU", "BU", "KI", "LÄ", "DGL"}};
    for (int l = 0; l < 3; ++l) {
        List& list = lists[size_t(l)];
        ASSERT_NO_FATAL_FAILURE(openTally(list));
        // The caliper's port is open while the screen is shown.
        EXPECT_TRUE(h.app.caliper()->running());
        QStringList notices;
        if (l == 0) {
            h.type(QStringLiteral("25"));
            h.press(KeypadScreen::kEnter);
            notices << QStringLiteral("Hinweis: Holzart fehlt !!!");
            ASSERT_EQ(tally()->keyboardIndex(), Tally::SpeciesKeys);
            tapField("BHD");
        }
        const std::vector<KeypadTree> plan = keypadPlan(l, trees[l], pools[l]);
        for (size_t i = 0; i < plan.size(); ++i) {
            KeypadTree t = plan[i];
            if (l == 0 && i >= 120 && i <= 130)
                t.quality = i < 130 ? QStringLiteral("FU") : QStringLiteral("-");
            if (l == 1 && i >= 200 && i <= 206)
                t.caliperClass = i < 206 ? QStringLiteral("W") : QStringLiteral("-");
            if (l == 2 && i == 100) {
                h.press(KeypadScreen::kEnter);
                notices << QStringLiteral("Hinweis: Eingabe fehlt !!!");
            }
            ASSERT_NO_FATAL_FAILURE(typeTree(list, t)) << list.name.toStdString() << " " << i;
        }
        EXPECT_EQ(screenLabel("Prev1"), list.trees[list.trees.size() - 1].preview());
        EXPECT_EQ(screenLabel("Prev2"), list.trees[list.trees.size() - 2].preview());
        ASSERT_NO_FATAL_FAILURE(closeTally(list));
        EXPECT_EQ(said(), notices) << list.name.toStdString();
        ASSERT_NO_FATAL_FAILURE(checkTrees(list));
    }
    EXPECT_EQ(treesSoFar(), 1000);
}

// 3b. 1,000 trees from the caliper, the telegrams written to the pseudo-terminal the program opens
// as COM3; in SUED02 one measurement of 0 cm is refused, in EICHE03 the first one is a double stem.
void ForesterDay::tallyByCaliper()
{
    const int trees[] = {350, 300, 350};
    const QByteArray keys[] = {"1112234567", "6661137", "7776654"};
    for (int l = 0; l < 3; ++l) {
        List& list = lists[size_t(l)];
        h.clock.advanceMs(30 * 60000);
        ASSERT_NO_FATAL_FAILURE(openTally(list));
        ASSERT_TRUE(h.app.caliper()->running());
        EXPECT_EQ(screenLabel("caliperState"), QStringLiteral("Kluppe: verbunden"));
        caliperNotices.clear();
        QByteArrayList telegrams = caliperPlan(l, trees[l], keys[l]);
        if (l == 1)
            telegrams.insert(10, "100\r\n");
        if (l == 2) {
            // A double stem: the count typed first goes with the next measurement.
            tapField("STK");
            h.type(QStringLiteral("2"));
            current.count = 2;
        }
        const size_t before = list.trees.size();
        ASSERT_NO_FATAL_FAILURE(streamCaliper(list, telegrams));
        EXPECT_EQ(list.trees.size() - before, size_t(trees[l]));
        ASSERT_NO_FATAL_FAILURE(closeTally(list));
        EXPECT_FALSE(h.app.caliper()->running());
        EXPECT_EQ(said(), caliperNotices) << list.name.toStdString();
        ASSERT_NO_FATAL_FAILURE(checkTrees(list));
    }
    EXPECT_EQ(treesSoFar(), 2000);
    ASSERT_NO_FATAL_FAILURE(checkBackups());
}

// 4. Corrections in HIEB01: back with Up to an older tree, a new diameter saved with Enter; the
// next one changed and saved on leaving it downwards; a change given up on the way up; two trees
// deleted, one of them the first. In SUED02 the last tree becomes a beech of another tariff.
void ForesterDay::correctTrees()
{
    {
        List& list = lists[0];
        h.clock.advanceMs(20 * 60000);
        ASSERT_NO_FATAL_FAILURE(openTally(list));
        const size_t n = list.trees.size();
        for (int i = 0; i < 3; ++i)
            h.press(Tally::kUp);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("%1/%2").arg(n - 2).arg(n));
        EXPECT_EQ(shownRecord(), list.trees[n - 3].shown());
        EXPECT_EQ(screenLabel("Prev1"), list.trees[n - 4].preview());
        tapField("BHD");
        const int diameter = list.trees[n - 3].diameter + 11;
        h.type(QString::number(diameter));
        h.press(KeypadScreen::kEnter);
        corrected(list, n - 3, diameter);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("%1/%2").arg(n - 1).arg(n));
        EXPECT_EQ(shownRecord(), list.trees[n - 2].shown());

        Tree& next = list.trees[n - 2];
        const QString species =
            next.species == QStringLiteral("EI") ? QStringLiteral("BU") : QStringLiteral("EI");
        tapField("BAUMART");
        h.pick(species);
        tapField("STK");
        h.type(QStringLiteral("3"));
        h.dialogs.answerNext(Answer::Yes);
        h.press(Tally::kDown);
        next.species = species;
        next.tariff = speciesTariff[species];
        next.count = 3;
        corrected(list, n - 2, next.diameter);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("%1/%2").arg(n).arg(n));

        tapField("BHD");
        h.type(QStringLiteral("33"));
        h.dialogs.answerNext(Answer::No);
        h.press(Tally::kUp);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("%1/%2").arg(n - 1).arg(n));
        EXPECT_EQ(shownRecord(), list.trees[n - 2].shown());

        h.dialogs.answerNext(Answer::Yes);
        h.press(Tally::kEtc);
        h.press(Tally::kDelete);
        list.trees.erase(list.trees.begin() + qsizetype(n - 2));
        EXPECT_EQ(screenLabel("position"), QStringLiteral("%1/%2").arg(n - 1).arg(n - 1));
        EXPECT_EQ(shownRecord(), list.trees[n - 2].shown());

        h.press(Tally::kEtc);
        h.press(Tally::kFirst);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("1/%1").arg(n - 1));
        h.dialogs.answerNext(Answer::No);
        h.press(Tally::kEtc);
        h.press(Tally::kDelete);
        h.dialogs.answerNext(Answer::Yes);
        h.press(Tally::kEtc);
        h.press(Tally::kDelete);
        list.trees.erase(list.trees.begin());
        EXPECT_EQ(screenLabel("position"), QStringLiteral("1/%1").arg(n - 2));
        EXPECT_EQ(shownRecord(), list.trees[0].shown());
        h.press(Tally::kEtc);
        h.press(Tally::kEnd);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("neu"));
        EXPECT_EQ(screenLabel("Prev1"), list.trees.back().preview());
        ASSERT_NO_FATAL_FAILURE(closeTally(list));
        EXPECT_EQ(said(), (QStringList{
                              "Frage: Abspeichern? [JA/NEIN] JA",
                              "Frage: Abspeichern? [JA/NEIN] NEIN",
                              "Frage: Aktuellen Satz wirklich löschen? [JA/NEIN] JA",
                              "Frage: Aktuellen Satz wirklich löschen? [JA/NEIN] NEIN",
                              "Frage: Aktuellen Satz wirklich löschen? [JA/NEIN] JA",
                          }));
        ASSERT_NO_FATAL_FAILURE(checkTrees(list));
    }
    {
        List& list = lists[1];
        ASSERT_NO_FATAL_FAILURE(openTally(list));
        h.press(Tally::kUp);
        Tree& last = list.trees.back();
        EXPECT_EQ(shownRecord(), last.shown());
        tapField("BAUMART");
        h.pick(QStringLiteral("BU"));
        if (last.species != QStringLiteral("BU"))
            last.tariff = speciesTariff[QStringLiteral("BU")];
        last.species = QStringLiteral("BU");
        // Another tariff from the keys the species offers.
        tapField("TARIF");
        ASSERT_EQ(tally()->keyboardIndex(), Tally::TariffKeys);
        QString other;
        for (int i = 0; i < h.keyboard()->keyCount() && other.isEmpty(); ++i) {
            const KeyButton* key = h.keyboard()->key(i);
            if (key->def().commandId == Tally::kTariffEntry && !key->caption().isEmpty()
                && key->caption() != last.tariff)
                other = key->caption();
        }
        ASSERT_FALSE(other.isEmpty());
        h.pick(other);
        h.press(KeypadScreen::kEnter);
        last.tariff = other;
        corrected(list, list.trees.size() - 1, last.diameter);
        EXPECT_EQ(screenLabel("position"), QStringLiteral("neu"));
        ASSERT_NO_FATAL_FAILURE(closeTally(list));
        EXPECT_EQ(said(), QStringList());
        ASSERT_NO_FATAL_FAILURE(checkTrees(list));
    }
    ASSERT_NO_FATAL_FAILURE(checkBackups());
}

// 5. The totals of each list against the trees as entered; the listing printed from the totals
// screen for HIEB01 and from the list selection for SUED02, its summary read back from the PDF.
void ForesterDay::totalsAndListings()
{
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(16, 40, 0)));
    for (List& list : lists) {
        ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::EvaluationTab));
        ASSERT_NO_FATAL_FAILURE(selectList(list.name));
        h.press(ListSelectionDlg::kEval);
        ASSERT_EQ(h.activeName(), QStringLiteral("totals"));
        EXPECT_EQ(shownTotals(), expectedTotals(list)) << list.name.toStdString();
        if (&list == &lists[0])
            h.press(TotalsDlg::kPrint);
        h.press(Screen::kCancel);
        ASSERT_EQ(h.activeName(), QStringLiteral("listSelection"));
        if (&list == &lists[1])
            h.press(ListSelectionDlg::kPrint);
    }
    EXPECT_EQ(said(), (QStringList{
                          "Info: Ausdruck wird erstellt...",
                          "Fortschritt: 30 70 100",
                          "Info zu",
                          "Info: Ausdruck wird erstellt...",
                          "Fortschritt: 30 70 100",
                          "Info zu",
                      }));
    const QString printed = h.root.host(QStringLiteral("My Documents"));
    EXPECT_EQ(QDir(printed).entryList(QDir::Files, QDir::Name),
              (QStringList{"HIEB01_Ausdruck.pdf", "SUED02_Ausdruck.pdf"}));
    for (const List* list : {&lists[0], &lists[1]}) {
        EXPECT_EQ(printedSummary(printed + u'/' + list->name + QStringLiteral("_Ausdruck.pdf")),
                  expectedSummary(*list))
            << list->name.toStdString();
    }
}

// 6. HIEB01 and EICHE03 marked for the office on the transfer tab (SUED02 marked and unmarked
// again), then a backup by hand.
void ForesterDay::markAndBackUp()
{
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    for (const List* list : {&lists[0], &lists[1], &lists[2], &lists[1]}) {
        ASSERT_NO_FATAL_FAILURE(selectList(list->name));
        h.press(ListSelectionDlg::kMark);
    }
    EXPECT_EQ(shownLists(), (QStringList{"HIEB01  |A0|NORDHANG", "SUED02  |   0|SÜDHANG BUCHE",
                                         "EICHE03 |A0|EICHEN ABT. 7"}));
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 2, 0)));
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    h.dialogs.answerNext(Answer::Yes);
    tapButton(QStringLiteral("button%1").arg(SettingsDlg::kBackup));
    backupMade(QStringLiteral("Manu"));
    manualBackup = backups.back().name;
    EXPECT_EQ(said(), QStringList{"Frage: Hiermit werden nur Holzlisten gesichert, für|die "
                                  "Konfiguration muss ein Backup gemacht|werden. Wollen Sie die "
                                  "Listen sichern? [JA/NEIN] JA"});
    ASSERT_NO_FATAL_FAILURE(checkBackups());
    atManualBackup = listTables();
}

// 7. "Send" over the cable with the office's brovant-tool at its other end. What arrives is what
// the tool itself exports from the same lists (the manual backup holds them as they went).
void ForesterDay::sendToTheOffice()
{
    TempRoot copy;
    ASSERT_TRUE(QDir().mkpath(copy.host(QStringLiteral("Registry"))));
    ASSERT_TRUE(QDir().mkpath(copy.host(QStringLiteral("Brovant"))));
    for (const QString& hive : QDir(h.root.host(QStringLiteral("Registry"))).entryList(QDir::Files))
        ASSERT_TRUE(QFile::copy(h.root.host(QStringLiteral("Registry/") + hive),
                                copy.host(QStringLiteral("Registry/") + hive)));
    ASSERT_TRUE(QFile::copy(h.root.host(QStringLiteral("Brovant/Save/") + manualBackup),
                            copy.host(QStringLiteral("Brovant/Brovant.cdb"))));
    const ToolRun exported = tool(copy.path(), {QStringLiteral("export-lists")});
    ASSERT_EQ(exported.status, 0) << exported.err.toStdString();
    const QMap<QString, QByteArray> files = filesIn(copy.host(QStringLiteral("Export")));
    ASSERT_EQ(files.keys(), (QStringList{"EICHE03 .DAT", "HIEB01  .DAT"}));
    // The files carry the trees as they were entered, in their order.
    for (const List* list : {&lists[0], &lists[2]})
        EXPECT_EQ(firstDifference(treeLines(files.value(list->name.leftJustified(8) + ".DAT")),
                                  fileTrees(*list)),
                  "")
            << list->name.toStdString();
    qsizetype lines = 0;
    for (const QByteArray& file : files)
        lines += file.count('\n');

    TempRoot office;
    ToolProcess receiving({QStringLiteral("office-receive"), QStringLiteral("--port"),
                           cable.end(1), QStringLiteral("--out"), office.path(),
                           QStringLiteral("--timeout"), QStringLiteral("60")});
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    h.press(ListSelectionDlg::kSend);
    const ToolRun received = receiving.finish();
    EXPECT_EQ(received.status, 0) << received.err.toStdString();
    EXPECT_EQ(received.out,
              QStringLiteral("EICHE03 .DAT\nHIEB01  .DAT\n%1 Zeilen empfangen\n").arg(lines));
    EXPECT_EQ(filesIn(office.path()), files);
    EXPECT_EQ(said(), (QStringList{
                          "Info: Datenübertragung wird|vorbereitet...|HIEB01  .DAT",
                          "Fortschritt: 0 10 40 60 70 90",
                          "Info zu",
                          "Info: Datenübertragung wird|vorbereitet...|EICHE03 .DAT",
                          "Fortschritt: 0 10 40 60 70 90",
                          "Info zu",
                          "Info: Warten auf Computeranfrage...",
                          "Fortschritt: 0",
                          "Info: Warten auf Computeranfrage...",
                          QStringLiteral("Info: Datenübertragung läuft...|Zeile: 1..%1").arg(lines),
                          "Info zu",
                      }));
    // Delivered: unmarked, counted once.
    EXPECT_EQ(shownLists(), (QStringList{"HIEB01  |   1|NORDHANG", "SUED02  |   0|SÜDHANG BUCHE",
                                         "EICHE03 |   1|EICHEN ABT. 7"}));
    EXPECT_EQ(
        h.rows(QStringLiteral("SELECT DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten ORDER BY rowid")),
        (QStringList{"0|1", "0|0", "0|1"}));
    // "Send" once more: nothing is marked now.
    h.press(ListSelectionDlg::kSend);
    EXPECT_EQ(said(), QStringList{"Hinweis: Keine Liste für DÜ markiert!"});
}

// 8. "Receive": two lists from the office's brovant-tool become lists of the handheld, the last
// one chosen.
void ForesterDay::receiveFromTheOffice()
{
    TempRoot office;
    office.writeFile(QStringLiteral("MUEHLE.DAT"),
                     officeList("M\xDCHLE", officeTree(1, "FI", 26, "0.59", "FI01")
                                                + officeTree(2, "FI", 30, "1.70", "FI01")
                                                + officeTree(1, "BU", 44, "2.19", "BU01")));
    office.writeFile(QStringLiteral("NACHB02.DAT"),
                     officeList("NACHB02", officeTree(3, "EI", 52, "8.85", "EI01")
                                               + officeTree(1, "KI", 28, "0.60", "KI01")));
    ToolProcess sending({QStringLiteral("office-send"), QStringLiteral("--port"), cable.end(1),
                         QStringLiteral("--timeout"), QStringLiteral("60"),
                         office.host(QStringLiteral("MUEHLE.DAT")),
                         office.host(QStringLiteral("NACHB02.DAT"))});
    h.press(ListSelectionDlg::kReceive);
    const ToolRun sent = sending.finish();
    EXPECT_EQ(sent.status, 0) << sent.err.toStdString();
    EXPECT_EQ(sent.out, QStringLiteral("MUEHLE.DAT\nNACHB02.DAT\n11 Zeilen gesendet\n"));
    EXPECT_EQ(said(), (QStringList{
                          "Info: Warten auf Datenempfang...",
                          "Info: Datenempfang...",
                          "Info: Datenempfang...|Zeile: 1..11",
                          "Info zu",
                      }));
    receivedLists = 2;
    receivedTrees = 5;
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, "
                                    "STRUKTUR, DUE_MARK, EXPORTED_N_NI FROM Brov_Kopfdaten "
                                    "WHERE ID_FILE > 3 ORDER BY rowid")),
              (QStringList{"4|MÜHLE   |04.05.2026|90|WR01    |T00300|0|0",
                           "5|NACHB02 |04.05.2026|90|WR01    |T00300|0|0"}));
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, ID, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, "
                                    "KUBATUR, TARIF FROM Brov_Holzdaten WHERE ID_FILE > 3 "
                                    "ORDER BY rowid")),
              (QStringList{"4|0|1|1|FI |26|26|59|FI01 ", "4|1|1|2|FI |30|30|170|FI01 ",
                           "4|2|1|1|BU |44|44|219|BU01 ", "5|0|1|3|EI |52|52|885|EI01 ",
                           "5|1|1|1|KI |28|28|60|KI01 "}));
    EXPECT_EQ(shownLists().mid(3), (QStringList{"MÜHLE   |   0|", "NACHB02 |   0|"}));
    EXPECT_EQ(selectedList(), QStringLiteral("NACHB02"));
}

// 9. The manual backup restored on the restore screen: the lists are as they were before the
// send, the received lists gone; the state before the restore is one more automatic backup.
void ForesterDay::restoreTheManualBackup()
{
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 31, 0)));
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    QStringList offered;
    for (const Backup& b : backups)
        offered << b.name + b.made.toString(QStringLiteral(" dd.MM.yyyy, hh:mm"));
    QStringList listed;
    RestoreDlg::setRunner([&](RestoreDlg& dialog) {
        dialog.show();
        QListWidget* list = dialog.list();
        for (int i = 0; i < list->count(); ++i)
            listed << list->item(i)->text();
        const auto rows = list->findItems(manualBackup, Qt::MatchStartsWith);
        ASSERT_EQ(rows.size(), 1);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(rows.first()).center());
        QTest::mouseClick(
            dialog.findChild<QPushButton*>(QStringLiteral("button%1").arg(RestoreDlg::kOk)),
            Qt::LeftButton);
    });
    tapButton(QStringLiteral("button%1").arg(SettingsDlg::kRestore));
    RestoreDlg::setRunner({});
    // As when a modal screen closes on the device, the program's window takes the keys back.
    h.app.stack().mainWindow()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(h.app.stack().mainWindow()));
    EXPECT_EQ(listed, offered);
    backupMade(QStringLiteral("Auto")); // the state before the restore
    receivedLists = 0;
    receivedTrees = 0;
    EXPECT_EQ(h.activeName(), QStringLiteral("settings"));
    EXPECT_EQ(said(), (QStringList{
                          "Info: Konfiguration wird initialisiert...",
                          "Fortschritt: 10 20",
                          "Info zu",
                      }));
    EXPECT_EQ(listTables(), atManualBackup);
    for (const List& list : lists)
        ASSERT_NO_FATAL_FAILURE(checkTrees(list));
    ASSERT_NO_FATAL_FAILURE(checkBackups());
    // The list chosen before is not in the backup: the first row is chosen.
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TransferTab));
    EXPECT_EQ(shownLists(), (QStringList{"HIEB01  |A0|NORDHANG", "SUED02  |   0|SÜDHANG BUCHE",
                                         "EICHE03 |A0|EICHEN ABT. 7"}));
    EXPECT_EQ(selectedList(), QStringLiteral("HIEB01"));
}

// 10. "Delete all": both questions, the configuration imported again, no list left, the settings
// back to their defaults.
void ForesterDay::deleteAll()
{
    h.clock.setNow(QDateTime(QDate(2026, 5, 4), QTime(17, 45, 0)));
    ASSERT_NO_FATAL_FAILURE(openSettings(0));
    h.dialogs.answerNext(Answer::Yes); // "Fortsetzen"
    h.dialogs.answerNext(Answer::No);  // the right-hand "JA"
    tapButton(QStringLiteral("button%1").arg(SettingsDlg::kDeleteAll));
    EXPECT_EQ(h.active(), h.app.mainMenu());
    EXPECT_EQ(said(), (QStringList{
                          "Frage: Beim Initialisieren der Daten-|bank werden alle gespeicher-|ten "
                          "Holzdaten gelöscht! [Fortsetzen/Abbrechen] Fortsetzen",
                          "Frage: Wollen Sie wirklich alle Holz-|daten löschen? [NEIN/JA] JA",
                          "Info: Konfiguration wird eingelesen...",
                          "Fortschritt: 0 4 6 9 12 16 19 22 26 29 32 36 39 42 46 49 52 56 62 70 "
                          "78 85 89 92 96 0",
                          "Info zu",
                          "Info: Konfiguration wird initialisiert...",
                          "Fortschritt: 10 20",
                          "Info zu",
                      }));
    EXPECT_EQ(h.rows(QStringLiteral("SELECT (SELECT COUNT(*) FROM Brov_Kopfdaten), (SELECT "
                                    "COUNT(*) FROM Brov_Holzdaten), (SELECT COUNT(*) FROM "
                                    "Brov_Region)")),
              QStringList{"0|0|0"});
    EXPECT_TRUE(h.session.configurationLoaded());
    EXPECT_EQ(h.rows(QStringLiteral("SELECT COUNT(*) FROM Brov_Einstellungen WHERE ID_TYPE = %1")
                         .arg(schema::TariffAssignmentRow)),
              QStringList{QString::number(demo.assignments().size())});
    EXPECT_EQ(h.session.store().readInt(Setting::BackupAuto), 0);
    EXPECT_EQ(h.session.store().readInt(Setting::KluppeAktiv), 0);
    autoBackup = false;
    madeLists = 0;
    ASSERT_NO_FATAL_FAILURE(openListSelection(ListSelectionDlg::TallyTab));
    EXPECT_EQ(shownLists(), QStringList());
}

// The program goes on: a new list and its first trees; no automatic backups any more.
void ForesterDay::goOnWithANewList()
{
    evening = {"ABEND04", "NACHTRAG", "WR01", 100, lists[0].tariffs, 0, {}};
    ASSERT_NO_FATAL_FAILURE(
        makeList(evening, QStringLiteral("9"), QStringLiteral("Erika Musterfrau")));
    evening.idFile = ++madeLists;
    ASSERT_NO_FATAL_FAILURE(openTally(evening));
    EXPECT_FALSE(h.app.caliper()->running());
    EXPECT_TRUE(tally()->findChild<QLabel*>(QStringLiteral("caliperState"))->isHidden());
    for (const KeypadTree& t : {KeypadTree{"KI", 1, 31, {}, {}}, KeypadTree{"KI", 2, 27, {}, {}},
                                KeypadTree{"FI", 1, 45, {}, {}}})
        ASSERT_NO_FATAL_FAILURE(typeTree(evening, t));
    ASSERT_NO_FATAL_FAILURE(closeTally(evening));
    EXPECT_EQ(said(), QStringList());
    ASSERT_NO_FATAL_FAILURE(checkTrees(evening));
    EXPECT_EQ(shownLists(), QStringList{"ABEND04 |   0|NACHTRAG"});
    EXPECT_EQ(h.rows(QStringLiteral("SELECT ID_FILE, LISTE_NR, KOPF3_A, KOPF12_A FROM "
                                    "Brov_Kopfdaten")),
              QStringList{"1|ABEND04|9|Erika Musterfrau"});
    ASSERT_NO_FATAL_FAILURE(checkBackups());
}

// The program ended from the main menu: the database is one closed file again, and the tariffs
// the species were last saved with are flagged for the next start.
void ForesterDay::endTheDay()
{
    ASSERT_NO_FATAL_FAILURE(toMainMenu());
    h.dialogs.answerNext(Answer::Yes);
    h.press(Screen::kCancel);
    EXPECT_EQ(h.active(), nullptr);
    EXPECT_EQ(said(), QStringList{"Frage: Programm beenden? [JA/NEIN] JA"});
    h.app.shutdown();
    h.session.database().close();
    const QString database = h.root.host(QStringLiteral("Brovant/Brovant.cdb"));
    EXPECT_FALSE(QFile::exists(database + QStringLiteral("-wal")));

    QStringList flagged;
    for (const DemoMasterData::Assignment& a : demo.assignments()) {
        const auto used = speciesTariff.find(a.species);
        if (used != speciesTariff.end() && used->second == a.tariff)
            flagged << a.region + u'|' + a.species + u'|' + a.tariff;
    }
    flagged.sort();
    EXPECT_EQ(sqlRows(database, "SELECT rtrim(REGION_A) || '|' || rtrim(BAUMART) || '|' || "
                                "rtrim(TARIF) AS r FROM Brov_Einstellungen WHERE ID_TYPE = 3 AND "
                                "BHD = 1 ORDER BY r"),
              flagged);
}

// The next morning the handheld starts on the evening's list, every species with its tariff.
void ForesterDay::startTheNextMorning()
{
    DeviceSession session(h.root.path());
    AppState state;
    ManualClock clock(QDateTime(QDate(2026, 5, 5), QTime(6, 50, 0)));
    ScriptedDialogs dialogs;
    BrovantApp app(session, state, clock);
    app.replaceMessages(&dialogs);
    ASSERT_TRUE(app.start());
    EXPECT_EQ(transcript(dialogs), (QStringList{
                                       "Info: Datenbank wird initialisiert...",
                                       "Fortschritt: 0 10 20 30 100",
                                       "Info zu",
                                       "Info: Konfiguration wird initialisiert...",
                                       "Fortschritt: 10 20",
                                       "Info zu",
                                   }));
    for (const auto& [species, tariff] : speciesTariff) {
        const int slot = state.tables.speciesIndex(species);
        ASSERT_GE(slot, 0) << species.toStdString();
        EXPECT_EQ(state.speciesTariffs[size_t(slot)], tariff) << species.toStdString();
    }
    auto trees = session.database().query(
        QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten WHERE ID_FILE = 1"));
    ASSERT_TRUE(trees.next());
    EXPECT_EQ(trees.integer(0), 3);
    app.shutdown();
}

TEST_F(ForesterDay, FromTheMorningsConfigurationToTheEveningsReinitialisation)
{
    ASSERT_TRUE(demo.loaded());
    ASSERT_FALSE(caliper.slave().isEmpty()) << "no pseudo-terminal for the caliper";
    ASSERT_TRUE(cable.ok()) << "no pseudo-terminals for the cable";

    ASSERT_NO_FATAL_FAILURE(startWithTheStagedConfiguration());
    ASSERT_NO_FATAL_FAILURE(setUpTheHandheld());
    ASSERT_NO_FATAL_FAILURE(makeTheLists());
    ASSERT_NO_FATAL_FAILURE(tallyByKeypad());
    ASSERT_NO_FATAL_FAILURE(tallyByCaliper());
    ASSERT_NO_FATAL_FAILURE(correctTrees());
    ASSERT_NO_FATAL_FAILURE(totalsAndListings());
    ASSERT_NO_FATAL_FAILURE(markAndBackUp());
    ASSERT_NO_FATAL_FAILURE(sendToTheOffice());
    ASSERT_NO_FATAL_FAILURE(receiveFromTheOffice());
    ASSERT_NO_FATAL_FAILURE(restoreTheManualBackup());
    ASSERT_NO_FATAL_FAILURE(deleteAll());
    ASSERT_NO_FATAL_FAILURE(goOnWithANewList());
    ASSERT_NO_FATAL_FAILURE(endTheDay());
    ASSERT_NO_FATAL_FAILURE(startTheNextMorning());
}

} // namespace
} // namespace brovant
