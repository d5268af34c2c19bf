// Start of the program to the main menu on a well-used device: 1,000 lists with 100,000 trees.
// `--make-root DIR` only builds such a device (for timing the whole process from outside).
#include "app/BrovantApp.h"
#include "app/logic/AppState.h"
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

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

namespace {

using namespace brovant;

bool makeDevice(const QString& root, int lists, int treesPerList)
{
    DeviceSession session(root);
    if (session.openDatabase() == DeviceSession::DatabaseState::Failed)
        return false;
    QFile sample(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    QFile staged(session.root().hostPath(QString::fromUtf16(ConfigImport::kStagedPath)));
    if (!sample.open(QIODevice::ReadOnly) || !staged.open(QIODevice::WriteOnly))
        return false;
    staged.write(sample.readAll());
    staged.close();
    ScriptedDialogs quiet;
    ConfigImport(session.root(), session.database(), session.store(), quiet, nullptr).run();

    Database& db = session.database();
    Database::Transaction tx(db);
    Dataset heads(db, schema::Kopfdaten);
    Dataset trees(db, schema::Holzdaten);
    const char* species[] = {"FI ", "TA ", "KI ", "BU ", "EI "};
    for (int list = 1; list <= lists; ++list) {
        heads.clearFields();
        heads.setInt(u"ID_FILE", list);
        heads.setText(u"LISTE_NR", QStringLiteral("%1").arg(list, 8, 10, QChar(u'0')));
        heads.setText(u"DATUM_A", QStringLiteral("04.05.2026"));
        heads.setInt(u"KOR_FAKTOR_N", 100);
        heads.setText(u"REGION_A", QStringLiteral("WR01    "));
        heads.setText(u"STRUKTUR", QStringLiteral("T00300"));
        heads.insert();
        for (int t = 1; t <= treesPerList; ++t) {
            trees.clearFields();
            trees.setInt(u"ID", t);
            trees.setInt(u"ID_FILE", list);
            trees.setInt(u"ID_TYPE", 1);
            trees.setInt(u"STK", 1);
            trees.setText(u"BAUMART", QString::fromLatin1(species[t % 5]));
            trees.setInt(u"BHD", 20 + t % 40);
            trees.setText(u"DMSTUFE", QStringLiteral("%1").arg(20 + t % 40));
            trees.setInt(u"KUBATUR", 30 + t % 300);
            trees.setText(u"TARIF", QStringLiteral("FI01 "));
            trees.insert();
        }
    }
    return tx.commit();
}

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
