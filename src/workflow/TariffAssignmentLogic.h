// Workflow: the tariff assignment screen without its widgets. Browses, adds, changes and
// deletes the region / species / tariff rows of Brov_Einstellungen (ID_TYPE 3), checked against
// the loaded species and tariff tables. Keyboards, fonts and layout are the screen's.
#pragma once

#include "data/Dataset.h"
#include "masterdata/MasterTables.h"

#include <QString>
#include <QStringList>

#include <array>

namespace brovant {

class MessageDialogs;

// The three values of the edit line, without trailing blanks.
struct TariffRow {
    QString region;
    QString species;
    QString tariff;

    bool operator==(const TariffRow&) const = default;
};

class TariffAssignmentLogic {
public:
    static constexpr int kHistoryLines = 3;
    static constexpr int kMaxRegions = 50;

    using SpeciesTariffs = std::array<QString, MasterTables::kSpecies>;

    // `rows` is a dataset over Brov_Einstellungen; the REGION_A, BAUMART and TARIF buffers of its
    // current record are the edit line. Each row written or deleted updates the tally's tariff
    // choices in `tables` and the tariff it proposes per species (`speciesTariffs`, the
    // application's). Everything must outlive the logic.
    TariffAssignmentLogic(Dataset& rows, MasterTables& tables, SpeciesTariffs& speciesTariffs,
                          MessageDialogs& dialogs);

    // All assignments by region, or those of one region; the cursor then stands on a new empty
    // row after the last one.
    bool openAll();
    bool openRegion(const QString& region);
    bool regionOnly() const { return m_regionOnly; }
    const QString& region() const { return m_region; }

    TariffRow editLine() const;
    void setEditLine(const TariffRow& row);
    // The edit line differs from the row as it was loaded.
    bool changed() const { return editLine() != m_loaded; }
    bool onNewRow() const { return m_rows.eof(); }
    int position() const { return m_rows.position(); }
    int rowCount() const { return m_rows.count(); }

    // The rows before the current one, formatted; the last line holds the nearest.
    const std::array<QString, kHistoryLines>& history() const { return m_history; }
    static QString historyLine(const QString& region, const QString& species,
                               const QString& tariff);

    // Checks and writes the edit line (committed). A failed check shows its notice and keeps the
    // line as typed. A saved new row moves to the history and a new empty row follows.
    bool save();
    // One row back or on. A changed row is offered for saving first; when that save fails the
    // cursor stays. False when the cursor did not move.
    bool moveUp() { return move(-1); }
    bool moveDown() { return move(+1); }
    // Deletes the current row after asking. On the new row it only empties the edit line.
    bool deleteCurrent();

    // Regions of all assignments: the first kMaxRegions distinct ones in stored order, sorted.
    QStringList regions() const;
    QStringList speciesCodes() const;
    QStringList tariffCodes() const { return m_tables.tariffs; }

private:
    bool open(const Filter& filter);
    bool move(int step);
    bool check(const TariffRow& row) const;
    bool write();
    bool insertRow(const TariffRow& row);
    std::int64_t nextId() const;
    void goTo(int index);
    void trimBuffers();
    void assignmentsChanged(const TariffRow& removed, const TariffRow& added);

    Dataset& m_rows;
    MasterTables& m_tables;
    SpeciesTariffs& m_speciesTariffs;
    MessageDialogs& m_dialogs;
    bool m_regionOnly = false;
    QString m_region;
    TariffRow m_loaded;
    std::array<QString, kHistoryLines> m_history;
};

} // namespace brovant
