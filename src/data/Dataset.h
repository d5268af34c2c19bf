// Data layer: a table seen record by record, as the screens use it: a cursor over the rows that
// match a filter, one record's field buffers, and insert / save / delete of that record. One
// Dataset per table and use; it owns no rows beyond the cursor's row ids.
#pragma once

#include "data/Database.h"
#include "data/FieldDescriptor.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <vector>

namespace brovant {

// Which rows and in which order: `where` uses ? placeholders for `values`; `orderBy` is a column
// list written by the program. Empty parts mean all rows in stored order.
struct Filter {
    QString where;
    QList<FieldValue> values;
    QString orderBy;

    static Filter all() { return {}; }
    static Filter ordered(QString orderBy) { return {{}, {}, std::move(orderBy)}; }
    static Filter byList(std::int64_t listId)
    {
        return {QStringLiteral("ID_FILE = ?"), {FieldValue(listId)}, {}};
    }
    static Filter byRowId(std::int64_t rowId)
    {
        return {QStringLiteral("rowid = ?"), {FieldValue(rowId)}, {}};
    }
    // All rows by their ID (master rows, trees).
    static Filter byId() { return ordered(QStringLiteral("ID")); }
    // Master rows of one ID_TYPE, by ID; or by region, then ID.
    static Filter byType(int type)
    {
        return {
            QStringLiteral("ID_TYPE = ?"), {FieldValue(std::int64_t(type))}, QStringLiteral("ID")};
    }
    static Filter byTypeRegionFirst(int type)
    {
        return {QStringLiteral("ID_TYPE = ?"),
                {FieldValue(std::int64_t(type))},
                QStringLiteral("REGION_A, ID")};
    }
    // Master rows of one ID_TYPE and region, the stored region's trailing blanks ignored; by ID.
    static Filter byTypeAndRegion(int type, const QString& region)
    {
        return {QStringLiteral("ID_TYPE = ? AND rtrim(REGION_A) = ?"),
                {FieldValue(std::int64_t(type)), FieldValue(region)},
                QStringLiteral("ID")};
    }
};

class Dataset {
public:
    Dataset(Database& db, const TableDescriptor& table);

    const TableDescriptor& table() const { return m_table; }
    Database& database() const { return m_db; }

    // Opens the cursor on the matching rows and moves to the first.
    bool reset(const Filter& filter = Filter::all());
    const Filter& filter() const { return m_filter; }

    bool moveFirst();
    bool moveNext();
    bool movePrevious();
    bool moveLast();
    bool moveTo(int index);
    bool eof() const { return m_pos < 0 || m_pos >= int(m_rowIds.size()); }
    int count() const { return int(m_rowIds.size()); }
    int position() const { return m_pos; }

    // The current record's buffers. Unknown field names read as empty and are not written.
    FieldValue value(QStringView field) const;
    std::int64_t loadInt(QStringView field) const;
    QString loadText(QStringView field) const;
    QString loadFormatted(QStringView field) const;
    bool loadIsEmpty(QStringView field) const;

    void setValue(QStringView field, const FieldValue& value);
    void setInt(QStringView field, std::int64_t value) { setValue(field, FieldValue(value)); }
    void setText(QStringView field, const QString& value) { setValue(field, FieldValue(value)); }
    void clearFields();

    // Appends a record from the buffers and makes it the current one. Text longer than its field
    // is cut to the field's length, as the device's database does.
    bool insert();
    // Writes the buffers to the current record.
    bool save();
    // Deletes the current record; the cursor then stands on the record that followed it.
    bool deleteCurrent();

private:
    bool loadCurrent();
    FieldValue stored(int index, const FieldValue& value) const;
    QString columnList() const;

    Database& m_db;
    const TableDescriptor& m_table;
    Filter m_filter;
    std::vector<std::int64_t> m_rowIds;
    std::vector<FieldValue> m_values;
    int m_pos = -1;
    QString m_selectSql;
    QString m_insertSql;
    QString m_updateSql;
};

} // namespace brovant
