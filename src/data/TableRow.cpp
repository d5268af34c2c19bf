#include "data/TableRow.h"

#include "data/Schema.h"

#include <QHash>

namespace brovant {
namespace {

QString columnList(const TableDescriptor& table)
{
    QString columns;
    for (const FieldDescriptor& f : table.fields)
        columns +=
            (columns.isEmpty() ? QString() : QStringLiteral(", ")) + QLatin1StringView(f.name);
    return columns;
}

QString insertSql(const TableDescriptor& table)
{
    QString placeholders;
    for (size_t i = 0; i < table.fields.size(); ++i)
        placeholders += i ? QStringLiteral(", ?") : QStringLiteral("?");
    return QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
        .arg(QLatin1StringView(table.name), columnList(table), placeholders);
}

} // namespace

TableRow::TableRow(const TableDescriptor& table)
    : m_table(&table)
    , m_values(table.fields.size())
{
}

const FieldValue& TableRow::value(QStringView field) const
{
    static const FieldValue empty;
    const int index = m_table->indexOf(field);
    return index < 0 ? empty : m_values[size_t(index)];
}

QString TableRow::formatted(QStringView field) const
{
    const int index = m_table->indexOf(field);
    return index < 0 ? QString()
                     : formatValue(m_table->fields[size_t(index)], m_values[size_t(index)]);
}

void TableRow::set(QStringView field, FieldValue value)
{
    const int index = m_table->indexOf(field);
    if (index >= 0)
        m_values[size_t(index)] = std::move(value);
}

std::vector<TableRow> TableRow::select(Database& db, const TableDescriptor& table,
                                       const QString& where, const QString& orderBy,
                                       const QList<FieldValue>& values)
{
    QString sql = QStringLiteral("SELECT rowid, %1 FROM %2")
                      .arg(columnList(table), QLatin1StringView(table.name));
    if (!where.isEmpty())
        sql += QStringLiteral(" WHERE ") + where;
    if (!orderBy.isEmpty())
        sql += QStringLiteral(" ORDER BY ") + orderBy;
    auto q = db.query(sql);
    for (int i = 0; i < values.size(); ++i)
        q.bind(i + 1, values[i]);
    std::vector<TableRow> rows;
    while (q.next()) {
        TableRow& row = rows.emplace_back(table);
        row.m_rowId = q.integer(0);
        for (size_t i = 0; i < row.m_values.size(); ++i)
            row.m_values[i] = q.value(int(i) + 1);
    }
    return rows;
}

bool TableRow::scan(Database& db, const TableDescriptor& table, const QString& where,
                    const QString& orderBy, const QList<FieldValue>& values,
                    std::initializer_list<const char*> fields,
                    const std::function<bool(const Database::Query&)>& row)
{
    QString columns;
    for (const char* field : fields) {
        // Only the table's own field names reach the statement.
        if (table.indexOf(QString::fromLatin1(field)) < 0)
            return false;
        columns +=
            (columns.isEmpty() ? QString() : QStringLiteral(", ")) + QLatin1StringView(field);
    }
    auto q = db.query(QStringLiteral("SELECT %1 FROM %2 WHERE %3 ORDER BY %4")
                          .arg(columns, QLatin1StringView(table.name), where, orderBy));
    if (!q.valid())
        return false;
    for (int i = 0; i < values.size(); ++i)
        q.bind(i + 1, values[i]);
    while (q.next()) {
        if (!row(q))
            break;
    }
    // A table dropped or a medium failing under a kept statement ends the walk early.
    return !q.failed();
}

bool TableRow::insert(Database& db, const TableRow& record)
{
    const TableDescriptor& table = record.table();
    // Built once per table: an import inserts row after row.
    static const QHash<const TableDescriptor*, QString> statements = [] {
        QHash<const TableDescriptor*, QString> sql;
        for (const TableDescriptor* t : schema::allTables())
            sql.insert(t, insertSql(*t));
        return sql;
    }();
    const auto known = statements.constFind(&table);
    auto q = db.query(known != statements.constEnd() ? *known : insertSql(table));
    for (size_t i = 0; i < record.m_values.size(); ++i)
        q.bind(int(i) + 1, record.m_values[i]);
    return q.run();
}

} // namespace brovant
