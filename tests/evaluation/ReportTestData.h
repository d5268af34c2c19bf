// A device with an open database for the report tests: class rows, assortment rows, settings,
// lists and trees written as the import and the tally write them; the master tables loaded from
// them as the program loads them.
#pragma once

#include "data/Dataset.h"
#include "data/Schema.h"
#include "evaluation/Reports.h"
#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "support/CaseKinds.h"
#include "support/ListBuilder.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace brovant::test {

struct Tree {
    QByteArray species;
    QByteArray diameterClass;
    std::int64_t count;
    std::int64_t volume; // KUBATUR, hundredths
};

class ReportFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        ASSERT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
        lists.emplace(db());
    }

    Database& db() { return session->database(); }
    SettingsStore& store() { return session->store(); }

    // `count` classes from `first` cm in steps of `step` ("08", "10", ...), each named by its
    // two-digit diameter; ALLG/Stufenanzahl as the import counts them.
    void addClasses(int count, int first = 8, int step = 2)
    {
        for (int i = 0; i < count; ++i) {
            const int diameter = first + step * i;
            lists->row(schema::Einstellungen,
                       {{u"ID", ++m_masterId},
                        {u"ID_TYPE", schema::DiameterClassRow},
                        {u"DMSTUFE", QStringLiteral("%1").arg(diameter, 2, 10, QChar(u'0'))},
                        {u"BHDBIS", diameter},
                        {u"BHD", diameter}});
        }
        store().writeInt(Setting::Stufenanzahl, 0, count);
    }
    void addAssortmentRow(const char* species, const char* diameterClass,
                          const std::array<int, 6>& hs)
    {
        lists->row(schema::Einstellungen, {{u"ID", ++m_masterId},
                                           {u"ID_TYPE", schema::SpeciesVolumeRow},
                                           {u"BAUMART", species},
                                           {u"DMSTUFE", diameterClass},
                                           {u"HS1", hs[0]},
                                           {u"HS2", hs[1]},
                                           {u"HS3", hs[2]},
                                           {u"HS4", hs[3]},
                                           {u"HS5", hs[4]},
                                           {u"HS6", hs[5]}});
    }
    void setSorten(const QStringList& codes)
    {
        for (int k = 0; k < codes.size(); ++k)
            store().writeText(Setting::Sorte, k, codes[k]);
    }

    void addList(std::int64_t id, const QString& name, int factor)
    {
        lists->list(id, name, factor, {{u"DATUM_A", "04.05.2026"}, {u"REGION_A", "WR01"}});
    }
    void addTrees(std::int64_t list, const std::vector<Tree>& trees)
    {
        for (const Tree& t : trees)
            lists->tree(list, QString::fromLatin1(t.species), t.count, t.volume,
                        {{u"DMSTUFE", QString::fromLatin1(t.diameterClass)},
                         {u"BHD", t.diameterClass.toInt()}});
    }

    // List 1 "HIEB01" at 90 %: FI 40 + 45 + 49 (45, 50, 55), KI 90 + 49 (101, 55); 10 classes,
    // six assortments, FI class 12 split 1:2:0:0:0:1, class 14 all zeros.
    void addKnownList()
    {
        addClasses(10);
        setSorten({"ST", "AB", "PA", "IL", "IK", "BR"});
        addAssortmentRow("FI ", "12", {10, 20, 0, 0, 0, 10});
        addAssortmentRow("FI ", "14", {0, 0, 0, 0, 0, 0});
        addList(1, QStringLiteral("HIEB01"), 90);
        addTrees(1, {{"FI", "12", 1, 45},
                     {"KI", "20", 2, 101},
                     {"FI", "12", 1, 50},
                     {"FI", "14", 1, 55},
                     {"KI", "20", 1, 55}});
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
    std::optional<ListBuilder> lists;

private:
    MasterTables m_tables;
    qint64 m_masterId = 0;
};

// The cases of one kind in data/reports.txt.
inline QList<Case> casesOf(const QByteArray& kind)
{
    return casesOf(QStringLiteral("evaluation/data/reports.txt"), kind);
}

// Trees written "species,class,stems,volume", ';' between them, as in the case files.
inline std::vector<Tree> treesOf(const QByteArray& text)
{
    std::vector<Tree> trees;
    for (const QByteArray& tree : text.split(';')) {
        const QList<QByteArray> f = tree.split(',');
        if (f.size() == 4)
            trees.push_back({f[0], f[1], f[2].toLongLong(), f[3].toLongLong()});
        else if (!tree.isEmpty())
            ADD_FAILURE() << "not a tree: " << tree.constData();
    }
    return trees;
}

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
