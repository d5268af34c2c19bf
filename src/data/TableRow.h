// Data layer: one stored row, its rowid and every field of its table, read by field name. The
// table classes (ListStore, TreeRows, RegionRows, MasterRows) hand rows out as TableRows and take
// new rows in as TableRows; only they and Dataset write SQL.
#pragma once

#include "data/Database.h"
#include "data/FieldDescriptor.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <vector>

namespace brovant {

class TableRow {
public:
    explicit TableRow(const TableDescriptor& table);

    const TableDescriptor& table() const { return *m_table; }
    // -1 for a record not read from the table.
    std::int64_t rowId() const { return m_rowId; }

    // Unknown field names read as empty and are not written.
    const FieldValue& value(QStringView field) const;
    QString text(QStringView field) const { return textOf(value(field)); }
    std::int64_t number(QStringView field) const { return numberOf(value(field)); }
    // The value in its field's fixed width (see formatValue).
    QString formatted(QStringView field) const;
    void set(QStringView field, FieldValue value);

    // Rows of `table` with every field: `where` (may be empty) and `orderBy` are written by the
    // table classes, `values` bound to the ? in `where`.
    static std::vector<TableRow> select(Database& db, const TableDescriptor& table,
                                        const QString& where, const QString& orderBy,
                                        const QList<FieldValue>& values = {});
    // The same rows streamed with only `fields` as columns, in that order, to `row` until it
    // returns false: for walks over many rows that should not allocate per value. False when
    // the table cannot be read or a name is not one of its fields.
    static bool scan(Database& db, const TableDescriptor& table, const QString& where,
                     const QString& orderBy, const QList<FieldValue>& values,
                     std::initializer_list<const char*> fields,
                     const std::function<bool(const Database::Query&)>& row);
    // Appends the record as a new row with every field.
    static bool insert(Database& db, const TableRow& record);

private:
    const TableDescriptor* m_table;
    std::int64_t m_rowId = -1;
    std::vector<FieldValue> m_values;
};

} // namespace brovant
