#include "platform/serial/QtSerialLine.h"

#include "platform/DeviceRoot.h"
#include "platform/serial/SerialPort.h"

#include <QDeadlineTimer>
#include <QSerialPort>
#include <QThread>

namespace brovant {
namespace {

// A peer that stops reading must not hang a write forever.
constexpr int kWriteStallMs = 5000;

} // namespace

QtSerialLine::QtSerialLine(std::unique_ptr<QSerialPort> port)
    : m_port(std::move(port))
{
}

QtSerialLine::~QtSerialLine()
{
    if (m_port)
        m_port->close();
}

bool QtSerialLine::write(QByteArrayView bytes)
{
    if (m_port->write(bytes.data(), bytes.size()) != bytes.size())
        return false;
    while (m_port->bytesToWrite() > 0) {
        if (!m_port->waitForBytesWritten(kWriteStallMs))
            return false;
    }
    return true;
}

QByteArray QtSerialLine::read(int maxBytes, int waitMs)
{
    if (maxBytes <= 0)
        return {};
    if (m_port->bytesAvailable() == 0) {
        const QDeadlineTimer deadline(std::max(waitMs, 0));
        // waitForReadyRead also returns at once on a port that failed; wait out the time then.
        if (!m_port->waitForReadyRead(waitMs) && m_port->error() != QSerialPort::TimeoutError
            && m_port->error() != QSerialPort::NoError) {
            m_port->clearError();
            QThread::msleep(static_cast<unsigned long>(deadline.remainingTime()));
            return {};
        }
    }
    return m_port->read(maxBytes);
}

SerialLineOpener qtSerialOpener(const DeviceRoot& root, MessageDialogs& dialogs)
{
    // A copy of the root: the opener may outlive the caller's.
    return [root, &dialogs](int port, qint32 baudRate, int dataBits,
                            int stopBits) -> std::unique_ptr<SerialLine> {
        std::unique_ptr<QSerialPort> serial =
            openTransferPort(root, port, baudRate, dataBits, stopBits, dialogs);
        if (!serial)
            return nullptr;
        return std::make_unique<QtSerialLine>(std::move(serial));
    };
}

} // namespace brovant
