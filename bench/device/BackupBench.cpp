// One backup of a well-used device's database (1,000 lists with 100,000 trees) into the program
// folder, as "Sichern" and every automatic backup make it; and a restore of it, which adds the
// automatic backup before it. Each iteration starts from an empty backup folder.
#include "data/Database.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "device/BackupService.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "support/BenchDevice.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace brovant;
using bench::makeDevice;

QString& benchRoot()
{
    static QString root;
    return root;
}

void clearSaveFolder(DeviceSession& session)
{
    QDir(session.root().hostPath(QStringLiteral("\\Brovant\\Save"))).removeRecursively();
}

void BM_Backup(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    session.openDatabase();
    ScriptedDialogs dialogs;
    BackupService backups(session, dialogs, false);
    for (auto _ : state) {
        state.PauseTiming();
        clearSaveFolder(session);
        state.ResumeTiming();
        if (!backups.backup(BackupService::Kind::Automatic))
            state.SkipWithError("backup failed");
    }
    state.counters["MB"] = double(QFileInfo(session.database().file()).size()) / 1e6;
}
BENCHMARK(BM_Backup)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Restore(benchmark::State& state)
{
    DeviceSession session(benchRoot());
    session.openDatabase();
    ScriptedDialogs dialogs;
    BackupService backups(session, dialogs, false);
    for (auto _ : state) {
        state.PauseTiming();
        clearSaveFolder(session);
        if (!backups.backup(BackupService::Kind::Manual))
            state.SkipWithError("backup failed");
        state.ResumeTiming();
        if (!backups.restore(QStringLiteral("0001_Manu.cdb")))
            state.SkipWithError("restore failed");
    }
}
BENCHMARK(BM_Restore)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
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
