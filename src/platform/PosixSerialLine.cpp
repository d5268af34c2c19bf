#include "platform/PosixSerialLine.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace brovant {
namespace {

// A peer that stops reading must not hang a write forever.
constexpr int kWriteStallMs = 5000;

bool speedFor(qint32 baudRate, speed_t& speed)
{
    switch (baudRate) {
    case 1200:
        speed = B1200;
        return true;
    case 2400:
        speed = B2400;
        return true;
    case 4800:
        speed = B4800;
        return true;
    case 9600:
        speed = B9600;
        return true;
    case 19200:
        speed = B19200;
        return true;
    case 38400:
        speed = B38400;
        return true;
    case 57600:
        speed = B57600;
        return true;
    case 115200:
        speed = B115200;
        return true;
    default:
        return false;
    }
}

QString systemError(const char* what)
{
    return QStringLiteral("%1: %2").arg(QLatin1StringView(what),
                                        QString::fromLocal8Bit(std::strerror(errno)));
}

} // namespace

std::unique_ptr<PosixSerialLine> PosixSerialLine::open(const QString& device, qint32 baudRate,
                                                       int dataBits, int stopBits, QString* error)
{
    const auto report = [error](QString message) {
        if (error)
            *error = std::move(message);
        return nullptr;
    };
    speed_t speed{};
    if (!speedFor(baudRate, speed))
        return report(QStringLiteral("Baudrate nicht unterstützt: %1").arg(baudRate));
    const int fd =
        ::open(QFile::encodeName(device).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return report(systemError("open"));
    auto line = std::make_unique<PosixSerialLine>(fd);
    if (::ioctl(fd, TIOCEXCL) != 0)
        return report(systemError("TIOCEXCL"));
    termios tio{};
    if (::tcgetattr(fd, &tio) != 0)
        return report(systemError("tcgetattr"));
    ::cfmakeraw(&tio);
    tio.c_cflag &= ~(CSIZE | CSTOPB | PARENB | CRTSCTS);
    tio.c_cflag |= (dataBits == 7 ? CS7 : CS8) | (stopBits == 2 ? CSTOPB : 0) | CLOCAL | CREAD;
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
    if (::cfsetispeed(&tio, speed) != 0 || ::cfsetospeed(&tio, speed) != 0
        || ::tcsetattr(fd, TCSANOW, &tio) != 0)
        return report(systemError("tcsetattr"));
    // Pseudo-terminals and Bluetooth links have no modem lines; a real port gets them.
    int lines = TIOCM_DTR | TIOCM_RTS;
    ::ioctl(fd, TIOCMBIS, &lines);
    return line;
}

PosixSerialLine::PosixSerialLine(int fd)
    : m_fd(fd)
{
}

PosixSerialLine::~PosixSerialLine()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool PosixSerialLine::write(QByteArrayView bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(m_fd, bytes.data() + done, size_t(bytes.size() - done));
        if (n > 0) {
            done += n;
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            return false;
        pollfd p{m_fd, POLLOUT, 0};
        if (::poll(&p, 1, kWriteStallMs) <= 0)
            return false;
    }
    return true;
}

QByteArray PosixSerialLine::read(int maxBytes, int waitMs)
{
    if (maxBytes <= 0)
        return {};
    const QDeadlineTimer deadline(std::max(waitMs, 0));
    QByteArray bytes(maxBytes, Qt::Uninitialized);
    for (;;) {
        pollfd p{m_fd, POLLIN, 0};
        const int ready = ::poll(&p, 1, int(deadline.remainingTime()));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return {};
        if (p.revents & POLLIN) {
            const ssize_t n = ::read(m_fd, bytes.data(), size_t(maxBytes));
            if (n > 0) {
                bytes.truncate(n);
                return bytes;
            }
            if (n < 0 && (errno == EINTR || errno == EAGAIN))
                continue;
        }
        // Hung up (the other end of a pseudo-terminal closed): silence, not a spinning loop.
        QThread::msleep(static_cast<unsigned long>(deadline.remainingTime()));
        return {};
    }
}

} // namespace brovant
