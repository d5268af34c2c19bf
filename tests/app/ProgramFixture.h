// The program on a temporary device root, its messages answered by script, driven like a finger
// drives it: keys clicked by object name on the screen shown now.
#pragma once

#include "app/BrovantApp.h"
#include "app/KeyButton.h"
#include "app/KeypadScreen.h"
#include "app/MainMenuDlg.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/TempRoot.h"
#include "workflow/AppState.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVariant>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace brovant::test {

inline std::string str(const QString& text)
{
    return text.toStdString();
}

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

struct ProgramSetup {
    using Stage = std::function<void(const TempRoot&)>;
    bool demo = true;  // the demo configuration staged for import
    bool start = true; // started on the main menu, start-up messages forgotten
    bool flushed = false; // the database flushed on every commit as on the device
    QDateTime now = QDateTime(QDate(2026, 5, 4), QTime(7, 5, 9));
    Stage stage; // more files, before the session opens them
    TransferChannels* channels = nullptr; // instead of the ones the settings choose

    ProgramSetup& bare() { return demo = false, *this; }
    ProgramSetup& unstarted() { return start = false, *this; }
    ProgramSetup& durable() { return flushed = true, *this; }
    ProgramSetup& at(const QDateTime& time) { return now = time, *this; }
    ProgramSetup& staging(Stage more) { return stage = std::move(more), *this; }
    ProgramSetup& through(TransferChannels& c) { return channels = &c, *this; }
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
        if (setup.channels)
            app.replaceChannels(setup.channels);
        if (!setup.start)
            return;
        EXPECT_TRUE(app.start());
        app.stack().mainWindow()->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(app.stack().mainWindow()));
        dialogs.clear();
    }
    ~Program() { app.shutdown(); }

    template <class S> S* find() const { return app.stack().screen<S>(); }
    Screen* active() const { return app.stack().activeScreen(); }
    OnScreenKeyboard* keyboard() const
    {
        auto* screen = qobject_cast<KeypadScreen*>(active());
        return screen ? screen->keyboard() : nullptr;
    }
    // The shown key of that name: bar keys exist once per keyboard.
    void press(const QString& objectName)
    {
        ASSERT_NE(active(), nullptr) << str(objectName);
        for (KeyButton* key : active()->findChildren<KeyButton*>(objectName)) {
            if (key->isVisible()) {
                QTest::mouseClick(key, Qt::LeftButton);
                return;
            }
        }
        FAIL() << "no visible key " << str(objectName) << " on " << str(active()->objectName());
    }
    void press(int command)
    {
        ASSERT_NE(active(), nullptr) << command;
        KeyButton* key = active()->shownKey(command);
        ASSERT_NE(key, nullptr) << "no visible key " << command << " on " << str(activeName());
        QTest::mouseClick(key, Qt::LeftButton);
    }
    void click(int button)
    {
        auto* b = active()->findChild<QPushButton*>(QStringLiteral("button%1").arg(button));
        ASSERT_NE(b, nullptr) << button;
        EXPECT_TRUE(b->isEnabled()) << button;
        QTest::mouseClick(b, Qt::LeftButton);
    }
    // Characters from the letter or digit keyboard, switching with "Ziff" where needed.
    void type(const QString& characters)
    {
        for (const QChar c : characters) {
            const QString name = QStringLiteral("char_") + c;
            for (int i = 0; i < 3 && keyboard() && !keyboard()->findChild<KeyButton*>(name); ++i)
                press(KeypadScreen::kZiff);
            press(name);
        }
    }
    // The entry showing `caption` on the list keyboard shown now, turning its pages.
    void pick(const QString& caption)
    {
        OnScreenKeyboard* list = keyboard();
        ASSERT_NE(list, nullptr);
        for (int page = 0; page < list->pageCount(); ++page) {
            list->showPage(page);
            for (int i = 0; i < list->keyCount(); ++i) {
                if (list->key(i)->caption() == caption && list->key(i)->def().commandId > 0) {
                    QTest::mouseClick(list->key(i), Qt::LeftButton);
                    return;
                }
            }
        }
        FAIL() << "no entry " << str(caption);
    }
    QLineEdit* edit(const QString& name) const { return active()->findChild<QLineEdit*>(name); }
    QString label(const QString& name, const QWidget* on = nullptr) const
    {
        auto* l = (on ? on : active())->findChild<QLabel*>(name);
        return l ? l->text() : QStringLiteral("<none>");
    }
    QString focused() const
    {
        QWidget* w = QApplication::focusWidget();
        return w ? w->objectName() : QString();
    }
    // A row of `table`, each field set from a whole number or a text.
    using Fields = std::initializer_list<std::pair<const char16_t*, QVariant>>;
    void insert(const TableDescriptor& table, Fields fields)
    {
        Dataset row(session.database(), table);
        for (const auto& [field, value] : fields) {
            if (value.userType() == QMetaType::QString)
                row.setText(field, value.toString());
            else
                row.setInt(field, value.toLongLong());
        }
        EXPECT_TRUE(row.insert());
    }
    QString activeName() const { return active() ? active()->objectName() : QString(); }
    // Every row of a query, its columns joined by '|'.
    QStringList rows(const QString& sql)
    {
        QStringList out;
        auto q = session.database().query(sql);
        while (q.next()) {
            QStringList values;
            for (int i = 0; i < q.columnCount(); ++i)
                values << q.text(i);
            out << values.join(u'|');
        }
        return out;
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
};

} // namespace brovant::test
