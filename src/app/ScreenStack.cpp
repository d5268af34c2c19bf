#include "app/ScreenStack.h"

#include "app/Screen.h"

#include <QGuiApplication>

namespace brovant {

ScreenStack::ScreenStack()
    : m_window(std::make_unique<QWidget>())
{
    m_window->setObjectName(QStringLiteral("Brovant"));
    m_window->setWindowTitle(QStringLiteral("Brovant"));
    m_window->setFixedSize(kScreenWidth, kScreenHeight);
}

ScreenStack::~ScreenStack()
{
    destroyScreens();
}

void ScreenStack::showMainWindow()
{
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1StringView("linuxfb") || platform.startsWith(QLatin1StringView("eglfs")))
        m_window->showFullScreen();
    else
        m_window->show();
}

void ScreenStack::switchTo(Screen* screen)
{
    Screen* previous = m_active;
    if (previous && previous != screen) {
        previous->leave();
        previous->hide();
    }
    m_active = screen;
    if (!screen) {
        emit activeChanged(nullptr);
        emit finished();
        return;
    }
    if (previous != screen)
        screen->setPreviousScreen(previous);
    screen->enter();
    screen->bringToFront();
    emit activeChanged(screen);
}

void ScreenStack::destroyScreens()
{
    m_active = nullptr;
    while (!m_screens.empty())
        m_screens.pop_back();
}

} // namespace brovant
