// Screens: drives the program as a finger does, through the keys shown on the active screen. The
// demo tour and the screen tests share it. A step that cannot be taken (no such key, screen or
// message) is recorded as the driver's failure; every later step is then skipped, so the caller
// checks once after a run of steps and says which one failed.
#pragma once

#include "app/Screen.h"
#include "app/ScreenStack.h"
#include "platform/MessageDialogs.h"

#include <QString>

#include <functional>
#include <initializer_list>

class QLineEdit;

namespace brovant {

class OnScreenKeyboard;

class ScreenDriver {
public:
    // `script` answers the messages the steps raise.
    ScreenDriver(ScreenStack& stack, ScriptedDialogs& script);

    Screen* active() const { return m_stack.activeScreen(); }
    QString activeName() const;
    // The keyboard shown on the active screen, or null.
    OnScreenKeyboard* keyboard() const;

    // The active screen as an S, or null (a failure) when another one is active.
    template <class S> S* expect()
    {
        auto* screen = m_failure.isEmpty() ? qobject_cast<S*>(active()) : nullptr;
        if (!screen)
            expected(QString::fromLatin1(S::staticMetaObject.className()));
        return screen;
    }
    // The shown key of that object name on the active screen (bar keys exist once per keyboard).
    void press(const QString& objectName);
    // The shown key sending `command`.
    void press(int command);
    // The push button named "button<id>", or the button of that object name, on the active screen.
    void click(int button);
    void click(const QString& objectName);
    // Characters from the letter or digit keyboard, switching with "Ziff" where needed.
    void type(const QString& characters);
    // The entry showing `caption` on the list keyboard shown now, turning its pages.
    void pick(const QString& caption);
    // The line edit of that name on the active screen.
    QLineEdit* field(const QString& name);
    // Runs `steps`, whose messages take `answers` in turn; each answer must be asked for.
    void answering(std::initializer_list<Answer> answers, const std::function<void()>& steps);
    // The last message shown began with `line1`.
    void expectMessage(const QString& line1);

    bool failed() const { return !m_failure.isEmpty(); }
    const QString& failure() const { return m_failure; }
    // The failure, forgotten so the next steps run again.
    QString takeFailure();
    // A check of the caller's own that did not hold.
    void fail(const QString& why);

private:
    void expected(const QString& screen);
    void tap(QWidget* key);

    ScreenStack& m_stack;
    ScriptedDialogs& m_script;
    QString m_failure;
};

} // namespace brovant
