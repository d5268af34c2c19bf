// Data transfer: the channel the transfer settings in force choose (section DUE, read afresh at
// every transfer): ActiveSync, the serial cable, the modem or FTP. The screens hold one of these
// as their TransferChannels; how each channel moves the files is the channel's own business.
#pragma once

#include "transfer/ActiveSyncChannel.h"
#include "transfer/CableChannel.h"
#include "transfer/FtpChannel.h"
#include "transfer/TransferChannels.h"

namespace brovant {

class Clock;
class DeviceRoot;
class KeepAwake;
class MessageDialogs;
class SettingsStore;

class SettingsChannels final : public TransferChannels {
public:
    enum class Route { ActiveSync, Cable, Modem, Ftp };

    static constexpr int kCableMode = 1;
    static constexpr int kModemMode = 2;
    static constexpr int kFtpMode = 3;
    // The port number that stands for ActiveSync instead of COM1 to COM9.
    static constexpr int kActiveSyncPort = 10;

    // `openPort` opens "COMn:" for the cable and the modem (the program's opener sits on Qt
    // SerialPort, outside the core); without one those routes fail with the transfer's notice.
    // `keepAwake` (may be null) keeps the handheld awake during long waits. Everything passed
    // must outlive the channels.
    SettingsChannels(const DeviceRoot& root, const SettingsStore& store, MessageDialogs& dialogs,
                     Clock& clock, KeepAwake* keepAwake = nullptr,
                     CableChannel::PortOpener openPort = {});

    // Sending: FTP in mode 3; ActiveSync in mode 1 on port 10; otherwise the serial line, dialled
    // through the modem in mode 2.
    static Route sendRoute(int mode, int port);
    // Receiving: ActiveSync on port 10 whatever the mode; otherwise the cable (the modem is not
    // dialled for receiving).
    static Route receiveRoute(int port);

    bool receive() override;
    bool fetchConfiguration() override;
    bool send() override;

private:
    enum class Direction { Send, Receive };
    bool transfer(Route route, Direction direction);

    bool serial(Route route, Direction direction);

    const DeviceRoot& m_root;
    const SettingsStore& m_store;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    KeepAwake* m_keepAwake;
    CableChannel::PortOpener m_openPort;
    ActiveSyncChannel m_activeSync;
    FtpChannel m_ftp;
};

} // namespace brovant
