#include "transfer/SettingsChannels.h"

#include "masterdata/SettingsStore.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"

#include <optional>

namespace brovant {

SettingsChannels::SettingsChannels(const DeviceRoot& root, const SettingsStore& store,
                                   MessageDialogs& dialogs, Clock& clock, KeepAwake* keepAwake,
                                   CableChannel::PortOpener openPort)
    : m_root(root)
    , m_store(store)
    , m_dialogs(dialogs)
    , m_clock(clock)
    , m_keepAwake(keepAwake)
    , m_openPort(std::move(openPort))
    , m_activeSync(root, dialogs, clock, keepAwake)
    , m_ftp(root, store, dialogs)
{
}

SettingsChannels::Route SettingsChannels::sendRoute(int mode, int port)
{
    if (mode == kFtpMode)
        return Route::Ftp;
    if (mode == kCableMode && port == kActiveSyncPort)
        return Route::ActiveSync;
    return mode == kModemMode ? Route::Modem : Route::Cable;
}

SettingsChannels::Route SettingsChannels::receiveRoute(int port)
{
    return port == kActiveSyncPort ? Route::ActiveSync : Route::Cable;
}

bool SettingsChannels::receive()
{
    return transfer(receiveRoute(m_store.readInt(Setting::DuePort)), Direction::Receive);
}

bool SettingsChannels::send()
{
    return transfer(sendRoute(m_store.readInt(Setting::DueMode), m_store.readInt(Setting::DuePort)),
                    Direction::Send);
}

bool SettingsChannels::fetchConfiguration()
{
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);
    // Only FTP fetches a configuration; the reload asks for it in FTP mode alone.
    return m_ftp.fetchConfiguration();
}

bool SettingsChannels::transfer(Route route, Direction direction)
{
    // Held over every channel, the FTP one included, for the whole transfer.
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);
    switch (route) {
    case Route::ActiveSync:
        return direction == Direction::Send ? m_activeSync.send() : m_activeSync.receive();
    case Route::Ftp:
        // There is no receiving over FTP: only sending routes here.
        return m_ftp.send();
    case Route::Cable:
    case Route::Modem:
        return serial(route, direction);
    }
    m_dialogs.notice(QStringLiteral("Fehler bei der Übertragung!"));
    return false;
}

bool SettingsChannels::serial(Route route, Direction direction)
{
    if (!m_openPort) {
        m_dialogs.notice(QStringLiteral("Fehler bei der Übertragung!"));
        return false;
    }
    // Read at every transfer: the settings screens change them while the program runs.
    CableChannel cable(m_root, m_dialogs, m_clock, m_openPort,
                       CableSettings::fromStore(m_store).port);
    cable.setKeepAwake(m_keepAwake);
    if (direction == Direction::Receive)
        return cable.receive();
    if (route == Route::Modem)
        cable.dialFirst(ModemSettings::fromStore(m_store, m_store.readInt(Setting::ModemSelected)));
    return cable.send();
}

} // namespace brovant
