#include "tally/caliper/CaliperReader.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/serial/SerialPort.h"
#include "tally/CaliperTelegram.h"

#include <QSerialPort>
#include <QThread>
#include <QTimer>

#include <future>

namespace brovant {

// The port, its timers, the splitter and the sentence reader are made, used and destroyed inside
// run(), so every one of them belongs to this thread alone; stop is quit-then-wait.
class CaliperReader::Thread final : public QThread {
public:
    Thread(CaliperReader& owner, const DeviceRoot& root, QString portName, CaliperFormat format,
           int reconnectMs, unsigned generation)
        : m_owner(owner)
        , m_root(root)
        , m_portName(std::move(portName))
        , m_format(format)
        , m_reconnectMs(reconnectMs)
        , m_generation(generation)
    {
    }

    // Starts the thread and waits until it has tried to open the port.
    bool launch()
    {
        std::future<bool> opened = m_opened.get_future();
        start();
        return opened.get();
    }

    void finish()
    {
        quit();
        wait();
    }

protected:
    void run() override
    {
        QSerialPort port;
        if (!openSerialPort(port, m_root, m_portName, kCaliperLine)) {
            m_opened.set_value(false);
            return;
        }
        QTimer quiet;
        quiet.setSingleShot(true);
        quiet.setInterval(kQuietMs);
        QTimer reconnect;
        reconnect.setInterval(m_reconnectMs);
        TelegramSplitter splitter;
        SentenceReader sentences;

        QObject::connect(&port, &QSerialPort::readyRead, &port, [&] {
            QByteArray bytes = port.readAll();
            // Each sentence on a line of its own, also from calipers that send no line ends, so
            // a burst of them never runs past the splitter's limit.
            if (m_format == CaliperFormat::Sentences)
                bytes.replace('$', "\n$");
            for (const QByteArray& telegram : splitter.feed(bytes))
                deliver(telegram, sentences);
            if (splitter.hasPending())
                quiet.start();
            else
                quiet.stop();
        });
        QObject::connect(&quiet, &QTimer::timeout, &port, [&] {
            if (const std::optional<QByteArray> telegram = splitter.flush())
                deliver(*telegram, sentences);
        });
        // A vanished device (unplugged, link lost) stays readable and fails every read, which
        // would spin this thread; the port is closed and tried again every few seconds, since a
        // Bluetooth caliper comes back by itself once it is in range or switched on again.
        QObject::connect(
            &port, &QSerialPort::errorOccurred, &port, [&](QSerialPort::SerialPortError error) {
                if ((error == QSerialPort::ReadError || error == QSerialPort::ResourceError)
                    && port.isOpen()) {
                    quiet.stop();
                    port.close();
                    // Half a telegram and a species sent before the loss belong to no tree.
                    splitter.flush();
                    sentences.reset();
                    report(State::Reconnecting);
                    reconnect.start();
                }
            });
        QObject::connect(&reconnect, &QTimer::timeout, &port, [&] {
            if (openSerialPort(port, m_root, m_portName, kCaliperLine)) {
                reconnect.stop();
                report(State::Connected);
            }
        });

        m_opened.set_value(true);
        exec();
        QObject::disconnect(&port, nullptr, nullptr, nullptr);
        port.close();
    }

private:
    void deliver(const QByteArray& telegram, SentenceReader& sentences)
    {
        emit m_owner.received(telegram);
        if (m_format == CaliperFormat::Sentences) {
            for (const SentenceMeasurement& m : sentences.take(telegram))
                emit m_owner.measuredSpecies(m.species, m.diameter);
        } else if (const std::optional<Measurement> m = parseTelegram(telegram)) {
            emit m_owner.measured(m->speciesKey, m->diameter);
        }
    }

    // States go to the owner's thread, so they arrive there in order with the owner's own.
    void report(State state)
    {
        CaliperReader* owner = &m_owner;
        const unsigned generation = m_generation;
        QMetaObject::invokeMethod(
            owner, [owner, generation, state] { owner->threadState(generation, state); },
            Qt::QueuedConnection);
    }

    CaliperReader& m_owner;
    const DeviceRoot m_root; // a copy: the caller's may go while the thread reads it
    const QString m_portName;
    const CaliperFormat m_format;
    const int m_reconnectMs;
    const unsigned m_generation;
    std::promise<bool> m_opened;
};

CaliperReader::CaliperReader(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                             QObject* parent)
    : QObject(parent)
    , m_root(root)
    , m_dialogs(dialogs)
    , m_clock(clock)
{
}

CaliperReader::~CaliperReader()
{
    stop();
}

bool CaliperReader::start(int port, CaliperFormat format)
{
    stop();
    m_port = port;
    m_format = format;
    const QString name = serialPortName(port);
    auto thread =
        std::make_unique<Thread>(*this, m_root, name, format, m_reconnectMs, ++m_generation);
    if (!thread->launch()) {
        thread->wait();
        const QStringList lines = serialOpenFailureLines(name);
        m_dialogs.notice(lines[0], lines[1]);
        return false;
    }
    m_thread = std::move(thread);
    setState(State::Connected);
    return true;
}

void CaliperReader::stop()
{
    if (!m_thread)
        return;
    m_thread->finish();
    m_thread.reset();
    ++m_generation;
    setState(State::Off);
}

void CaliperReader::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

void CaliperReader::threadState(unsigned generation, State state)
{
    if (generation == m_generation && m_thread)
        setState(state);
}

bool CaliperReader::running() const
{
    return m_thread != nullptr;
}

void CaliperReader::restart(const std::function<void(bool busy)>& busy)
{
    if (!running())
        return;
    if (busy)
        busy(true);
    // The pauses let a Bluetooth link settle after the wake-up before it is closed and opened.
    m_clock.sleepMs(2000);
    stop();
    m_clock.sleepMs(2000);
    start(m_port, m_format);
    if (busy)
        busy(false);
}

} // namespace brovant
