// The application object: owns the screen stack and the services the screens use, creates the
// screens in the device's order, runs start-up and shutdown through AppLifecycle and answers a
// second start by bringing the active screen back.
#pragma once

#include "app/ScreenServices.h"
#include "app/ScreenStack.h"
#include "workflow/AppLifecycle.h"

#include <QObject>

#include <memory>
#include <optional>

namespace brovant {

class BackupService;
class CaliperReader;
class DeviceControls;
class MainMenuDlg;
class QtMessageDialogs;
class TransferChannels;

class BrovantApp : public QObject, public ScreenHost {
    Q_OBJECT
public:
    BrovantApp(DeviceSession& session, AppState& state, Clock& clock);
    ~BrovantApp() override;

    // Uses `dialogs` instead of the real message dialogs (tests, the demo tour); before start().
    void replaceMessages(MessageDialogs* dialogs);
    QtMessageDialogs* qtMessages() const { return m_qtDialogs.get(); }
    // Uses `channels` instead of the ones the transfer settings choose (tests); before start().
    void replaceChannels(TransferChannels* channels) { m_channelsInUse = channels; }

    bool start();
    void shutdown();
    // A second start or a wake-up: the active screen comes to the front and a running caliper
    // connects again.
    void secondStart();

    ScreenStack& stack() { return m_stack; }
    const ScreenStack& stack() const { return m_stack; }
    MainMenuDlg* mainMenu() const { return m_mainMenu; }
    AppLifecycle& lifecycle() { return *m_lifecycle; }
    DeviceSession& session() const { return m_session; }
    AppState& state() const { return m_state; }
    Clock& clock() const { return m_clock; }
    MessageDialogs& messages() const { return *m_messages; }
    TransferChannels& channels() const { return m_channelsInUse ? *m_channelsInUse : *m_channels; }
    DeviceControls& device() const { return *m_device; }
    // Backups and restores, with the messages and the device flag in force.
    BackupService& backup() const;
    CaliperReader* caliper() const { return m_caliper.get(); }

    void showMainMenu() override;
    void setMainMenuActive(bool active) override;
    void createScreens() override;
    void destroyScreens() override;
    void setWaitCursor(bool wait) override;
    void repaint() override;

    // What the screens get, made when the first of them is created.
    ScreenServices& services();

private:
    DeviceSession& m_session;
    AppState& m_state;
    Clock& m_clock;
    ScreenStack m_stack;
    std::unique_ptr<QtMessageDialogs> m_qtDialogs;
    MessageDialogs* m_messages = nullptr;
    std::unique_ptr<TransferChannels> m_channels;
    TransferChannels* m_channelsInUse = nullptr;
    std::unique_ptr<DeviceControls> m_device;
    std::unique_ptr<BackupService> m_backup;
    std::unique_ptr<CaliperReader> m_caliper;
    std::unique_ptr<AppLifecycle> m_lifecycle;
    std::optional<ScreenServices> m_services;
    MainMenuDlg* m_mainMenu = nullptr;
    bool m_waitCursor = false;
    bool m_shutDown = false;
};

} // namespace brovant
