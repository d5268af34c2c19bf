#include "app/KeypadScreen.h"

#include <QApplication>
#include <QKeyEvent>

namespace brovant {

void KeypadScreen::addKeyboard(OnScreenKeyboard* keyboard)
{
    keyboard->setParent(this);
    keyboard->setGeometry(keyboard->area());
    connect(keyboard, &OnScreenKeyboard::command, this, [this](int id) { onCommand(id); });
    connect(keyboard, &OnScreenKeyboard::character, this, &KeypadScreen::typeText);
    m_keyboards.push_back(keyboard);
    if (!m_active) {
        m_active = keyboard;
        keyboard->show();
    } else {
        keyboard->hide();
    }
}

void KeypadScreen::showKeyboard(int index)
{
    if (index < 0 || size_t(index) >= m_keyboards.size())
        return;
    for (OnScreenKeyboard* k : m_keyboards)
        k->setVisible(k == m_keyboards[size_t(index)]);
    m_active = m_keyboards[size_t(index)];
}

int KeypadScreen::keyboardIndex() const
{
    for (size_t i = 0; i < m_keyboards.size(); ++i) {
        if (m_keyboards[i] == m_active)
            return int(i);
    }
    return -1;
}

void KeypadScreen::onCommand(int id)
{
    switch (id) {
    case kZiff:
        if (m_keyboards.size() > 1)
            showKeyboard((keyboardIndex() + 1) % int(m_keyboards.size()));
        return;
    case kPreviousField:
        focusNextPrevChild(false);
        return;
    case kNextField:
        focusNextPrevChild(true);
        return;
    case kBackspace:
        sendKey(Qt::Key_Backspace);
        return;
    case kEnter:
        onEnterKey();
        return;
    default:
        Screen::onCommand(id);
    }
}

void KeypadScreen::typeText(const QString& text)
{
    QWidget* target = QApplication::focusWidget();
    if (!target || !isAncestorOf(target))
        return;
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, text);
    QApplication::sendEvent(target, &press);
}

void KeypadScreen::sendKey(int key)
{
    QWidget* target = QApplication::focusWidget();
    if (!target || !isAncestorOf(target))
        return;
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(target, &press);
}

} // namespace brovant
