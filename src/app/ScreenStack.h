// Screen framework: the screen stack. Owns the main window (240 x 320), the screens in creation
// order and the single active-screen slot; switching hides the active screen and shows the next
// one full screen. Start-up, services and what each screen does are the application's.
#pragma once

#include "app/Screen.h"

#include <QObject>
#include <QWidget>

#include <memory>
#include <vector>

namespace brovant {

class ScreenStack : public QObject {
    Q_OBJECT
public:
    static constexpr int kScreenWidth = 240;
    static constexpr int kScreenHeight = 320;

    ScreenStack();
    ~ScreenStack() override;

    QWidget* mainWindow() const { return m_window.get(); }
    // Full screen on a device display (linuxfb, eglfs), a fixed-size window elsewhere.
    void showMainWindow();

    // Hides the active screen, runs the next one's per-activation set-up and shows it full
    // screen. Switching to no screen ends the program (finished()).
    void switchTo(Screen* screen);
    Screen* activeScreen() const { return m_active; }
    void setActiveScreen(Screen* screen) { m_active = screen; }

    // Takes a created screen over; screens are destroyed in reverse order of adding.
    template <class S> S* addScreen(std::unique_ptr<S> screen)
    {
        S* raw = screen.get();
        raw->create();
        m_screens.push_back(std::move(screen));
        return raw;
    }
    void destroyScreens();
    // The created screen of that type, or null while it does not exist.
    template <class S> S* screen() const
    {
        for (const auto& screen : m_screens) {
            if (auto* found = qobject_cast<S*>(screen.get()))
                return found;
        }
        return nullptr;
    }
    const std::vector<std::unique_ptr<Screen>>& screens() const { return m_screens; }

signals:
    void activeChanged(Screen* screen);
    void finished();

private:
    std::unique_ptr<QWidget> m_window;
    std::vector<std::unique_ptr<Screen>> m_screens;
    Screen* m_active = nullptr;
};

} // namespace brovant
