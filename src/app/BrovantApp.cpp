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
    : m_session(session)
    , m_state(state)
    , m_clock(clock)
    , m_qtDialogs(std::make_unique<QtMessageDialogs>(m_stack.mainWindow(), session.root(),
                                                     [this] {
                                                         if (Screen* active =
                                                                 m_stack.activeScreen())
                                                             active->bringToFront();
                                                     }))
    , m_device(makeDeviceControls(session, clock))
{
    brovantInitIconResources();
    // The device flag is only known once start-up has run; backup() reads it then.
    m_backup = std::make_unique<BackupService>(session, *m_qtDialogs, state.getac);
    replaceMessages(m_qtDialogs.get());
}

BrovantApp::~BrovantApp()
{
    shutdown();
    m_stack.destroyScreens();
}

void BrovantApp::replaceMessages(MessageDialogs* dialogs)
{
    m_messages = dialogs;
    m_lifecycle = std::make_unique<AppLifecycle>(m_session, m_state, m_clock, *dialogs, *this);
    // The channel is chosen by the transfer settings in force at each transfer.
    m_channels = std::make_unique<SettingsChannels>(
        m_session.root(), m_session.store(), *dialogs, m_clock, &m_session.keepAwake(),
        CableChannel::settingsOpener(m_session.store(),
                                     qtSerialOpener(m_session.root(), *dialogs)));
    // The reader keeps the dialogs it was made with; it is made again before anyone started it.
    m_caliper = std::make_unique<CaliperReader>(m_session.root(), *dialogs, m_clock);
}

BackupService& BrovantApp::backup() const
{
    // Start-up sets the device flag, and tests and the demo tour replace the messages.
    m_backup->setDialogs(*m_messages);
    m_backup->setGetac(m_state.getac);
    m_backup->setClock(&m_clock);
    return *m_backup;
}

ScreenServices& BrovantApp::services()
{
    if (!m_services)
        m_services.emplace(ScreenServices{m_stack, m_session, m_state, m_clock, *m_messages,
                                          channels(), *m_device, backup(), m_caliper.get(), *this});
    return *m_services;
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
    if (m_mainMenu || !m_stack.screens().empty())
        m_lifecycle->shutdown();
}

void BrovantApp::secondStart()
{
    m_stack.mainWindow()->show();
    m_stack.mainWindow()->raise();
    m_stack.mainWindow()->activateWindow();
    if (Screen* active = m_stack.activeScreen())
        active->bringToFront();
    // A link lost while the device slept comes back only when the port is opened again.
    m_caliper->restart([this](bool busy) { setWaitCursor(busy); });
}

void BrovantApp::showMainMenu()
{
    if (!m_mainMenu)
        m_mainMenu = m_stack.addScreen(std::make_unique<MainMenuDlg>(services()));
    m_stack.showMainWindow();
    m_mainMenu->bringToFront();
    m_mainMenu->updateClock();
}

void BrovantApp::setMainMenuActive(bool active)
{
    if (!active) {
        m_stack.setActiveScreen(nullptr);
        return;
    }
    if (m_stack.activeScreen() == m_mainMenu)
        return;
    m_stack.switchTo(m_mainMenu);
}

void BrovantApp::createScreens()
{
    // In the device's order of creation; screens are destroyed in reverse.
    ScreenServices& with = services();
    m_stack.addScreen(std::make_unique<SystemInfoDlg>(with));
    m_stack.addScreen(std::make_unique<SettingsDlg>(with));
    m_stack.addScreen(std::make_unique<ConfigurationDlg>(with));
    m_stack.addScreen(std::make_unique<ListHeaderDlg>(with));
    m_stack.addScreen(std::make_unique<ListSelectionDlg>(with));
    m_stack.addScreen(std::make_unique<TariffAssignmentDlg>(with));
    m_stack.addScreen(std::make_unique<ListInfoDlg>(with));
    m_stack.addScreen(std::make_unique<RegionDlg>(with));
    m_stack.addScreen(std::make_unique<TallyDlg>(with));
    m_stack.addScreen(std::make_unique<SpeciesSelectionDlg>(with));
    m_stack.addScreen(std::make_unique<TotalsDlg>(with));
    m_stack.addScreen(std::make_unique<DistributionDlg>(with));
    m_stack.addScreen(std::make_unique<PrinterSettingsDlg>(with));
    m_stack.addScreen(std::make_unique<CableSettingsDlg>(with));
}

void BrovantApp::destroyScreens()
{
    m_mainMenu = nullptr;
    m_stack.destroyScreens();
    m_services.reset();
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
    if (Screen* active = m_stack.activeScreen())
        active->repaint();
    else if (m_mainMenu)
        m_mainMenu->repaint();
}

} // namespace brovant
