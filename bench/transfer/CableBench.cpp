// A 20,000-line cable transfer over a pseudo-terminal pair, each direction: the device's cable
// channel on the master side, its office peer (CableOffice) on the slave side (opened by its path
// with termios, as brovant-tool office-* opens a port), each in its own thread.
#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/PosixSerialLine.h"
#include "transfer/CableChannel.h"
#include "transfer/CableOffice.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <thread>

namespace {

using namespace brovant;

constexpr int kLines = 20000;
constexpr int kFiles = 4;

// Progress is shown for every line; a window that only remembers the last one costs nothing.
class QuietDialogs final : public MessageDialogs {
public:
    void notice(const QString& l1, const QString&, const QString&, const QString&, bool) override
    {
        notices.append(l1);
    }
    Answer yesNo(const QString&, const QString&, const QString&, const QString&,
                 const QString&) override
    {
        return Answer::No;
    }
    Answer question(const QString&, const QString&, const QString&, const QString&, const QString&,
                    const QString&) override
    {
        return Answer::None;
    }
    void info(int, const QString&, const QString& line2, const QString&) override { last = line2; }
    void progress(double) override {}
    QStringList notices;
    QString last;
};

// kFiles list files of kLines lines in all, each beginning with its header line.
QList<std::pair<QString, QByteArray>> listFiles()
{
    QList<std::pair<QString, QByteArray>> files;
    int line = 0;
    for (int f = 0; f < kFiles; ++f) {
        const QString number = QStringLiteral("%1").arg(1000 + f, -8, 10, QChar(u' '));
        QByteArray bytes = "TD0" + number.toLatin1() + ".DATQuendrax     0Brovant_V300_D\r\n";
        ++line;
        for (; line < (f + 1) * kLines / kFiles; ++line)
            bytes += QStringLiteral("10A%1%2FI  32 30  0,71NA KA 12\r\n")
                         .arg(line / 50, 4)
                         .arg(line % 50, 4)
                         .toLatin1();
        files.append({number + QStringLiteral(".DAT"), bytes});
    }
    return files;
}

class PtyPair {
public:
    PtyPair()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0)
            m_slave = QString::fromLocal8Bit(::ptsname(m_master));
    }
    ~PtyPair()
    {
        if (m_master >= 0)
            ::close(m_master);
    }
    const QString& slave() const { return m_slave; }
    int master() const { return m_master; }

private:
    int m_master = -1;
    QString m_slave;
};

// The channel owns the line it opens; here the transfer keeps it.
class Borrowed final : public SerialLine {
public:
    explicit Borrowed(SerialLine& line)
        : m_line(line)
    {
    }
    bool write(QByteArrayView bytes) override { return m_line.write(bytes); }
    QByteArray read(int maxBytes, int waitMs) override { return m_line.read(maxBytes, waitMs); }

private:
    SerialLine& m_line;
};

CableChannel::PortOpener lend(SerialLine& line)
{
    return [&line](int) {
        return std::make_unique<Borrowed>(line);
    };
}

struct Run {
    bool deviceOk = false;
    OfficeResult office;
};

// Opens both ends before either side starts, so no byte meets a terminal still in cooked mode.
template <typename Device, typename Office> Run transfer(Device device, Office office)
{
    PtyPair pty;
    auto officeLine = PosixSerialLine::open(pty.slave(), 38400);
    if (pty.master() < 0 || !officeLine)
        return {};
    PosixSerialLine deviceLine(::dup(pty.master()));
    Run run;
    std::thread peer([&] { run.office = office(*officeLine); });
    run.deviceOk = device(deviceLine);
    peer.join();
    return run;
}

void report(benchmark::State& state, const Run& run, const QuietDialogs& dialogs)
{
    if (!run.deviceOk || !run.office.ok || run.office.lines != kLines)
        state.SkipWithError(
            ("transfer failed: " + run.office.error + u' ' + dialogs.notices.join(u' '))
                .toStdString()
                .c_str());
    state.counters["lines"] = double(run.office.lines);
    state.counters["lines/s"] =
        benchmark::Counter(double(kLines), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_DeviceSendsToOffice(benchmark::State& state)
{
    QTemporaryDir root;
    QTemporaryDir office;
    DeviceRoot device(root.path());
    device.makeFolder(QStringLiteral("\\Export"));
    for (const auto& [name, bytes] : listFiles()) {
        QFile file(device.hostPath(QStringLiteral("\\Export\\") + name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            state.SkipWithError("cannot write the export files");
    }
    QuietDialogs dialogs;
    SystemClock clock;
    SystemClock officeClock;
    for (auto _ : state) {
        const Run run = transfer(
            [&](SerialLine& line) {
                CableChannel cable(device, dialogs, clock, lend(line), 1);
                return cable.send();
            },
            [&](SerialLine& line) {
                return CableOffice(line, officeClock, OfficeTiming{}).receive(office.path());
            });
        report(state, run, dialogs);
    }
}
BENCHMARK(BM_DeviceSendsToOffice)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_OfficeSendsToDevice(benchmark::State& state)
{
    QTemporaryDir root;
    DeviceRoot device(root.path());
    const auto files = listFiles();
    QuietDialogs dialogs;
    SystemClock clock;
    SystemClock officeClock;
    for (auto _ : state) {
        const Run run = transfer(
            [&](SerialLine& line) {
                CableChannel cable(device, dialogs, clock, lend(line), 1);
                return cable.receive();
            },
            [&](SerialLine& line) {
                return CableOffice(line, officeClock, OfficeTiming{}).send(files);
            });
        report(state, run, dialogs);
        if (QDir(device.hostPath(QStringLiteral("\\Import"))).entryList(QDir::Files).size()
            != kFiles)
            state.SkipWithError("files missing in \\Import");
    }
}
BENCHMARK(BM_OfficeSendsToDevice)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
