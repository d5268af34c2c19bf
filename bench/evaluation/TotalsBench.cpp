// The totals of one list with 100,000 trees, as the totals screen builds them each time it opens:
// the list's trees read by species, summed, and the rows' cells formatted. Two more lists of the
// same size lie beside it, so the list's rows have to be found, not just read in table order.
#include "data/Database.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include "support/BenchDevice.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace brovant;
using bench::makeDevice;

constexpr int kLists = 3;
constexpr int kTrees = 100000;
constexpr std::int64_t kList = 2;

QString& benchRoot()
{
    static QString root;
    return root;
}

void BM_Totals(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    session.openDatabase();
    std::size_t rows = 0;
    for (auto _ : state) {
        const auto totals = Totals::compute(session.database(), kList);
        if (!totals || totals->count() != kTrees) {
            state.SkipWithError("totals failed");
            break;
        }
        const auto cells = totals->rows();
        rows = cells.size();
        benchmark::DoNotOptimize(cells.data());
    }
    state.counters["rows"] = double(rows);
    state.counters["trees"] = kTrees;
}
BENCHMARK(BM_Totals)->Unit(benchmark::kMillisecond)->UseRealTime();

// The check before switching to the screen.
void BM_HasTrees(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    session.openDatabase();
    for (auto _ : state)
        benchmark::DoNotOptimize(hasTrees(session.database(), kList));
}
BENCHMARK(BM_HasTrees)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    benchRoot() = dir.path();
    if (!makeDevice(dir.path(), kLists, kTrees)) {
        std::fprintf(stderr, "cannot build the device\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
