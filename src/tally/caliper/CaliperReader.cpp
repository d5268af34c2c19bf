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

// The port, its quiet timer and the splitter are made, used and destroyed inside run(), so every
// one of them belongs to this thread alone; stop is quit-then-wait.
class CaliperReader::Thread final : public QThread {
public:
    Thread(CaliperReader& owner, const DeviceRoot& root, QString portName)
        : m_owner(owner)
        , m_root(root)
        , m_portName(std::move(portName))
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
        TelegramSplitter splitter;

        QObject::connect(&port, &QSerialPort::readyRead, &port, [&] {
            for (const QByteArray& telegram : splitter.feed(port.readAll()))
                deliver(telegram);
            if (splitter.hasPending())
                quiet.start();
            else
                quiet.stop();
        });
        QObject::connect(&quiet, &QTimer::timeout, &port, [&] {
            if (const std::optional<QByteArray> telegram = splitter.flush())
                deliver(*telegram);
        });
        // A vanished device (unplugged, link lost) stays readable and fails every read, which
        // would spin this thread; the port is closed until restart() opens it again.
        QObject::connect(
            &port, &QSerialPort::errorOccurred, &port, [&](QSerialPort::SerialPortError error) {
                if (error == QSerialPort::ReadError || error == QSerialPort::ResourceError) {
                    quiet.stop();
                    port.close();
                }
            });

        m_opened.set_value(true);
        exec();
        QObject::disconnect(&port, nullptr, nullptr, nullptr);
        port.close();
    }

private:
    void deliver(const QByteArray& telegram)
    {
        emit m_owner.received(telegram);
        if (const std::optional<Measurement> m = parseTelegram(telegram))
            emit m_owner.measured(m->speciesKey, m->diameter);
    }

    CaliperReader& m_owner;
    const DeviceRoot m_root; // a copy: the caller's may go while the thread reads it
    const QString m_portName;
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

bool CaliperReader::start(int port)
{
    stop();
    m_port = port;
    const QString name = serialPortName(port);
    auto thread = std::make_unique<Thread>(*this, m_root, name);
    if (!thread->launch()) {
        thread->wait();
        const QStringList lines = serialOpenFailureLines(name);
        m_dialogs.notice(lines[0], lines[1]);
        return false;
    }
    m_thread = std::move(thread);
    return true;
}

void CaliperReader::stop()
{
    if (!m_thread)
        return;
    m_thread->finish();
    m_thread.reset();
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
    start(m_port);
    if (busy)
        busy(false);
}

} // namespace brovant
