// Timings of the configuration import and the settings load on a configuration file of the size
// the office sends to a large forestry office: 100,000 lines, most of them tariff volumes.
//   config_import_bench                      runs the benchmarks
//   config_import_bench --write-config PATH  writes the generated file for import_vs_sqlite.sh
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace brovant {
namespace {

constexpr int kLines = 100'000;
constexpr int kTariffs = 2'000;
constexpr int kClasses = 50;
constexpr int kClassesPerTariff = 48; // the two smallest classes carry no tariff volume
constexpr int kSpeciesWithVolumes = 20;
constexpr int kChoiceFields = 16;
constexpr int kChoicesPerField = 30;

void line(QByteArray& out, const char* format, auto... values)
{
    char buffer[1100];
    const int n = std::snprintf(buffer, sizeof buffer, format, values...);
    out.append(buffer, std::min<int>(n, int(sizeof buffer) - 1));
    out.append("\r\n");
}

// The same file every time, so runs compare. Windows-1252 text with CR LF line ends.
QByteArray generateConfig()
{
    static const char* const kSpecies[] = {"FI ", "TA ", "DGL", "KI ", "LAE", "BU ", "EI ",
                                           "ES ", "AH ", "BAH", "ER ", "BI ", "LI ", "KIR",
                                           "PA ", "WEI", "ROB", "SKI", "HBU", "UL "};
    QByteArray out;
    out.reserve(kLines * 26);
    int count = 0;
    auto add = [&](const char* format, auto... values) {
        line(out, format, values...);
        ++count;
    };
    add("TD0STAMM300.DAT");
    static const char* const kLabels[] = {"Zusatz:",
                                          "Datum:",
                                          "Korr.-Faktor:",
                                          "Wuchsreg:",
                                          "Forstamt:",
                                          "Revier:",
                                          "Abteilung:",
                                          "Unterabteil.:",
                                          "Bestand:",
                                          "Waldort:",
                                          "Hiebsart:",
                                          "Sortiment:",
                                          "R\xfc"
                                          "ckeweg:",
                                          "Unternehmer:",
                                          "Auftrag-Nr.:",
                                          "Aufnehmer:",
                                          "Waldbesitzer:",
                                          "Gemarkung:",
                                          "Polter:",
                                          "Bemerkung:"};
    for (int i = 0; i < 20; ++i)
        add("20C%-20s%d", kLabels[i], i >= 4 && i < 8 ? 1 : 0);
    for (const char* sorte : {"ST", "AB", "IS", "IL", "FL", "SH"})
        add("20D%s", sorte);
    for (int c = 0; c < kClasses; ++c)
        add("30E%02d%3d%3d", c + 1, 9 + 2 * c, 8 + 2 * c);
    for (int f = 1; f <= kChoiceFields; ++f) {
        for (int k = 1; k <= kChoicesPerField; ++k)
            add("510%02d%-40s", f,
                QByteArray("Auswahl " + QByteArray::number(k) + " f\xfcr Feld "
                           + QByteArray::number(f))
                    .constData());
    }
    for (int s = 0; s < kSpeciesWithVolumes; ++s) {
        for (int c = 0; c < kClasses; ++c) {
            const double d = 8 + 2 * c;
            add("611%s%02d%6.2f%6.2f%6.2f%6.2f%6.2f%6.2f", kSpecies[s], c + 1, d * d * 1.0e-4,
                d * d * 1.5e-4, d * d * 2.0e-4, d * d * 2.5e-4, d * d * 3.0e-4, d * d * 3.5e-4);
        }
    }
    for (int i = 1; i <= 12; ++i)
        add("813%02dNA-Code %-8d", i, i);
    for (int i = 1; i <= 12; ++i)
        add("914%02dKAL-Code %-7d", i, i);
    for (int s = 0; s < 60; ++s) {
        char code[8];
        std::snprintf(code, sizeof code, "X%02d", s);
        add("a15%s", s < kSpeciesWithVolumes ? kSpecies[s] : code);
    }
    add("b16%-40s%-40s%-40s%-80s%-80s", "Forstbetrieb Musterwald", "Waldweg 1, 12345 Musterstadt",
        "Tel. 01234 56789-0", "Holzaufnahme und Holzverkauf", "E-Mail: holz@musterwald.example");

    for (int t = 0; t < kTariffs; ++t) {
        for (int c = kClasses - kClassesPerTariff; c < kClasses; ++c) {
            const double d = 8 + 2 * c;
            add("40FT%04d%02d%7.3f", t, c + 1, 0.00035 * d * d * (0.8 + 0.05 * (t % 9)));
        }
    }
    // Tariff assignments fill up to the line count: growth regions by species.
    const int assignments = kLines - count;
    for (int a = 0; a < assignments; ++a)
        add("712WR%03d   %sT%04d", a / kSpeciesWithVolumes, kSpecies[a % kSpeciesWithVolumes],
            a % kTariffs);
    return out;
}

const QByteArray& config()
{
    static const QByteArray bytes = generateConfig();
    return bytes;
}

bool stage(DeviceSession& session, const QByteArray& bytes)
{
    QFile file(session.root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath)));
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// A device root with an opened database and the file staged, as before an import on the device.
struct PreparedRoot {
    QTemporaryDir dir;
    std::unique_ptr<DeviceSession> session;
    bool ok = false;

    PreparedRoot()
        : session(std::make_unique<DeviceSession>(dir.path(), Database::Durability::Full))
    {
        ok = dir.isValid() && session->openDatabase() != DeviceSession::DatabaseState::Failed
             && stage(*session, config());
    }
    ConfigImport::Result import()
    {
        ScriptedDialogs dialogs;
        ConfigImport run(session->root(), session->database(), session->store(), dialogs,
                         &session->keepAwake());
        return run.run();
    }
};

void BM_ImportIntoFreshDatabase(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto root = std::make_unique<PreparedRoot>();
        if (!root->ok) {
            state.SkipWithError("cannot prepare the device root");
            break;
        }
        state.ResumeTiming();
        const ConfigImport::Result result = root->import();
        state.PauseTiming();
        if (result != ConfigImport::Result::Loaded) {
            state.SkipWithError("the import did not load the file");
            break;
        }
        root.reset();
        state.ResumeTiming();
    }
    state.counters["lines/s"] =
        benchmark::Counter(double(kLines), benchmark::Counter::kIsIterationInvariantRate);
}

// Reloading over an existing configuration: the old rows are deleted first.
void BM_ImportReplacingPrevious(benchmark::State& state)
{
    PreparedRoot root;
    if (!root.ok || root.import() != ConfigImport::Result::Loaded) {
        state.SkipWithError("cannot prepare the device root");
        return;
    }
    for (auto _ : state) {
        if (root.import() != ConfigImport::Result::Loaded) {
            state.SkipWithError("the import did not load the file");
            break;
        }
    }
    state.counters["lines/s"] =
        benchmark::Counter(double(kLines), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_LoadSettingsAfterImport(benchmark::State& state)
{
    PreparedRoot root;
    if (!root.ok || root.import() != ConfigImport::Result::Loaded) {
        state.SkipWithError("cannot prepare the device root");
        return;
    }
    qsizetype tariffs = 0;
    for (auto _ : state) {
        ScriptedDialogs dialogs;
        const MasterTables tables = loadSettings(root.session->store(), root.session->database(),
                                                 &dialogs, &root.session->keepAwake());
        tariffs = tables.tariffs.size();
        benchmark::DoNotOptimize(tariffs);
    }
    state.counters["tariffs"] = double(tariffs);
}

BENCHMARK(BM_ImportIntoFreshDatabase)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3)
    ->Repetitions(5);
BENCHMARK(BM_ImportReplacingPrevious)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3)
    ->Repetitions(3);
BENCHMARK(BM_LoadSettingsAfterImport)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace brovant

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--write-config") == 0) {
        QFile out(QString::fromLocal8Bit(argv[2]));
        const QByteArray& bytes = brovant::config();
        if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size()) {
            std::fprintf(stderr, "cannot write %s\n", argv[2]);
            return 1;
        }
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
