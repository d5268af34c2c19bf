// A device with an open database for the report tests: class rows, assortment rows, settings,
// lists and trees written as the import and the tally write them; the master tables loaded from
// them as the program loads them.
#pragma once

#include "data/Dataset.h"
#include "data/Schema.h"
#include "evaluation/Reports.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <vector>

namespace brovant::test {

struct Tree {
    const char* species;
    const char* diameterClass;
    std::int64_t count;
    std::int64_t volume; // KUBATUR, hundredths
};

class ReportFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        ASSERT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
    }

    Database& db() { return session->database(); }
    SettingsStore& store() { return session->store(); }

    // `count` classes from `first` cm in steps of `step` ("08", "10", ...), each named by its
    // two-digit diameter; ALLG/Stufenanzahl as the import counts them.
    void addClasses(int count, int first = 8, int step = 2)
    {
        for (int i = 0; i < count; ++i) {
            const int diameter = first + step * i;
            addMasterRow(schema::DiameterClassRow, [&](Dataset& rows) {
                rows.setText(u"DMSTUFE", QStringLiteral("%1").arg(diameter, 2, 10, QChar(u'0')));
                rows.setInt(u"BHDBIS", diameter);
                rows.setInt(u"BHD", diameter);
            });
        }
        store().writeInt(Setting::Stufenanzahl, 0, count);
    }
    void addAssortmentRow(const char* species, const char* diameterClass,
                          const std::array<std::int64_t, 6>& hs)
    {
        addMasterRow(schema::SpeciesVolumeRow, [&](Dataset& rows) {
            rows.setText(u"BAUMART", QString::fromLatin1(species));
            rows.setText(u"DMSTUFE", QString::fromLatin1(diameterClass));
            for (int k = 0; k < 6; ++k)
                rows.setInt(QStringLiteral("HS%1").arg(k + 1), hs[size_t(k)]);
        });
    }
    void setSorten(const QStringList& codes)
    {
        for (int k = 0; k < codes.size(); ++k)
            store().writeText(Setting::Sorte, k, codes[k]);
    }

    void addList(std::int64_t id, const QString& name, std::int64_t factor)
    {
        Dataset heads(db(), schema::Kopfdaten);
        heads.clearFields();
        heads.setInt(u"ID_FILE", id);
        heads.setText(u"LISTE_NR", name);
        heads.setText(u"DATUM_A", QStringLiteral("04.05.2026"));
        heads.setText(u"REGION_A", QStringLiteral("WR01"));
        heads.setInt(u"KOR_FAKTOR_N", factor);
        ASSERT_TRUE(heads.insert());
    }
    void addTrees(std::int64_t list, const std::vector<Tree>& trees)
    {
        Dataset rows(db(), schema::Holzdaten);
        for (const Tree& t : trees) {
            rows.clearFields();
            rows.setInt(u"ID", ++m_treeId);
            rows.setInt(u"ID_FILE", list);
            rows.setInt(u"ID_TYPE", 1);
            rows.setText(u"BAUMART", QString::fromLatin1(t.species));
            rows.setText(u"DMSTUFE", QString::fromLatin1(t.diameterClass));
            rows.setInt(u"BHD", QString::fromLatin1(t.diameterClass).toInt());
            rows.setInt(u"STK", t.count);
            rows.setInt(u"KUBATUR", t.volume);
            ASSERT_TRUE(rows.insert());
        }
    }

    const MasterTables& tables()
    {
        m_tables = loadSettings(store(), db(), nullptr, nullptr);
        return m_tables;
    }
    ReportSources sources()
    {
        return {db(), store(), tables(), QDateTime(QDate(2026, 5, 4), QTime(7, 30))};
    }

    TempRoot root;
    std::unique_ptr<DeviceSession> session;

private:
    template <class Fill> void addMasterRow(int type, Fill fill)
    {
        Dataset rows(db(), schema::Einstellungen);
        rows.clearFields();
        rows.setInt(u"ID", m_masterId++);
        rows.setInt(u"ID_TYPE", type);
        fill(rows);
        ASSERT_TRUE(rows.insert());
    }

    MasterTables m_tables;
    std::int64_t m_treeId = 0;
    std::int64_t m_masterId = 0;
};

// The rows of a table as "cell|cell|...".
inline QStringList tableRows(const ReportTable& table)
{
    QStringList out;
    for (const ReportRow& row : table.rows)
        out << row.cells.join(u'|');
    return out;
}

// The tables of a report whose title starts with `prefix`.
inline std::vector<const ReportTable*> tablesTitled(const Report& report, const QString& prefix)
{
    std::vector<const ReportTable*> out;
    for (const ReportBlock& block : report.blocks) {
        if (block.kind == ReportBlock::Kind::Table && block.table.title.startsWith(prefix))
            out.push_back(&block.table);
    }
    return out;
}

} // namespace brovant::test
