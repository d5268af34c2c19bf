// A temporary device with master rows written directly (classes, volumes, species tariffs), one
// list, and a TallyLogic on it.
#pragma once

#include "masterdata/DeviceSession.h"
#include "masterdata/MasterTables.h"
#include "platform/MessageDialogs.h"
#include "support/ListBuilder.h"
#include "support/TempRoot.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace brovant::test {

class TallyFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        ASSERT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
    }

    Database& db() { return session->database(); }

    void addRow(int type, const QString& dmstufe, int bhdbis, int bhd, const QString& tarif,
                int kubatur, const QString& species = {})
    {
        ListBuilder(db()).row(schema::Einstellungen, {{u"ID", ++m_rowId},
                                                      {u"ID_TYPE", type},
                                                      {u"DMSTUFE", dmstufe},
                                                      {u"BHDBIS", bhdbis},
                                                      {u"BHD", bhd},
                                                      {u"TARIF", tarif},
                                                      {u"KUBATUR", kubatur},
                                                      {u"REGION_A", "WG1"},
                                                      {u"BAUMART", species}});
    }
    void addClass(int bound, const QString& code, int diameter)
    {
        addRow(schema::DiameterClassRow, code, bound, diameter, {}, 0);
    }
    void addVolume(const QString& tariff, const QString& diameterClass, int volume)
    {
        addRow(schema::TariffVolumeRow, diameterClass, 0, 0, tariff, volume);
    }
    void addAssignment(const QString& species, const QString& tariff)
    {
        addRow(schema::TariffAssignmentRow, {}, 0, 0, tariff, 0, species);
    }
    void setSpecies(int slot, const QString& code)
    {
        session->store().writeText(Setting::Holzart, slot, code);
    }
    void setMainSpecies(int slot, const QString& code)
    {
        session->store().writeText(Setting::HauptHolzart, slot, code);
    }
    void loadTables() { tables = loadSettings(session->store(), db(), nullptr, nullptr); }

    std::int64_t addList(const QString& name, int factor = 100)
    {
        ListBuilder(db()).list(++m_listId, name, factor, {{u"ZUSATZ_A", "Abt. 12"}});
        return m_listId;
    }

    // Classes 10/20/30 ("10", "20", "30" standing for 8, 18, 28 cm), tariff "FI1" with 45, 50,
    // 55 hundredths, species FI and BU (FI offered FI1 and FI2), main species FI, BU.
    void standardMaster()
    {
        addClass(10, QStringLiteral("10"), 8);
        addClass(20, QStringLiteral("20"), 18);
        addClass(30, QStringLiteral("30"), 28);
        addVolume(QStringLiteral("FI1"), QStringLiteral("10"), 45);
        addVolume(QStringLiteral("FI1"), QStringLiteral("20"), 50);
        addVolume(QStringLiteral("FI1"), QStringLiteral("30"), 55);
        addVolume(QStringLiteral("BU1"), QStringLiteral("20"), 70);
        addAssignment(QStringLiteral("FI"), QStringLiteral("FI1"));
        addAssignment(QStringLiteral("FI"), QStringLiteral("FI2"));
        addAssignment(QStringLiteral("BU"), QStringLiteral("BU1"));
        setSpecies(1, QStringLiteral("FI"));
        setSpecies(2, QStringLiteral("BU"));
        setMainSpecies(1, QStringLiteral("FI"));
        setMainSpecies(2, QStringLiteral("BU"));
        loadTables();
    }

    // The list's stored trees as "ID STK BAUMART TARIF BHD DMSTUFE KUBATUR".
    QStringList stored(std::int64_t list)
    {
        auto q = db().query(QStringLiteral(
            "SELECT ID, STK, BAUMART, TARIF, BHD, DMSTUFE, KUBATUR FROM Brov_Holzdaten "
            "WHERE ID_FILE = ? ORDER BY rowid"));
        q.bind(1, list);
        QStringList out;
        while (q.next()) {
            QStringList cells;
            for (int c = 0; c < 7; ++c)
                cells << q.text(c);
            out << cells.join(u' ');
        }
        return out;
    }

    TempRoot root;
    std::unique_ptr<DeviceSession> session;
    ScriptedDialogs dialogs;
    MasterTables tables;

private:
    int m_rowId = 0;
    std::int64_t m_listId = 0;
};

} // namespace brovant::test
