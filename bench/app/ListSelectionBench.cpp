// The list selection screen built on a device with 1,000 lists (each with a few trees): the rows
// read from the table and the list view filled, as every showing of the screen does.
#include "app/BrovantApp.h"
#include "app/ListSelectionDlg.h"
#include "workflow/AppState.h"
#include "workflow/ListSelectionLogic.h"
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
#include <QTreeWidget>

#include "support/BenchDevice.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace brovant;
using bench::makeDevice;

constexpr int kLists = 1000;

QString& benchRoot()
{
    static QString root;
    return root;
}

// The program started on the device, showing the list selection screen.
struct Program {
    DeviceSession session{benchRoot()};
    AppState state;
    SystemClock clock;
    ScriptedDialogs dialogs;
    BrovantApp app{session, state, clock};
    ListSelectionDlg* screen = nullptr;

    bool start()
    {
        app.replaceMessages(&dialogs);
        if (!app.start())
            return false;
        screen = app.stack().screen<ListSelectionDlg>();
        if (!screen)
            return false;
        // The last list is the current one: its row is selected and scrolled into view.
        state.currentList = kLists;
        app.stack().switchTo(screen);
        QApplication::processEvents();
        return screen->listView()->topLevelItemCount() == kLists;
    }
    ~Program() { app.shutdown(); }
};

void BM_ListSelectionInitDialog(benchmark::State& state)
{
    Program program;
    if (!program.start()) {
        state.SkipWithError("the screen did not show 1,000 lists");
        return;
    }
    for (auto _ : state) {
        program.screen->enter();
        QApplication::processEvents();
    }
}
BENCHMARK(BM_ListSelectionInitDialog)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

// The same with the screen drawn at once, as the user sees it.
void BM_ListSelectionInitDialogAndPaint(benchmark::State& state)
{
    Program program;
    if (!program.start()) {
        state.SkipWithError("the screen did not show 1,000 lists");
        return;
    }
    for (auto _ : state) {
        program.screen->enter();
        program.screen->repaint();
    }
}
BENCHMARK(BM_ListSelectionInitDialogAndPaint)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

// The rows alone, as the screen and "brovant-tool lists" read them.
void BM_ListSelectionRows(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    if (session.openDatabase() == DeviceSession::DatabaseState::Failed) {
        state.SkipWithError("no database");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(ListSelectionLogic::readRows(session.database()));
}
BENCHMARK(BM_ListSelectionRows)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    benchRoot() = dir.path();
    if (!makeDevice(dir.path(), kLists, 20)) {
        std::fprintf(stderr, "cannot build the device\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
