// Workflow: start-up and shutdown of the program on a device root, in the device's
// order: device probe, hardware-button keys, cold-boot recovery, structure check, screen creation,
// configuration import, settings load, ActiveSync and power settings; and at exit the restoring of
// everything start-up changed. Single-instance handling and the widgets themselves are the
// program's (src/app); this class reaches the screens only through ScreenHost.
#pragma once

#include "workflow/AppState.h"

#include <QString>
#include <QtGlobal>

#include <array>
#include <optional>

namespace brovant {

class Clock;
class DeviceSession;
class MessageDialogs;

// What start-up and shutdown need of the screens.
class ScreenHost {
public:
    virtual ~ScreenHost() = default;
    // Creates the main menu (once) and shows it full screen, so the user sees it behind the
    // start-up prompts.
    virtual void showMainMenu() = 0;
    // Makes the main menu the active screen, or clears the active screen.
    virtual void setMainMenuActive(bool active) = 0;
    // Creates every other screen, hidden, once.
    virtual void createScreens() = 0;
    // Destroys the screens in reverse order of creation.
    virtual void destroyScreens() = 0;
    virtual void setWaitCursor(bool wait) = 0;
    virtual void repaint() = 0;
};

class AppLifecycle {
public:
    // Registry locations the program changes and gives back.
    static constexpr const char16_t* kButtonKeyPrefix = u"Software\\Microsoft\\Shell\\Keys\\40C";
    static constexpr int kButtonKeys = 6;
    static constexpr const char16_t* kCommKey = u"ControlPanel\\Comm";
    static constexpr const char16_t* kGetacProbe = u"\\Windows\\externapi.dll";

    AppLifecycle(DeviceSession& session, AppState& state, Clock& clock, MessageDialogs& dialogs,
                 ScreenHost& host);

    // Runs start-up steps from the device probe to making the main menu active. Returns false
    // when the program cannot run (the database cannot be opened or created).
    bool start();

    // Gives the device back as start-up found it.
    void shutdown();

    // The hardware-button command start-up routes key 40C1..40C6 (n = 1..6) to.
    static QString buttonCommand(int n);

    // State kept between start and shutdown, for tests and the system information screen.
    const std::array<std::optional<quint32>, kButtonKeys>& savedButtonFlags() const
    {
        return m_savedFlags;
    }
    bool autoConnectWasOn() const { return m_autoConnectWasOn; }

private:
    void probeDevice();
    void routeButtons();
    void recoverAfterColdBoot();
    bool checkDatabase();
    void restoreButtons();
    void markTariffFlags();

    DeviceSession& m_session;
    AppState& m_state;
    Clock& m_clock;
    MessageDialogs& m_dialogs;
    ScreenHost& m_host;
    std::array<std::optional<quint32>, kButtonKeys> m_savedFlags;
    bool m_autoConnectWasOn = false;
};

} // namespace brovant
