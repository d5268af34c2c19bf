// Platform layer: the device's serial port names and the host device files behind them ("COM3:"
// is whatever the root's dev/COM3 link points to). Opening and talking over a port is the
// callers' (Qt SerialPort in the program, termios in the admin tool).
#pragma once

#include <QString>

namespace brovant {

class DeviceRoot;

// "COM3:" for 3.
QString serialPortName(int number);

// The device file behind "COMn:" (or "COMn"): the target of the link dev/COMn in the root, or the
// entry itself when it is no link. Empty when the name is no port name or the entry is missing.
QString serialDeviceFile(const DeviceRoot& root, const QString& portName);

} // namespace brovant
