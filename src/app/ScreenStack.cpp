#include "app/ScreenStack.h"

#include "app/Screen.h"
#include "device/BackupService.h"
#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"

#include <QGuiApplication>

namespace brovant {

ScreenStack::ScreenStack(DeviceSession& session, AppState& state, Clock& clock)
    : m_session(session)
    , m_state(state)
    , m_clock(clock)
    , m_window(std::make_unique<QWidget>())
{
    m_window->setObjectName(QStringLiteral("Brovant"));
    m_window->setWindowTitle(QStringLiteral("Brovant"));
    m_window->setFixedSize(kScreenWidth, kScreenHeight);
}

ScreenStack::~ScreenStack()
{
    destroyScreens();
}

ScreenHost& ScreenStack::host()
{
    // A bare framework (tests of single screens) has no start-up to serve.
    struct Quiet final : ScreenHost {
        void showMainMenu() override {}
        void setMainMenuActive(bool) override {}
        void createScreens() override {}
        void destroyScreens() override {}
        void setWaitCursor(bool) override {}
        void repaint() override {}
    };
    static Quiet quiet;
    return quiet;
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

BackupService& ScreenStack::backup() const
{
    // Start-up sets the device flag, and tests and the demo tour replace the messages.
    m_backup->setDialogs(messages());
    m_backup->setGetac(m_state.getac);
    m_backup->setClock(&m_clock);
    return *m_backup;
}

void ScreenStack::destroyScreens()
{
    m_active = nullptr;
    while (!m_screens.empty())
        m_screens.pop_back();
}

} // namespace brovant
