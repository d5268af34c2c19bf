// The program on a temporary device root, its messages answered by script, driven like a finger
// drives it: keys clicked by object name on the screen shown now.
#pragma once

#include "app/BrovantApp.h"
#include "app/KeypadScreen.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/RestoreDlg.h"
#include "app/ScreenDriver.h"
#include "app/SettingsDlg.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/ListBuilder.h"
#include "support/QtPrinting.h"
#include "support/QtText.h"
#include "support/TempRoot.h"
#include "workflow/AppState.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QPushButton>
#include <QTabBar>
#include <QTest>
#include <QTreeWidget>
#include <QVariant>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>

namespace brovant::test {

// The lines of section `name` of tests/app/data/<file>.txt, written out by hand: a section
// starts with its "[name]" line; empty lines and lines starting with '#' are notes.
inline QStringList golden(const QString& file, const QString& name)
{
    QFile in(QStringLiteral(BROVANT_SOURCE_DIR "/tests/app/data/") + file);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << str(file);
    QStringList lines;
    bool inside = false;
    for (const QString& line : QString::fromUtf8(in.readAll()).split(u'\n')) {
        if (line.startsWith(u'['))
            inside = line == u'[' + name + u']';
        else if (inside && !line.isEmpty() && !line.startsWith(u'#'))
            lines << line;
    }
    EXPECT_FALSE(lines.isEmpty()) << "no section " << str(name) << " in " << str(file);
    return lines;
}

struct ProgramSetup {
    using Stage = std::function<void(const TempRoot&)>;
    bool demo = true;  // the demo configuration staged for import
    bool start = true; // started on the main menu, start-up messages forgotten
    bool flushed = false; // the database flushed on every commit as on the device
    QDateTime now = QDateTime(QDate(2026, 5, 4), QTime(7, 5, 9));
    Stage stage; // more files, before the session opens them

    ProgramSetup& bare() { return demo = false, *this; }
    ProgramSetup& unstarted() { return start = false, *this; }
    ProgramSetup& durable() { return flushed = true, *this; }
    ProgramSetup& at(const QDateTime& time) { return now = time, *this; }
    ProgramSetup& staging(Stage more) { return stage = std::move(more), *this; }
};

class Program {
    struct StagedRoot : TempRoot {
        explicit StagedRoot(const ProgramSetup& setup)
        {
            if (setup.demo) {
                QFile demo(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
                EXPECT_TRUE(demo.open(QIODevice::ReadOnly));
                writeFile(QStringLiteral("Brovant/passive.dtr"), demo.readAll());
            }
            if (setup.stage)
                setup.stage(*this);
        }
    };

public:
    explicit Program(const ProgramSetup& setup = {})
        : root(setup)
        , session(root.path(),
                  setup.flushed ? Database::Durability::Full : Database::Durability::Relaxed)
        , clock(setup.now)
    {
        app.replaceMessages(&dialogs);
        if (!setup.start)
            return;
        EXPECT_TRUE(app.start());
        app.stack().mainWindow()->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(app.stack().mainWindow()));
        dialogs.clear();
    }
    ~Program() { app.shutdown(); }

    template <class S> S* find() const { return app.stack().screen<S>(); }
    Screen* active() const { return driver.active(); }
    OnScreenKeyboard* keyboard() const { return driver.keyboard(); }
    // The driver's steps; one that cannot be taken fails the test.
    void press(const QString& objectName)
    {
        driver.press(objectName);
        check();
    }
    void press(int command)
    {
        driver.press(command);
        check();
    }
    void click(int button)
    {
        driver.click(button);
        check();
    }
    void click(const QString& objectName)
    {
        driver.click(objectName);
        check();
    }
    void type(const QString& characters)
    {
        driver.type(characters);
        check();
    }
    void pick(const QString& caption)
    {
        driver.pick(caption);
        check();
    }
    // From the main menu to the list selection, the list whose name starts with `list` chosen on
    // `tab`, then `key` pressed there.
    void fromListSelection(const QString& list, int tab, int key)
    {
        if (active() != app.mainMenu())
            app.stack().switchTo(app.mainMenu());
        press(MainMenuDlg::kSelectList);
        auto* lists = qobject_cast<ListSelectionDlg*>(active());
        ASSERT_NE(lists, nullptr);
        lists->showTab(tab);
        const auto rows = lists->listView()->findItems(list, Qt::MatchStartsWith);
        ASSERT_EQ(rows.size(), 1) << str(list);
        lists->listView()->setCurrentItem(rows.first());
        press(key);
    }
    // The captions shown on the keys of that command, blank keys left out.
    QStringList keyCaptions(int command) const
    {
        QStringList out;
        for (int i = 0; i < keyboard()->keyCount(); ++i) {
            KeyButton* key = keyboard()->key(i);
            if (key->def().commandId == command && !key->caption().isEmpty())
                out << key->caption();
        }
        return out;
    }
    QLineEdit* edit(const QString& name) const { return active()->findChild<QLineEdit*>(name); }
    // A tap on the field; the screen then selects its value for typing over.
    void tapField(const QString& name)
    {
        QLineEdit* field = driver.field(name);
        check();
        if (!field)
            return;
        QTest::mouseClick(field, Qt::LeftButton);
        QApplication::processEvents();
    }
    // A tap on tab `index` of the tab bar of that name.
    void tapTab(const QString& bar, int index)
    {
        auto* tabs = active()->findChild<QTabBar*>(bar);
        ASSERT_NE(tabs, nullptr) << str(bar);
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(index).center());
        ASSERT_EQ(tabs->currentIndex(), index);
    }
    // The entry of the list box of that name, as picked from its opened list.
    void choose(const QString& box, const QString& entry)
    {
        auto* combo = active()->findChild<QComboBox*>(box);
        ASSERT_NE(combo, nullptr) << str(box);
        ASSERT_TRUE(combo->isVisible() && combo->isEnabled()) << str(box);
        ASSERT_GE(combo->findText(entry), 0) << str(box) << " has no " << str(entry);
        combo->setCurrentIndex(combo->findText(entry));
    }
    // The rows of a tree view as shown, their columns joined by '|'.
    static QStringList shownRows(const QTreeWidget* view)
    {
        QStringList out;
        for (int i = 0; i < view->topLevelItemCount(); ++i) {
            QStringList cells;
            for (int c = 0; c < view->columnCount(); ++c)
                cells << view->topLevelItem(i)->text(c);
            out << cells.join(u'|');
        }
        return out;
    }
    QString label(const QString& name, const QWidget* on = nullptr) const
    {
        auto* l = (on ? on : active())->findChild<QLabel*>(name);
        return l ? l->text() : QStringLiteral("<none>");
    }
    // TARIF, BAUMART, NA, KA, STK, BHD, DMSTUFE, KUBATUR as the tally screen's edits show them.
    QString shownTree() const
    {
        QStringList values;
        for (const char* name :
             {"TARIF", "BAUMART", "NA", "KA", "STK", "BHD", "DMSTUFE", "KUBATUR"})
            values << edit(QLatin1StringView(name))->text();
        return values.join(u'|');
    }
    QString focused() const
    {
        QWidget* w = QApplication::focusWidget();
        return w ? w->objectName() : QString();
    }
    // A row of `table`, each field set from a whole number or a text.
    using Fields = ListBuilder::Fields;
    void insert(const TableDescriptor& table, Fields fields) { lists.row(table, fields); }
    QString activeName() const { return driver.activeName(); }
    // What the restore screen showed when the settings screen's button opened it, after which
    // `row` (-1: none) is tapped and `button` clicked.
    struct SeenRestore {
        bool opened = false;
        QString title, caption;
        QStringList lines;
        int current = -1;
        bool okEnabled = false;
    };
    SeenRestore openRestore(int row, int button)
    {
        SeenRestore seen;
        RestoreDlg::setRunner([&](RestoreDlg& dialog) {
            dialog.show();
            QListWidget* list = dialog.list();
            seen = {true,
                    dialog.windowTitle(),
                    dialog.findChild<QLabel*>(QStringLiteral("caption"))->text(),
                    {},
                    list->currentRow(),
                    dialog.findChild<QPushButton*>(QStringLiteral("button1"))->isEnabled()};
            for (int i = 0; i < list->count(); ++i)
                seen.lines << list->item(i)->text();
            if (row >= 0)
                QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                                  list->visualItemRect(list->item(row)).center());
            QTest::mouseClick(
                dialog.findChild<QPushButton*>(QStringLiteral("button%1").arg(button)),
                Qt::LeftButton);
        });
        click(QStringLiteral("button%1").arg(SettingsDlg::kRestore));
        RestoreDlg::setRunner({});
        return seen;
    }
    // Every row of a query, its columns joined by '|'.
    QStringList rows(const QString& sql) { return joinedRows(session.database(), sql); }
    // A text of the program's profile, "SECTION/ENTRY", "<absent>" when it holds none.
    QString registry(const QString& entry)
    {
        return session.profile().readString(entry.section(u'/', 0, 0), entry.section(u'/', 1),
                                            QStringLiteral("<absent>"));
    }
    int count(const QString& sql)
    {
        const QStringList r = rows(sql);
        return r.isEmpty() ? -1 : r.first().toInt();
    }

    // Names of keys and key bars for the steps, beside the bottom bar's.
    using Names = QMap<QString, int>;
    Names names;
    // Texts a test reads itself for "show" steps, by name, given the words after the name.
    using Probes = QMap<QString, std::function<QString(const QString&)>>;
    Probes probes;
    void probe(const char* name, Probes::mapped_type read) { probes[text(name)] = std::move(read); }
    // A scenario of tests/app/data/<file>, one step a line, its fields tab separated; a step that
    // fails names its line. With a section, only the steps below its "[section]" line and above
    // the next such line. The steps:
    //   press K...      the keys named K in turn (Enter, Cancel, Ziff, Next, Previous, `names`)
    //   type T, pick C, tap F, click B, choose BOX ENTRY, tab BAR INDEX: as the driver's steps
    //   into F          a tap on field F unless it has the focus (then its value is selected)
    //   answer A...     the next questions' answers: JA, NEIN, 1, 2, 3
    //   row N [twice]   a tap, or a double tap, on row N of the screen's tree view
    //   hit W KEY       the device's own key (Return, Up, Down, Escape, Delete) on widget W, or
    //                   on the focused one when W is empty
    //   screen S, focus W, bar B: the active screen, the focused widget, the key bar (`names`)
    //   label L T, show P T: a label's or a probe's text ("P" its name and argument)
    //   do P            a probe run for what it does (a setting written, the clock turned on)
    //   field F T       an edit's text, a list box's choice or a tab bar's current index
    //   state W S...    the widget is each of checked, unchecked, enabled, disabled, shown (to
    //                   be seen), unseen, hidden (itself)
    //   asked M...      the messages since the last "asked" or "asks" ("line1|line2|line3")
    //   asks N          their count
    void run(const char* file, const char* section = nullptr)
    {
        Names all{{QStringLiteral("Enter"), KeypadScreen::kEnter},
                  {QStringLiteral("Cancel"), Screen::kCancel},
                  {QStringLiteral("Ziff"), KeypadScreen::kZiff},
                  {QStringLiteral("Next"), KeypadScreen::kNextField},
                  {QStringLiteral("Previous"), KeypadScreen::kPreviousField}};
        all.insert(names);
        const QMap<QString, Answer> answers{{QStringLiteral("JA"), Answer::Yes},
                                            {QStringLiteral("NEIN"), Answer::No},
                                            {QStringLiteral("1"), Answer::First},
                                            {QStringLiteral("2"), Answer::Second},
                                            {QStringLiteral("3"), Answer::Third}};
        const QMap<QString, Qt::Key> deviceKeys{{QStringLiteral("Return"), Qt::Key_Return},
                                                {QStringLiteral("Up"), Qt::Key_Up},
                                                {QStringLiteral("Down"), Qt::Key_Down},
                                                {QStringLiteral("Escape"), Qt::Key_Escape},
                                                {QStringLiteral("Delete"), Qt::Key_Delete}};
        bool inside = !section;
        int steps = 0;
        for (const Case& c : readCases(QStringLiteral("app/data/") + QLatin1StringView(file))) {
            SCOPED_TRACE(c.where().constData());
            const QByteArray kind = c.fields[0];
            if (kind.startsWith('[')) {
                inside = section && kind == QByteArray("[") + section + ']';
                continue;
            }
            if (!inside)
                continue;
            ++steps;
            QStringList rest;
            for (qsizetype i = 1; i < c.fields.size(); ++i)
                rest << c.text(i);
            const QString a = rest.value(0), b = rest.value(1);
            if (kind == "press") {
                for (const QString& name : rest) {
                    EXPECT_TRUE(all.contains(name)) << "no key " << str(name);
                    press(all.value(name));
                }
            } else if (kind == "type") {
                type(a);
            } else if (kind == "pick") {
                pick(a);
            } else if (kind == "tap" || kind == "into") {
                if (kind == "tap" || focused() != a)
                    tapField(a);
            } else if (kind == "click") {
                click(a);
            } else if (kind == "choose") {
                choose(a, b);
            } else if (kind == "tab") {
                tapTab(a, b.toInt());
            } else if (kind == "answer") {
                for (const QString& answer : rest) {
                    EXPECT_TRUE(answers.contains(answer)) << "no answer " << str(answer);
                    dialogs.answerNext(answers.value(answer));
                }
            } else if (kind == "row") {
                auto* view = active()->findChild<QTreeWidget*>();
                ASSERT_TRUE(view && view->topLevelItem(a.toInt())) << "no row " << str(a);
                const QPoint at = view->visualItemRect(view->topLevelItem(a.toInt())).center();
                // A double tap arrives as a press and release followed by the double click.
                QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
                if (b == u"twice")
                    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at);
            } else if (kind == "hit") {
                QWidget* widget =
                    a.isEmpty() ? QApplication::focusWidget() : active()->findChild<QWidget*>(a);
                ASSERT_TRUE(widget && deviceKeys.contains(b)) << str(a) << " " << str(b);
                QTest::keyClick(widget, deviceKeys.value(b));
            } else if (kind == "screen") {
                EXPECT_EQ(activeName(), a);
            } else if (kind == "focus") {
                EXPECT_EQ(focused(), a);
            } else if (kind == "bar") {
                auto* keypad = qobject_cast<KeypadScreen*>(active());
                ASSERT_NE(keypad, nullptr);
                EXPECT_EQ(keypad->keyboardIndex(), all.value(a, -1)) << str(a);
            } else if (kind == "label") {
                EXPECT_EQ(label(a), b);
            } else if (kind == "field") {
                EXPECT_EQ(fieldText(a), b);
            } else if (kind == "state") {
                auto* widget = active()->findChild<QWidget*>(a);
                ASSERT_NE(widget, nullptr) << str(a);
                auto* button = qobject_cast<QAbstractButton*>(widget);
                const bool checked = button && button->isChecked();
                const QMap<QString, bool> states{{QStringLiteral("checked"), checked},
                                                 {QStringLiteral("unchecked"), !checked},
                                                 {QStringLiteral("enabled"), widget->isEnabled()},
                                                 {QStringLiteral("disabled"), !widget->isEnabled()},
                                                 {QStringLiteral("shown"), widget->isVisible()},
                                                 {QStringLiteral("hidden"), widget->isHidden()},
                                                 {QStringLiteral("unseen"), !widget->isVisible()}};
                for (const QString& state : rest.mid(1))
                    EXPECT_TRUE(states.value(state)) << str(a) << " not " << str(state);
            } else if (kind == "show" || kind == "do") {
                const QString name = a.section(u' ', 0, 0);
                ASSERT_TRUE(probes.contains(name)) << str(name);
                const QString shown = probes.value(name)(a.section(u' ', 1));
                if (kind == "show") {
                    EXPECT_EQ(shown, b);
                }
            } else if (kind == "asked" || kind == "asks") {
                if (kind == "asked") {
                    EXPECT_EQ(dialogs.asked(), rest);
                } else {
                    EXPECT_EQ(dialogs.asked().size(), a.toInt());
                }
                dialogs.clear();
            } else {
                ADD_FAILURE() << "no step " << kind.constData();
            }
        }
        EXPECT_GT(steps, 0) << "no steps in " << file << " " << (section ? section : "");
    }

    // The text of an edit, the choice of a list box or the current index of a tab bar.
    QString fieldText(const QString& name) const
    {
        if (QLineEdit* line = edit(name))
            return line->text();
        if (auto* box = active()->findChild<QComboBox*>(name))
            return box->currentText();
        auto* tabs = active()->findChild<QTabBar*>(name);
        return tabs ? QString::number(tabs->currentIndex()) : QStringLiteral("<none>");
    }

    StagedRoot root;
    DeviceSession session;
    AppState state;
    ManualClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app{session, state, clock};
    ScreenDriver driver{app.stack(), dialogs};
    ListBuilder lists{session.database()}; // list headers and trees as the screens store them

private:
    void check()
    {
        if (driver.failed())
            ADD_FAILURE() << str(driver.takeFailure());
    }
};

} // namespace brovant::test
