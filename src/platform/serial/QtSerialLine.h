// Platform layer: the cable transfer's serial line on Qt SerialPort, for the device program.
// The opener hands the channel "COMn:" with the DUE settings; what travels is the channel's.
#pragma once

#include "transfer/CableChannel.h"
#include "transfer/SerialLine.h"

#include <memory>

class QSerialPort;

namespace brovant {

class DeviceRoot;
class MessageDialogs;
class SettingsStore;

class QtSerialLine final : public SerialLine {
public:
    // Owns the open port and closes it when it goes.
    explicit QtSerialLine(std::unique_ptr<QSerialPort> port);
    ~QtSerialLine() override;

    bool write(QByteArrayView bytes) override;
    QByteArray read(int maxBytes, int waitMs) override;

private:
    std::unique_ptr<QSerialPort> m_port;
};

// The channel's opener: "COMn:" through the root's dev/COMn link with the given line settings
// (the port number is the channel's); shows the notice itself when the port does not open.
CableChannel::PortOpener qtSerialOpener(const DeviceRoot& root, const CableSettings& settings,
                                        MessageDialogs& dialogs);
// The same with the line settings of section DUE as they are when the port is opened, so a
// channel held for the program's lifetime follows the settings screen.
CableChannel::PortOpener qtSerialOpener(const DeviceRoot& root, const SettingsStore& store,
                                        MessageDialogs& dialogs);

} // namespace brovant
