// Tally: the caliper on its serial port. A reader thread owns the port, cuts what arrives into
// telegrams and hands them over through signals; it touches no widget. Which screen takes the
// measurements is the application's (it connects to measured()).
#pragma once

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>

namespace brovant {

class Clock;
class DeviceRoot;
class MessageDialogs;

class CaliperReader : public QObject {
    Q_OBJECT
public:
    // Without new bytes for this long, a telegram without a line end is taken as complete.
    static constexpr int kQuietMs = 50;

    CaliperReader(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                  QObject* parent = nullptr);
    ~CaliperReader() override; // stops the thread and closes the port

    // Opens "COM<port>:" at 1200 baud 8N1 and starts the reader thread; on failure shows the
    // notice and returns false (the tally works by hand).
    bool start(int port);
    void stop();
    // A reader thread runs. It keeps running when the device goes away under it (a Bluetooth link
    // lost in suspend), so that restart() connects again.
    bool running() const;
    // The port last given to start().
    int port() const { return m_port; }
    // The restart on the wake-up / second-start message: nothing when no reader runs; else
    // busy(true), wait 2 s, stop, wait 2 s, start again on the same port, busy(false).
    void restart(const std::function<void(bool busy)>& busy = {});

signals:
    // One accepted telegram, emitted in the reader's thread; connect with a queued (auto)
    // connection so it is delivered in the receiver's (user interface) thread.
    void measured(int speciesKey, int diameter);
    // Raw telegram text as received, also for rejected ones (for a display / log).
    void received(const QByteArray& telegram);

private:
    class Thread;

    const DeviceRoot& m_root;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    std::unique_ptr<Thread> m_thread;
    int m_port = 0;
};

} // namespace brovant
