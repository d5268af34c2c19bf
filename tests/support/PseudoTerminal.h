// Pseudo-terminals standing in for serial lines: one whose slave a program opens as its port
// (the caliper's line), and a cable of two whose masters a thread joins.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <thread>

namespace brovant::test {

// The far end of a line: the program opens slave() as its port, the test writes to the master.
class PseudoTerminal {
public:
    PseudoTerminal()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        char name[128];
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0
            && ::ptsname_r(m_master, name, sizeof name) == 0)
            m_slave = QString::fromLocal8Bit(name);
    }
    ~PseudoTerminal() { hangUp(); }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    const QString& slave() const { return m_slave; }

    // Writes everything, waiting while the line is full (the reader drains it in its own
    // thread); false when it stays full for seconds (nobody reads) or the write fails.
    bool write(QByteArrayView bytes)
    {
        while (!bytes.isEmpty()) {
            const ssize_t n = ::write(m_master, bytes.data(), size_t(bytes.size()));
            if (n > 0) {
                bytes = bytes.sliced(n);
            } else if (n < 0 && errno == EAGAIN) {
                pollfd p{m_master, POLLOUT, 0};
                if (::poll(&p, 1, 10000) <= 0)
                    return false;
            } else if (!(n < 0 && errno == EINTR)) {
                return false;
            }
        }
        return true;
    }

    // The device goes away under the reader.
    void hangUp()
    {
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }

private:
    int m_master = -1;
    QString m_slave;
};

// A serial cable: two pseudo-terminals whose masters a thread joins, so their slaves are the
// cable's two ends. The slaves are made raw and held open here, so nothing is echoed or hung up
// between transfers.
class PtyCable {
public:
    PtyCable()
    {
        for (int i = 0; i < 2; ++i) {
            m_master[i] = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
            if (m_master[i] < 0 || ::grantpt(m_master[i]) != 0 || ::unlockpt(m_master[i]) != 0)
                return;
            m_end[i] = QString::fromLocal8Bit(::ptsname(m_master[i]));
            m_slave[i] = ::open(::ptsname(m_master[i]), O_RDWR | O_NOCTTY | O_NONBLOCK);
            termios tio{};
            if (m_slave[i] < 0 || ::tcgetattr(m_slave[i], &tio) != 0)
                return;
            ::cfmakeraw(&tio);
            ::tcsetattr(m_slave[i], TCSANOW, &tio);
        }
        m_relay = std::thread([this] { relay(); });
    }
    ~PtyCable()
    {
        m_stop = true;
        if (m_relay.joinable())
            m_relay.join();
        for (const int fd : {m_slave[0], m_slave[1], m_master[0], m_master[1]}) {
            if (fd >= 0)
                ::close(fd);
        }
    }
    PtyCable(const PtyCable&) = delete;
    PtyCable& operator=(const PtyCable&) = delete;

    bool ok() const { return m_relay.joinable(); }
    // The slave device of end 0 or 1.
    const QString& end(int i) const { return m_end[i]; }

private:
    void relay()
    {
        char buffer[4096];
        while (!m_stop) {
            pollfd p[2] = {{m_master[0], POLLIN, 0}, {m_master[1], POLLIN, 0}};
            if (::poll(p, 2, 20) <= 0)
                continue;
            for (int i = 0; i < 2; ++i) {
                if (!(p[i].revents & POLLIN))
                    continue;
                const ssize_t n = ::read(m_master[i], buffer, sizeof buffer);
                for (ssize_t done = 0; n > 0 && done < n && !m_stop;) {
                    const ssize_t w = ::write(m_master[1 - i], buffer + done, size_t(n - done));
                    if (w > 0) {
                        done += w;
                    } else {
                        pollfd out{m_master[1 - i], POLLOUT, 0};
                        ::poll(&out, 1, 20);
                    }
                }
            }
        }
    }

    int m_master[2] = {-1, -1};
    int m_slave[2] = {-1, -1};
    QString m_end[2];
    std::thread m_relay;
    std::atomic<bool> m_stop = false;
};

} // namespace brovant::test
