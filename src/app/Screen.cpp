#include "app/Screen.h"

#include "app/KeyButton.h"
#include "app/ScreenStack.h"

#include <QKeyEvent>
#include <QLabel>

namespace brovant {

Screen::Screen(ScreenStack& stack, const QString& objectName)
    : QWidget(stack.mainWindow())
    , m_stack(stack)
{
    setObjectName(objectName);
    setGeometry(0, 0, ScreenStack::kScreenWidth, ScreenStack::kScreenHeight);
    setAutoFillBackground(true);
    setFont(defaultFont());
    hide();
}

void Screen::create()
{
    if (m_created)
        return;
    setUp();
    m_created = true;
}

void Screen::onCommand(int id)
{
    if (id == kCancel)
        onCancel();
    else if (id == kOk)
        onOk();
}

void Screen::onCancel()
{
    if (m_prev && m_prev != this)
        m_stack.switchTo(m_prev);
}

void Screen::activate()
{
    if (m_stack.activeScreen() == this)
        enter();
    else
        m_stack.switchTo(this);
}

void Screen::bringToFront()
{
    setGeometry(0, 0, ScreenStack::kScreenWidth, ScreenStack::kScreenHeight);
    show();
    raise();
}

KeyButton* Screen::shownKey(int commandId) const
{
    for (KeyButton* key : findChildren<KeyButton*>()) {
        if (key->def().commandId == commandId && key->isVisibleTo(this))
            return key;
    }
    return nullptr;
}

QFont Screen::defaultFont()
{
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(12);
    return f;
}

QLabel* Screen::addTitle(const QString& text, int y, int height, int pixelSize)
{
    auto* title = new QLabel(text, this);
    title->setObjectName(QStringLiteral("title"));
    title->setAlignment(Qt::AlignCenter);
    QFont font = defaultFont();
    font.setBold(true);
    font.setPixelSize(pixelSize);
    title->setFont(font);
    title->setGeometry(0, y, ScreenStack::kScreenWidth, height);
    return title;
}

int Screen::indexIn(const QString& text, const QStringList& table, int count)
{
    for (int i = 0; i < count && i < table.size(); ++i) {
        if (table[i] == text)
            return i;
    }
    return -1;
}

void Screen::keyPressEvent(QKeyEvent* event)
{
    // The device's close key and Enter arrive as the cancel and confirm commands.
    if (event->key() == Qt::Key_Escape) {
        onCommand(kCancel);
        return;
    }
    if (const auto bound = m_keyCommands.find(event->key()); bound != m_keyCommands.end()) {
        onCommand(bound->second);
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace brovant
