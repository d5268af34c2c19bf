#include "app/BrovantApp.h"

#include "app/CableSettingsDlg.h"
#include "app/ConfigurationDlg.h"
#include "app/DistributionDlg.h"
#include "app/ListHeaderDlg.h"
#include "app/ListInfoDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/PrinterSettingsDlg.h"
#include "app/QtMessageDialogs.h"
#include "app/RegionDlg.h"
#include "app/SettingsDlg.h"
#include "app/SpeciesSelectionDlg.h"
#include "app/SystemInfoDlg.h"
#include "app/TallyDlg.h"
#include "app/TariffAssignmentDlg.h"
#include "app/TotalsDlg.h"
#include "device/BackupService.h"
#include "device/DeviceControls.h"
#include "masterdata/DeviceSession.h"
#include "platform/serial/QtSerialLine.h"
#include "tally/caliper/CaliperReader.h"
#include "transfer/CableChannel.h"
#include "transfer/SettingsChannels.h"

#include <QApplication>

void brovantInitIconResources();

namespace brovant {

BrovantApp::BrovantApp(DeviceSession& session, AppState& state, Clock& clock)
    : ScreenStack(session, state, clock)
    , m_qtDialogs(std::make_unique<QtMessageDialogs>(mainWindow(), session.root(),
                                                     [this] {
                                                         if (Screen* active = activeScreen())
                                                             active->bringToFront();
                                                     }))
    , m_lifecycle(std::make_unique<AppLifecycle>(session, state, clock, *m_qtDialogs, *this))
{
    brovantInitIconResources();
    setMessages(m_qtDialogs.get());
    // The channel is chosen by the transfer settings in force at each transfer.
    m_channels = std::make_unique<SettingsChannels>(
        session.root(), session.store(), *m_qtDialogs, clock, &session.keepAwake(),
        CableChannel::settingsOpener(session.store(),
                                     qtSerialOpener(session.root(), *m_qtDialogs)));
    setChannels(m_channels.get());
    m_device = makeDeviceControls(session, clock);
    setDevice(m_device.get());
    // The device flag is only known once start-up has run; backup() reads it then.
    m_backup = std::make_unique<BackupService>(session, *m_qtDialogs, state.getac);
    setBackup(m_backup.get());
    m_caliper = std::make_unique<CaliperReader>(session.root(), *m_qtDialogs, clock);
    setCaliper(m_caliper.get());
}

BrovantApp::~BrovantApp()
{
    shutdown();
    ScreenStack::destroyScreens();
}

void BrovantApp::replaceMessages(MessageDialogs* dialogs)
{
    setMessages(dialogs);
    m_lifecycle = std::make_unique<AppLifecycle>(session(), state(), clock(), *dialogs, *this);
    m_channels = std::make_unique<SettingsChannels>(
        session().root(), session().store(), *dialogs, clock(), &session().keepAwake(),
        CableChannel::settingsOpener(session().store(),
                                     qtSerialOpener(session().root(), *dialogs)));
    setChannels(m_channels.get());
    // The reader keeps the dialogs it was made with; it is made again before anyone started it.
    m_caliper = std::make_unique<CaliperReader>(session().root(), *dialogs, clock());
    setCaliper(m_caliper.get());
}

bool BrovantApp::start()
{
    m_shutDown = false;
    return m_lifecycle->start();
}

void BrovantApp::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    if (m_mainMenu || !screens().empty())
        m_lifecycle->shutdown();
}

void BrovantApp::secondStart()
{
    mainWindow()->show();
    mainWindow()->raise();
    mainWindow()->activateWindow();
    if (Screen* active = activeScreen())
        active->bringToFront();
    // A link lost while the device slept comes back only when the port is opened again.
    m_caliper->restart([this](bool busy) { setWaitCursor(busy); });
}

void BrovantApp::showMainMenu()
{
    if (!m_mainMenu)
        m_mainMenu = addScreen(std::make_unique<MainMenuDlg>(*this));
    showMainWindow();
    m_mainMenu->bringToFront();
    m_mainMenu->updateClock();
}

void BrovantApp::setMainMenuActive(bool active)
{
    if (!active) {
        setActiveScreen(nullptr);
        return;
    }
    if (activeScreen() == m_mainMenu)
        return;
    switchTo(m_mainMenu);
}

void BrovantApp::createScreens()
{
    // Later screens join here, in the device's order of creation.
    addScreen(std::make_unique<SystemInfoDlg>(*this));
    addScreen(std::make_unique<SettingsDlg>(*this));
    addScreen(std::make_unique<ConfigurationDlg>(*this));
    addScreen(std::make_unique<ListHeaderDlg>(*this));
    addScreen(std::make_unique<ListSelectionDlg>(*this));
    addScreen(std::make_unique<TariffAssignmentDlg>(*this));
    addScreen(std::make_unique<ListInfoDlg>(*this));
    addScreen(std::make_unique<RegionDlg>(*this));
    addScreen(std::make_unique<TallyDlg>(*this));
    addScreen(std::make_unique<SpeciesSelectionDlg>(*this));
    addScreen(std::make_unique<TotalsDlg>(*this));
    addScreen(std::make_unique<DistributionDlg>(*this));
    addScreen(std::make_unique<PrinterSettingsDlg>(*this));
    addScreen(std::make_unique<CableSettingsDlg>(*this));
}

void BrovantApp::destroyScreens()
{
    m_mainMenu = nullptr;
    ScreenStack::destroyScreens();
}

void BrovantApp::setWaitCursor(bool wait)
{
    if (wait == m_waitCursor)
        return;
    m_waitCursor = wait;
    if (wait)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void BrovantApp::repaint()
{
    if (Screen* active = activeScreen())
        active->repaint();
    else if (m_mainMenu)
        m_mainMenu->repaint();
}

} // namespace brovant
