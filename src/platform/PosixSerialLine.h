// Platform layer: a serial line on a POSIX terminal device (termios), for the admin tool, which
// links QtCore alone. Raw bytes, no flow control, no parity; DTR and RTS on where the device has
// them. The device program opens its ports with Qt SerialPort instead (QtSerialLine).
#pragma once

#include "platform/SerialLine.h"

#include <QString>

#include <memory>

namespace brovant {

class PosixSerialLine final : public SerialLine {
public:
    // Opens the device file read-write and exclusively with the line settings; null, with the
    // reason in `error`, when it cannot be opened or the baud rate is not one of the table's.
    static std::unique_ptr<PosixSerialLine> open(const QString& device, qint32 baudRate,
                                                 int dataBits = 8, int stopBits = 1,
                                                 QString* error = nullptr);

    // Takes over an open descriptor (the master side of a pseudo-terminal, say) as it is.
    explicit PosixSerialLine(int fd);
    ~PosixSerialLine() override;
    PosixSerialLine(const PosixSerialLine&) = delete;
    PosixSerialLine& operator=(const PosixSerialLine&) = delete;

    bool write(QByteArrayView bytes) override;
    QByteArray read(int maxBytes, int waitMs) override;

    int descriptor() const { return m_fd; }

private:
    int m_fd;
};

} // namespace brovant
