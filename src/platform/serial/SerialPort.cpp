#include "platform/serial/SerialPort.h"

#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"

namespace brovant {

QStringList serialOpenFailureLines(const QString& portName)
{
    return {(QStringLiteral("Schnittstelle ") + portName + QStringLiteral(" kann nicht")).left(30),
            QStringLiteral("geöffnet werden!")};
}

bool openSerialPort(QSerialPort& port, const DeviceRoot& root, const QString& portName,
                    const SerialLineSettings& line)
{
    port.close();
    const QString device = serialDeviceFile(root, portName);
    if (device.isEmpty())
        return false;
    port.setPortName(device);
    if (!port.open(QIODevice::ReadWrite))
        return false;
    if (!port.setBaudRate(line.baudRate) || !port.setDataBits(line.dataBits)
        || !port.setStopBits(line.stopBits) || !port.setParity(QSerialPort::NoParity)
        || !port.setFlowControl(QSerialPort::NoFlowControl)) {
        port.close();
        return false;
    }
    // Bluetooth links and pseudo-terminals have no modem lines; the caliper works without them.
    port.setDataTerminalReady(true);
    port.setRequestToSend(true);
    port.clearError();
    return true;
}

bool openSerialPort(QSerialPort& port, const DeviceRoot& root, const QString& portName,
                    const SerialLineSettings& line, MessageDialogs& dialogs)
{
    if (openSerialPort(port, root, portName, line))
        return true;
    const QStringList lines = serialOpenFailureLines(portName);
    dialogs.notice(lines[0], lines[1]);
    return false;
}

std::unique_ptr<QSerialPort> openTransferPort(const DeviceRoot& root, int port, qint32 baudRate,
                                              int dataBits, int stopBits, MessageDialogs& dialogs)
{
    auto serial = std::make_unique<QSerialPort>();
    const SerialLineSettings settings{baudRate,
                                      dataBits == 7 ? QSerialPort::Data7 : QSerialPort::Data8,
                                      stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop};
    if (!openSerialPort(*serial, root, serialPortName(port), settings, dialogs))
        return nullptr;
    return serial;
}

} // namespace brovant
