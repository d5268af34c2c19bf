// Tally: the caliper on its serial port. A reader thread owns the port, cuts what arrives into
// telegrams or sentences and hands them over through signals; it touches no widget. A link that
// is lost is opened again by the thread every few seconds. Which screen takes the measurements is
// the application's (it connects to measured() and measuredSpecies()).
#pragma once

#include "tally/CaliperSentence.h"

#include <QByteArray>
#include <QObject>
#include <QString>

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
    // A lost link is tried again this often.
    static constexpr int kReconnectMs = 3000;

    enum class State {
        Off,          // no reader runs
        Connected,    // the port is open and read
        Reconnecting, // the link was lost; the port is tried again every reconnect interval
    };
    Q_ENUM(State)

    CaliperReader(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                  QObject* parent = nullptr);
    ~CaliperReader() override; // stops the thread and closes the port

    // Opens "COM<port>:" at 1200 baud 8N1 and starts the reader thread, which reads the given
    // format; on failure shows the notice and returns false (the tally works by hand).
    bool start(int port, CaliperFormat format = CaliperFormat::Telegram);
    void stop();
    // A reader thread runs. It keeps running when the device goes away under it (a Bluetooth link
    // lost in suspend) and opens the port again by itself every reconnect interval.
    bool running() const;
    // The port and the format last given to start().
    int port() const { return m_port; }
    CaliperFormat format() const { return m_format; }
    State state() const { return m_state; }
    // How long a lost link waits between tries; taken by the next start().
    void setReconnectInterval(int milliseconds) { m_reconnectMs = milliseconds; }
    // The restart on the wake-up / second-start message: nothing when no reader runs; else
    // busy(true), wait 2 s, stop, wait 2 s, start again on the same port, busy(false).
    void restart(const std::function<void(bool busy)>& busy = {});

signals:
    // One accepted telegram, emitted in the reader's thread; connect with a queued (auto)
    // connection so it is delivered in the receiver's (user interface) thread.
    void measured(int speciesKey, int diameter);
    // One diameter sentence with the species code sent before it (empty: none), emitted like
    // measured(). Which species the code stands for is the receiver's (speciesForCaliperCode).
    void measuredSpecies(const QString& speciesCode, int diameter);
    // Raw telegram text as received, also for rejected ones (for a display / log).
    void received(const QByteArray& telegram);
    // Every change of state(), always in the thread the reader belongs to and in order.
    void stateChanged(brovant::CaliperReader::State state);

private:
    class Thread;

    void setState(State state);
    // A change the thread of run `generation` reports; dropped when that run has been stopped.
    void threadState(unsigned generation, State state);

    const DeviceRoot& m_root;
    MessageDialogs& m_dialogs;
    Clock& m_clock;
    std::unique_ptr<Thread> m_thread;
    int m_port = 0;
    CaliperFormat m_format = CaliperFormat::Telegram;
    int m_reconnectMs = kReconnectMs;
    State m_state = State::Off;
    // Counts the runs, so a change posted by a thread that has gone cannot arrive late.
    unsigned m_generation = 0;
};

} // namespace brovant
