// Data layer: the lists, each a header row in Brov_Kopfdaten whose ID_FILE its trees
// (Brov_Holzdaten) and regions (Brov_Region) carry. Owns the SQL of the header rows and of
// deleting a list with its rows; the trees and regions themselves are TreeRows' and RegionRows'.
#pragma once

#include "data/TableRow.h"

#include <optional>

namespace brovant {

class ListStore {
public:
    explicit ListStore(Database& db)
        : m_db(db)
    {
    }

    // Header rows in table order: all, those marked for sending (DUE_MARK not 0), those after
    // the row `rowId`.
    std::vector<TableRow> all() const;
    std::vector<TableRow> marked() const;
    std::vector<TableRow> after(std::int64_t rowId) const;
    // The header row at `index` in table order.
    std::optional<TableRow> at(int index) const;
    std::optional<TableRow> byRowId(std::int64_t rowId) const;
    // The first header row of the list `listId` in table order.
    std::optional<TableRow> byId(std::int64_t listId) const;

    // ID_FILE of the last header row in table order (not the largest).
    std::optional<std::int64_t> lastId() const;
    // The largest rowid; 0 without lists.
    std::int64_t lastRowId() const;
    // Lists whose DUE_MARK is 1 exactly.
    int dueCount() const;
    // Lists whose DUE_MARK is not 0.
    int markedCount() const;

    bool setDueMark(std::int64_t rowId, std::int64_t mark);
    // Every marked list unmarked and counted once more as exported.
    bool markSent();
    // A new header row for `listId`, cleared, not marked and never exported; its rowid.
    std::optional<std::int64_t> addEmpty(std::int64_t listId);
    // Writes the named fields of the header row `rowId`.
    bool update(std::int64_t rowId, const QList<std::pair<QString, FieldValue>>& fields);
    // The header row `rowId` and the trees and regions of `listId`, together or not at all.
    bool remove(std::int64_t rowId, std::int64_t listId);

private:
    std::vector<TableRow> select(const QString& where, const QList<FieldValue>& values = {},
                                 const QString& orderBy = QStringLiteral("rowid")) const;
    std::optional<TableRow> first(const QString& where, const QList<FieldValue>& values,
                                  const QString& orderBy = QStringLiteral("rowid")) const;
    std::int64_t single(const QString& sql) const;

    Database& m_db;
};

} // namespace brovant
