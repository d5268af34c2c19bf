// A well-used device for the benchmarks: the demo configuration imported, `lists` lists with
// `treesPerList` trees each, written in one transaction.
#pragma once

#include "data/Database.h"
#include "data/Dataset.h"
#include "data/Schema.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"

#include <QFile>

namespace brovant::bench {

inline bool makeDevice(const QString& root, int lists, int treesPerList)
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
        heads.setText(u"ZUSATZ_A", QStringLiteral("Abteilung %1, Hang nach Norden").arg(list));
        heads.setText(u"DATUM_A", QStringLiteral("04.05.2026"));
        heads.setInt(u"KOR_FAKTOR_N", 100);
        heads.setText(u"REGION_A", QStringLiteral("WR01    "));
        heads.setInt(u"DUE_MARK", list % 3 == 0 ? 1 : 0);
        heads.setInt(u"EXPORTED_N_NI", list % 4);
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

} // namespace brovant::bench
