// Data layer: the regions of the lists (Brov_Region), each row a region's tariff for a species,
// found by their list's ID_FILE.
#pragma once

#include "data/TableRow.h"

namespace brovant {

class RegionRows {
public:
    explicit RegionRows(Database& db)
        : m_db(db)
    {
    }

    std::vector<TableRow> ofList(std::int64_t listId) const;
    // One more than the largest ID; 1 without rows.
    std::int64_t nextId() const;
    bool insert(const TableRow& row) { return TableRow::insert(m_db, row); }
    // Every row of the list for `region`, trailing blanks ignored on both sides.
    bool remove(std::int64_t listId, const QString& region);

private:
    Database& m_db;
};

} // namespace brovant
