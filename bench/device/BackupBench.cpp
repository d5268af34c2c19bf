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

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace brovant;

// As the start-up benchmark builds it.
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
