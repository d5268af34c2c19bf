// Platform layer: the cable transfer's serial line on Qt SerialPort, for the device program.
// The opener opens "COMn:" with the line settings it is given; what travels is the caller's.
#pragma once

#include "platform/SerialLine.h"

#include <memory>

class QSerialPort;

namespace brovant {

class DeviceRoot;
class MessageDialogs;

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

// Opens "COMn:" through the root's dev/COMn link; shows the notice itself when the port does not
// open. `dialogs` must outlive the opener.
SerialLineOpener qtSerialOpener(const DeviceRoot& root, MessageDialogs& dialogs);

} // namespace brovant
