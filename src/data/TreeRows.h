// Data layer: the trees of the lists (Brov_Holzdaten), found by their list's ID_FILE. The tally
// edits them through a Dataset; this class owns the other reads and the import's inserts.
#pragma once

#include "data/TableRow.h"

namespace brovant {

class TreeRows {
public:
    explicit TreeRows(Database& db)
        : m_db(db)
    {
    }

    enum class Order { Stored, BySpecies };

    bool any(std::int64_t listId) const;
    std::vector<TableRow> ofList(std::int64_t listId, Order order = Order::Stored) const;
    // The list's trees streamed with only `fields` as columns (see TableRow::scan).
    bool scan(std::int64_t listId, Order order, std::initializer_list<const char*> fields,
              const std::function<bool(const Database::Query&)>& row) const;
    // The largest ID; 0 without trees.
    std::int64_t maxId() const;
    bool insert(const TableRow& tree) { return TableRow::insert(m_db, tree); }

private:
    Database& m_db;
};

} // namespace brovant
