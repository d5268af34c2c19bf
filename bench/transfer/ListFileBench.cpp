// Timings of the list file with 20,000 trees: writing it into "\Export" and reading the same file
// back from "\Import" as a new list (one transaction, committed to disk).
#include "support/BenchDevice.h"

#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace brovant {
namespace {

constexpr int kTrees = 20'000;

struct Device {
    QTemporaryDir dir;
    std::unique_ptr<DeviceSession> session;
    ScriptedDialogs dialogs;
};

// One device for every benchmark: the demo configuration and one list of 20,000 trees.
Device& device()
{
    static Device* d = [] {
        auto* made = new Device;
        if (!bench::makeDevice(made->dir.path(), 1, kTrees))
            return made;
        made->session = std::make_unique<DeviceSession>(made->dir.path());
        if (made->session->openDatabase() == DeviceSession::DatabaseState::Failed)
            made->session.reset();
        return made;
    }();
    return *d;
}

void BM_ExportList(benchmark::State& state)
{
    Device& d = device();
    if (!d.session) {
        state.SkipWithError("no device");
        return;
    }
    ListFileExport exporter(d.session->root(), d.session->database(), d.session->store(),
                            d.dialogs);
    for (auto _ : state) {
        if (!exporter.writeList(1)) {
            state.SkipWithError("export failed");
            return;
        }
    }
    const qint64 bytes = d.session->root().fileSize(exporter.filePath(1));
    state.counters["bytes"] = double(bytes);
    state.SetBytesProcessed(state.iterations() * bytes);
}

void BM_ImportList(benchmark::State& state)
{
    Device& d = device();
    if (!d.session) {
        state.SkipWithError("no device");
        return;
    }
    DeviceRoot& root = d.session->root();
    Database& db = d.session->database();
    ListFileExport exporter(root, db, d.session->store(), d.dialogs);
    if (!exporter.writeList(1)) {
        state.SkipWithError("export failed");
        return;
    }
    QFile exported(root.hostPath(exporter.filePath(1)));
    if (!exported.open(QIODevice::ReadOnly)) {
        state.SkipWithError("no export file");
        return;
    }
    // The device writes its "001" for the office; the office's own "001" (number, label, date,
    // label, factor, label, region, structure tag) takes its place, as in a file sent back.
    QList<QByteArray> lines = exported.readAll().split('\n');
    if (lines.size() < 2) {
        state.SkipWithError("export too short");
        return;
    }
    lines[1] = "001" + QByteArray("BENCH").leftJustified(8) + QByteArray(20, ' ') + "04.05.2026"
               + QByteArray(20, ' ') + "1.00" + QByteArray(20, ' ') + "WR01    T00300\r";
    const QByteArray bytes = lines.join('\n');
    ListFileImport importer(root, db, d.dialogs);
    for (auto _ : state) {
        state.PauseTiming();
        {
            QFile staged(root.hostPath(QStringLiteral("\\Import\\BENCH.DAT")));
            staged.open(QIODevice::WriteOnly);
            staged.write(bytes);
        }
        state.ResumeTiming();
        const ListFileImport::Outcome outcome = importer.run();
        state.PauseTiming();
        if (outcome.result != ListFileImport::Result::Imported) {
            state.SkipWithError("import failed");
            return;
        }
        // The same device for the next round: the new list goes again.
        for (const char* table : {"Brov_Holzdaten", "Brov_Region", "Brov_Kopfdaten"})
            db.exec(QStringLiteral("DELETE FROM %1 WHERE ID_FILE = %2")
                        .arg(QLatin1StringView(table))
                        .arg(outcome.lastList));
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}

BENCHMARK(BM_ExportList)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_ImportList)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

} // namespace
} // namespace brovant

BENCHMARK_MAIN();
