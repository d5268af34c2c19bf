// Tree save (checks, insert, durable commit) on a well-used device, and the class and volume
// lookups with 50 classes and 200 tariffs. Save times are also reported as median and p99.
#include "support/BenchDevice.h"

#include "device/BackupService.h"
#include "masterdata/MasterTables.h"
#include "tally/Lookup.h"
#include "workflow/TallyLogic.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

namespace {

using namespace brovant;

MasterTables bigTables()
{
    MasterTables t;
    for (int c = 0; c < 50; ++c) {
        const QString code = QStringLiteral("%1").arg(c, 2, 10, QChar(u'0'));
        t.classes.push_back({(c + 1) * 4, code, c * 4 + 2});
        t.classReach.push_back((c + 1) * 4);
        for (int tariff = 0; tariff < 200; ++tariff)
            t.volumes.add(QStringLiteral("T%1").arg(tariff), code, c * 10 + tariff);
    }
    t.volumes.finish();
    return t;
}

void BM_ClassLookup(benchmark::State& state)
{
    const MasterTables t = bigTables();
    int diameter = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookup::classOf(t, diameter));
        diameter = diameter % 210 + 1;
    }
}
BENCHMARK(BM_ClassLookup);

void BM_VolumeLookup(benchmark::State& state)
{
    const MasterTables t = bigTables();
    QStringList tariffs;
    for (int tariff = 0; tariff < 200; ++tariff)
        tariffs << QStringLiteral("T%1").arg(tariff);
    const QString diameterClass = QStringLiteral("17");
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookup::recordVolume(t, tariffs[i], diameterClass, 2));
        i = (i + 1) % 200;
    }
}
BENCHMARK(BM_VolumeLookup);

// A species of the demo data with a tariff that has a volume for a 25 cm tree, typed in.
bool chooseTree(TallyLogic& logic, const MasterTables& tables)
{
    for (const QString& species : tables.mainSpecies) {
        logic.setField(TallyLogic::Field::Species, species);
        for (const QString& tariff : logic.tariffChoices()) {
            logic.setField(TallyLogic::Field::Tariff, tariff);
            logic.setField(TallyLogic::Field::Diameter, QStringLiteral("25"));
            if (logic.tree().volume > 0)
                return true;
        }
    }
    return false;
}

double percentile(std::vector<double> ms, int p)
{
    std::sort(ms.begin(), ms.end());
    return ms[std::min(ms.size() - 1, ms.size() * size_t(p) / 100)];
}

// One tree per iteration through the tally logic, on the demo master data with 100 lists of
// 1,000 trees already on the device.
void BM_TreeSave(benchmark::State& state)
{
    QTemporaryDir dir;
    if (!bench::makeDevice(dir.path(), 100, 1000)) {
        state.SkipWithError("device");
        return;
    }
    DeviceSession session(dir.path());
    session.openDatabase();
    const MasterTables tables =
        loadSettings(session.store(), session.database(), nullptr, nullptr);
    std::array<QString, TallyLogic::kSpeciesSlots> remembered;
    ScriptedDialogs dialogs;
    TallyLogic logic(session.database(), tables, remembered, dialogs);
    logic.open(1);
    if (!chooseTree(logic, tables)) {
        state.SkipWithError("no species with a volume in the demo data");
        return;
    }
    std::vector<double> ms;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        logic.setField(TallyLogic::Field::Diameter, QStringLiteral("25"));
        if (!logic.save()) {
            state.SkipWithError("refused");
            return;
        }
        ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now()
                                                               - start)
                         .count());
    }
    state.counters["median_ms"] = percentile(ms, 50);
    state.counters["p99_ms"] = percentile(ms, 99);
}
BENCHMARK(BM_TreeSave)->Iterations(500)->Unit(benchmark::kMillisecond);

// The save of every 50th tree with automatic backups on, on a device of 1,000 lists with 100
// trees each: the save the forester waits for includes the backup.
void BM_FiftiethTreeWithBackup(benchmark::State& state)
{
    QTemporaryDir dir;
    if (!bench::makeDevice(dir.path(), 1000, 100)) {
        state.SkipWithError("device");
        return;
    }
    DeviceSession session(dir.path());
    session.openDatabase();
    session.store().writeInt(Setting::BackupAuto, 0, 1);
    const MasterTables tables =
        loadSettings(session.store(), session.database(), nullptr, nullptr);
    std::array<QString, TallyLogic::kSpeciesSlots> remembered;
    ScriptedDialogs dialogs;
    BackupService backups(session, dialogs, false);
    TallyLogic logic(session.database(), tables, remembered, dialogs);
    logic.setBackupHook([&] { backups.automaticIfEnabled(); });
    logic.open(1);
    if (!chooseTree(logic, tables)) {
        state.SkipWithError("no species with a volume in the demo data");
        return;
    }
    std::vector<double> ms;
    for (auto _ : state) {
        state.PauseTiming();
        while (logic.tree().id % TallyLogic::kBackupEvery != 0) {
            logic.setField(TallyLogic::Field::Diameter, QStringLiteral("25"));
            logic.save();
        }
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        logic.setField(TallyLogic::Field::Diameter, QStringLiteral("25"));
        if (!logic.save()) {
            state.SkipWithError("refused");
            return;
        }
        ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now()
                                                               - start)
                         .count());
    }
    state.counters["median_ms"] = percentile(ms, 50);
    state.counters["backups"] = double(backups.entries().size());
}
BENCHMARK(BM_FiftiethTreeWithBackup)->Iterations(10)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
