// Start of the program to the main menu on a well-used device: 1,000 lists with 100,000 trees.
// `--make-root DIR` only builds such a device (for timing the whole process from outside).
#include "app/BrovantApp.h"
#include "workflow/AppState.h"
#include "data/Database.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include "support/BenchDevice.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

namespace {

using namespace brovant;
using bench::makeDevice;

QString& benchRoot()
{
    static QString root;
    return root;
}

void BM_StartToMainMenu(benchmark::State& state)
{
    for (auto _ : state) {
        DeviceSession session(benchRoot());
        AppState appState;
        SystemClock clock;
        ScriptedDialogs dialogs;
        BrovantApp app(session, appState, clock);
        app.replaceMessages(&dialogs);
        if (!app.start())
            state.SkipWithError("start failed");
        QApplication::processEvents();
        state.PauseTiming();
        app.shutdown();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_StartToMainMenu)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--make-root") == 0) {
        QCoreApplication core(argc, argv);
        return makeDevice(QString::fromLocal8Bit(argv[2]), 1000, 100) ? 0 : 1;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    benchRoot() = dir.path();
    if (!makeDevice(dir.path(), 1000, 100)) {
        std::fprintf(stderr, "cannot build the device\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
