#include "app/ScreenDriver.h"

#include "app/KeyButton.h"
#include "app/KeypadScreen.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QRadioButton>

namespace brovant {

ScreenDriver::ScreenDriver(ScreenStack& stack, ScriptedDialogs& script)
    : m_stack(stack)
    , m_script(script)
{
}

QString ScreenDriver::activeName() const
{
    return active() ? active()->objectName() : QStringLiteral("kein Bildschirm");
}

OnScreenKeyboard* ScreenDriver::keyboard() const
{
    auto* screen = qobject_cast<KeypadScreen*>(active());
    return screen ? screen->keyboard() : nullptr;
}

void ScreenDriver::expected(const QString& screen)
{
    fail(QStringLiteral("Bildschirm %1 fehlt, aktiv ist %2")
             .arg(screen.section(QStringLiteral("::"), -1), activeName()));
}

// A press and a release, through the application's event filters as a tap: at a key's centre, on
// the mark of a check box or radio button.
void ScreenDriver::tap(QWidget* key)
{
    QPointF at = QRectF(key->rect()).center();
    if (qobject_cast<QCheckBox*>(key) || qobject_cast<QRadioButton*>(key))
        at.setX(std::min(10, key->width() / 2));
    const QPointF global = key->mapToGlobal(at);
    QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(key, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(key, &release);
}

void ScreenDriver::press(const QString& objectName)
{
    if (failed())
        return;
    if (active()) {
        for (KeyButton* key : active()->findChildren<KeyButton*>(objectName)) {
            if (key->isVisible())
                return tap(key);
        }
    }
    fail(QStringLiteral("Taste %1 fehlt auf %2").arg(objectName, activeName()));
}

void ScreenDriver::press(int command)
{
    if (failed())
        return;
    if (KeyButton* key = active() ? active()->shownKey(command) : nullptr)
        return tap(key);
    fail(QStringLiteral("Taste %1 fehlt auf %2").arg(command).arg(activeName()));
}

void ScreenDriver::answering(std::initializer_list<Answer> answers,
                             const std::function<void()>& steps)
{
    if (failed())
        return;
    const size_t before = m_script.pendingAnswers();
    for (const Answer answer : answers)
        m_script.answerNext(answer);
    steps();
    if (!failed() && m_script.pendingAnswers() > before)
        fail(QStringLiteral("Meldung fehlt auf %1").arg(activeName()));
}

void ScreenDriver::expectMessage(const QString& line1)
{
    if (failed())
        return;
    const QStringList asked = m_script.asked();
    if (asked.isEmpty() || !asked.last().startsWith(line1 + u'|'))
        fail(QStringLiteral("Meldung \"%1\" fehlt auf %2").arg(line1, activeName()));
}

QLineEdit* ScreenDriver::field(const QString& name)
{
    auto* edit = !failed() && active() ? active()->findChild<QLineEdit*>(name) : nullptr;
    if (!edit)
        fail(QStringLiteral("Feld %1 fehlt auf %2").arg(name, activeName()));
    return edit;
}

void ScreenDriver::click(const QString& objectName)
{
    if (failed())
        return;
    auto* button = active() ? active()->findChild<QAbstractButton*>(objectName) : nullptr;
    if (!button || !button->isVisible())
        return fail(QStringLiteral("Knopf %1 fehlt auf %2").arg(objectName, activeName()));
    if (!button->isEnabled())
        return fail(QStringLiteral("Knopf %1 ist gesperrt").arg(objectName));
    tap(button);
}

void ScreenDriver::click(int button)
{
    click(QStringLiteral("button%1").arg(button));
}

void ScreenDriver::type(const QString& characters)
{
    for (const QChar c : characters) {
        const QString name = QStringLiteral("char_") + c;
        for (int i = 0; i < 3 && keyboard() && !keyboard()->findChild<KeyButton*>(name); ++i)
            press(KeypadScreen::kZiff);
        press(name);
    }
}

void ScreenDriver::pick(const QString& caption)
{
    if (failed())
        return;
    if (OnScreenKeyboard* list = keyboard()) {
        for (int page = 0; page < list->pageCount(); ++page) {
            list->showPage(page);
            for (int i = 0; i < list->keyCount(); ++i) {
                if (list->key(i)->caption() == caption && list->key(i)->def().commandId > 0)
                    return tap(list->key(i));
            }
        }
    }
    fail(QStringLiteral("Eintrag %1 fehlt auf %2").arg(caption, activeName()));
}

QString ScreenDriver::takeFailure()
{
    return std::exchange(m_failure, QString());
}

void ScreenDriver::fail(const QString& why)
{
    if (m_failure.isEmpty())
        m_failure = why;
}

} // namespace brovant
