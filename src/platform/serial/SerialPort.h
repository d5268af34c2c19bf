// Platform layer: serial ports. Maps the device's port names ("COM3:") to the device files that
// the root's dev/COMn links name, and opens them with the line settings a peer needs. What goes
// over the line is the caller's.
#pragma once

#include "platform/SerialDevice.h"

#include <QSerialPort>
#include <QString>
#include <QStringList>

#include <memory>

namespace brovant {

class DeviceRoot;
class MessageDialogs;

// No parity and no flow control are implied; DTR and RTS are held on.
struct SerialLineSettings {
    qint32 baudRate;
    QSerialPort::DataBits dataBits;
    QSerialPort::StopBits stopBits;
};

inline constexpr SerialLineSettings kCaliperLine{1200, QSerialPort::Data8, QSerialPort::OneStop};

// The two lines of the notice shown when a port does not open.
QStringList serialOpenFailureLines(const QString& portName);

// Opens the port read-write and exclusively, and applies the line settings. The second form shows
// the failure notice.
[[nodiscard]] bool openSerialPort(QSerialPort& port, const DeviceRoot& root,
                                  const QString& portName, const SerialLineSettings& line);
[[nodiscard]] bool openSerialPort(QSerialPort& port, const DeviceRoot& root,
                                  const QString& portName, const SerialLineSettings& line,
                                  MessageDialogs& dialogs);

// The port behind "COMn:" opened read-write and exclusively, no parity, no flow control, DTR and
// RTS on; null after the notice "Schnittstelle ... kann nicht" / "geöffnet werden!".
std::unique_ptr<QSerialPort> openTransferPort(const DeviceRoot& root, int port, qint32 baudRate,
                                              int dataBits, int stopBits, MessageDialogs& dialogs);

} // namespace brovant
