// Program: the application object. Creates the screens in the device's order, runs start-up and
// shutdown through AppLifecycle and answers a second start by bringing the active screen back.
#pragma once

#include "app/ScreenStack.h"
#include "workflow/AppLifecycle.h"

#include <memory>

namespace brovant {

class BackupService;
class CaliperReader;
class DeviceControls;
class MainMenuDlg;
class QtMessageDialogs;
class TransferChannels;

class BrovantApp : public ScreenStack, public ScreenHost {
    Q_OBJECT
public:
    BrovantApp(DeviceSession& session, AppState& state, Clock& clock);
    ~BrovantApp() override;

    // Uses `dialogs` instead of the real message dialogs (tests, the demo tour).
    void replaceMessages(MessageDialogs* dialogs);
    QtMessageDialogs* qtMessages() const { return m_qtDialogs.get(); }

    bool start();
    void shutdown();
    // A second start or a wake-up: the active screen comes to the front and a running caliper
    // connects again.
    void secondStart();

    MainMenuDlg* mainMenu() const { return m_mainMenu; }
    ScreenHost& host() override { return *this; }
    AppLifecycle& lifecycle() { return *m_lifecycle; }

    void showMainMenu() override;
    void setMainMenuActive(bool active) override;
    void createScreens() override;
    void destroyScreens() override;
    void setWaitCursor(bool wait) override;
    void repaint() override;

private:
    std::unique_ptr<QtMessageDialogs> m_qtDialogs;
    std::unique_ptr<TransferChannels> m_channels;
    std::unique_ptr<DeviceControls> m_device;
    std::unique_ptr<BackupService> m_backup;
    std::unique_ptr<CaliperReader> m_caliper;
    std::unique_ptr<AppLifecycle> m_lifecycle;
    MainMenuDlg* m_mainMenu = nullptr;
    bool m_waitCursor = false;
    bool m_shutDown = false;
};

} // namespace brovant
