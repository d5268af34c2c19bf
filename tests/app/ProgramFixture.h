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
#include "support/ListBuilder.h"
#include "support/QtPrinting.h"
#include "support/QtText.h"
#include "support/TempRoot.h"
#include "workflow/AppState.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
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
    // A text of the program's profile, "<absent>" when it holds none.
    QString registry(const char* section, const char* entry)
    {
        return session.profile().readString(text(section), text(entry), QStringLiteral("<absent>"));
    }
    int count(const QString& sql)
    {
        const QStringList r = rows(sql);
        return r.isEmpty() ? -1 : r.first().toInt();
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
