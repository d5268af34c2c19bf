// Screen framework: the application object's screen side. Owns the main window (240 x 320), the
// screens in creation order and the single active-screen slot; switching hides the active screen
// and shows the next one full screen. Start-up, shutdown and what each screen does live elsewhere.
#pragma once

#include "app/Screen.h"

#include <QObject>
#include <QWidget>

#include <memory>
#include <vector>

namespace brovant {

struct AppState;
class BackupService;
class CaliperReader;
class Clock;
class DeviceControls;
class DeviceSession;
class MessageDialogs;
class ScreenHost;
class TransferChannels;

class ScreenStack : public QObject {
    Q_OBJECT
public:
    static constexpr int kScreenWidth = 240;
    static constexpr int kScreenHeight = 320;

    ScreenStack(DeviceSession& session, AppState& state, Clock& clock);
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

    void setMessages(MessageDialogs* messages) { m_messages = messages; }
    MessageDialogs& messages() const { return *m_messages; }
    DeviceSession& session() const { return m_session; }
    // The transfer channels the settings in force choose.
    void setChannels(TransferChannels* channels) { m_channels = channels; }
    TransferChannels& channels() const { return *m_channels; }
    // What start-up and the screens' long jobs need of the program (cursor, repaint).
    virtual ScreenHost& host();
    AppState& state() const { return m_state; }
    Clock& clock() const { return m_clock; }
    // Backlight, volume, battery and the rest of the handheld; the program object owns them.
    void setDevice(DeviceControls* device) { m_device = device; }
    DeviceControls& device() const { return *m_device; }
    // Backups and restores; the program object owns the service. It always works with the
    // messages and the device flag in force.
    void setBackup(BackupService* backup) { m_backup = backup; }
    BackupService& backup() const;
    // The caliper on its serial port, one per process; the program object owns it. Null in a bare
    // framework.
    void setCaliper(CaliperReader* caliper) { m_caliper = caliper; }
    CaliperReader* caliper() const { return m_caliper; }

signals:
    void activeChanged(Screen* screen);
    void finished();

private:
    DeviceSession& m_session;
    AppState& m_state;
    Clock& m_clock;
    MessageDialogs* m_messages = nullptr;
    DeviceControls* m_device = nullptr;
    BackupService* m_backup = nullptr;
    CaliperReader* m_caliper = nullptr;
    TransferChannels* m_channels = nullptr;
    std::unique_ptr<QWidget> m_window;
    std::vector<std::unique_ptr<Screen>> m_screens;
    Screen* m_active = nullptr;
};

} // namespace brovant
