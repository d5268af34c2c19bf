// A caliper stream at full speed: 1,000 telegrams written into a pseudo-terminal that the reader
// opens as COM3, counted as they arrive in this (the user interface's) thread; and the same
// stream saved as trees, one confirmed record per telegram, on a device with the demo
// configuration, as the tally screen takes them.
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "tally/Lookup.h"
#include "workflow/TallyLogic.h"
#include "tally/caliper/CaliperReader.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include "support/BenchDevice.h"
#include "support/PseudoTerminal.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace brovant;

constexpr int kTelegrams = 1000;

QString& benchRoot()
{
    static QString root;
    return root;
}

using brovant::test::PseudoTerminal;

bool linkPort(const DeviceRoot& root, const QString& target)
{
    QDir().mkpath(root.hostPath(QStringLiteral("\\dev")));
    const QString link = root.hostPath(QStringLiteral("\\dev\\COM3"));
    QFile::remove(link);
    return QFile::link(target, link);
}

// Species keys 1..8 in turn, diameters 10..69 cm.
QByteArray stream()
{
    QByteArray bytes;
    for (int i = 0; i < kTelegrams; ++i)
        bytes += QByteArray::number(1 + i % 8) + QByteArray::number(10 + i % 60) + "\r\n";
    return bytes;
}

bool waitFor(const int& count, int expected)
{
    QElapsedTimer timer;
    timer.start();
    while (count < expected && timer.elapsed() < 30000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (count < expected)
            QThread::usleep(200);
    }
    return count >= expected;
}

void BM_CaliperReplay(benchmark::State& state)
{
    const DeviceRoot root(benchRoot());
    ScriptedDialogs dialogs;
    ManualClock clock;
    const QByteArray bytes = stream();
    int received = 0;
    for (auto _ : state) {
        state.PauseTiming();
        PseudoTerminal pty;
        CaliperReader reader(root, dialogs, clock);
        QObject sink;
        int count = 0;
        QObject::connect(&reader, &CaliperReader::measured, &sink, [&](int, int) { ++count; });
        if (!linkPort(root, pty.slave()) || !reader.start(3)) {
            state.SkipWithError("no pseudo-terminal");
            break;
        }
        state.ResumeTiming();
        if (!pty.write(bytes) || !waitFor(count, kTelegrams)) {
            state.SkipWithError("telegrams missing");
            break;
        }
        state.PauseTiming();
        reader.stop();
        received = count;
        state.ResumeTiming();
    }
    state.counters["received"] = received;
    state.counters["telegrams/s"] =
        benchmark::Counter(double(kTelegrams), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_CaliperReplay)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CaliperToTrees(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    if (session.openDatabase() == DeviceSession::DatabaseState::Failed) {
        state.SkipWithError("no database");
        return;
    }
    ScriptedDialogs dialogs;
    ManualClock clock;
    const MasterTables tables = loadSettings(session.store(), session.database(), nullptr, nullptr);
    // The forester has picked a tariff for each species once; the tally keeps it per species.
    std::array<QString, TallyLogic::kSpeciesSlots> speciesTariffs;
    for (size_t slot = 0; slot < tables.species.size() && slot < speciesTariffs.size(); ++slot) {
        const QStringList choices =
            lookup::tariffChoices(tables, lookup::speciesCode(tables.species[slot]));
        if (!choices.isEmpty())
            speciesTariffs[slot] = choices.first();
    }
    TallyLogic tally(session.database(), tables, speciesTariffs, dialogs);
    if (!tally.open(1)) {
        state.SkipWithError("no list");
        return;
    }
    const QByteArray bytes = stream();
    const int before = tally.count();
    int refused = 0;
    for (auto _ : state) {
        state.PauseTiming();
        PseudoTerminal pty;
        CaliperReader reader(session.root(), dialogs, clock);
        int count = 0;
        QObject::connect(&reader, &CaliperReader::measured, &reader, [&](int key, int diameter) {
            ++count;
            if (!tally.takeMeasurement(key, diameter))
                ++refused;
        });
        if (!linkPort(session.root(), pty.slave()) || !reader.start(3)) {
            state.SkipWithError("no pseudo-terminal");
            break;
        }
        state.ResumeTiming();
        if (!pty.write(bytes) || !waitFor(count, kTelegrams)) {
            state.SkipWithError("telegrams missing");
            break;
        }
        state.PauseTiming();
        reader.stop();
        state.ResumeTiming();
    }
    state.counters["trees saved"] = tally.count() - before;
    state.counters["refused"] = refused;
    state.counters["notices"] = double(dialogs.asked().size());
    state.counters["trees/s"] =
        benchmark::Counter(double(kTelegrams), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_CaliperToTrees)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    benchRoot() = dir.path();
    // One list without trees; the demo configuration gives species, classes and volumes.
    if (!bench::makeDevice(dir.path(), 1, 0)) {
        std::fprintf(stderr, "cannot build the device\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
