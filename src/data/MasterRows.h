// Data layer: the master rows in Brov_Einstellungen, one kind per ID_TYPE (diameter classes,
// tariff volumes, tariff assignments to a region and species, species volumes). What they mean
// is masterdata's; this class owns how they are found.
#pragma once

#include "data/TableRow.h"

#include <functional>
#include <initializer_list>

namespace brovant {

class MasterRows {
public:
    explicit MasterRows(Database& db)
        : m_db(db)
    {
    }

    enum class Order { Stored, ById };

    std::vector<TableRow> ofType(int type, Order order) const;
    // Streams the rows of any of `types` with only `fields` as columns, in that order, to `row`
    // until it returns false: for scans of many rows that must not allocate per value. False
    // when the table cannot be read.
    bool scan(std::initializer_list<int> types, Order order,
              std::initializer_list<const char*> fields,
              const std::function<bool(const Database::Query&)>& row) const;
    int count() const;
    // The tariff assignments of `region`, by ID; trailing blanks are ignored on both sides.
    std::vector<TableRow> assignments(const QString& region) const;
    bool hasAssignments(const QString& region) const;
    // IDs of the assignments of `region` and `species`, the stored values' trailing blanks ignored.
    std::vector<std::int64_t> assignmentIds(const QString& region, const QString& species) const;
    // One more than the largest ID; 0 without rows.
    std::int64_t nextId() const;

private:
    Database& m_db;
};

} // namespace brovant
