// Platform layer: a byte line to the other end of a cable or modem transfer. The protocol speaks
// through this and nothing else; the real lines (Qt SerialPort on the device, termios in the
// admin tool) and the scripted lines of the tests sit behind it.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>
#include <memory>

namespace brovant {

class SerialLine {
public:
    virtual ~SerialLine() = default;
    virtual bool write(QByteArrayView bytes) = 0;
    // Up to maxBytes that arrive within waitMs; returns as soon as any byte is there (empty
    // after waitMs of silence). Waiting is the line's business, so tests script it.
    virtual QByteArray read(int maxBytes, int waitMs) = 0;
};

// Opens "COMn:" with these line settings; null when it did not open (the opener shows the notice).
using SerialLineOpener = std::function<std::unique_ptr<SerialLine>(int port, qint32 baudRate,
                                                                   int dataBits, int stopBits)>;

} // namespace brovant
