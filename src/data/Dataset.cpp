#include "data/Dataset.h"

namespace brovant {

Dataset::Dataset(Database& db, const TableDescriptor& table)
    : m_db(db)
    , m_table(table)
    , m_values(table.fields.size())
{
    const QLatin1StringView name(table.name);
    m_selectSql = QStringLiteral("SELECT %1 FROM %2 WHERE rowid = ?").arg(columnList(), name);
    QString placeholders;
    QString assignments;
    for (size_t i = 0; i < table.fields.size(); ++i) {
        placeholders += i ? QStringLiteral(", ?") : QStringLiteral("?");
        assignments += (i ? QStringLiteral(", ") : QString())
                       + QLatin1StringView(table.fields[i].name) + QStringLiteral(" = ?");
    }
    m_insertSql =
        QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)").arg(name, columnList(), placeholders);
    m_updateSql = QStringLiteral("UPDATE %1 SET %2 WHERE rowid = ?").arg(name, assignments);
}

QString Dataset::columnList() const
{
    QString columns;
    for (size_t i = 0; i < m_table.fields.size(); ++i)
        columns +=
            (i ? QStringLiteral(", ") : QString()) + QLatin1StringView(m_table.fields[i].name);
    return columns;
}

bool Dataset::reset(const Filter& filter)
{
    m_filter = filter;
    m_rowIds.clear();
    m_pos = -1;
    QString sql = QStringLiteral("SELECT rowid FROM %1").arg(QLatin1StringView(m_table.name));
    if (!filter.where.isEmpty())
        sql += QStringLiteral(" WHERE ") + filter.where;
    sql += QStringLiteral(" ORDER BY ")
           + (filter.orderBy.isEmpty() ? QStringLiteral("rowid")
                                       : filter.orderBy + QStringLiteral(", rowid"));
    auto q = m_db.query(sql);
    if (!q.valid())
        return false;
    for (int i = 0; i < filter.values.size(); ++i)
        q.bind(i + 1, filter.values[i]);
    while (q.next())
        m_rowIds.push_back(q.integer(0));
    if (q.failed()) {
        m_rowIds.clear(); // half a table would pass for the whole
        return false;
    }
    return moveFirst() || m_rowIds.empty();
}

bool Dataset::loadCurrent()
{
    std::fill(m_values.begin(), m_values.end(), FieldValue{});
    if (eof())
        return false;
    auto q = m_db.query(m_selectSql);
    q.bind(1, m_rowIds[size_t(m_pos)]);
    if (!q.next())
        return false;
    for (size_t i = 0; i < m_values.size(); ++i)
        m_values[i] = q.value(int(i));
    return true;
}

bool Dataset::moveFirst()
{
    return moveTo(0);
}

bool Dataset::moveNext()
{
    if (m_pos < int(m_rowIds.size()))
        ++m_pos;
    return loadCurrent();
}

bool Dataset::movePrevious()
{
    if (m_pos <= 0) {
        m_pos = -1;
        return loadCurrent();
    }
    --m_pos;
    return loadCurrent();
}

bool Dataset::moveLast()
{
    return moveTo(int(m_rowIds.size()) - 1);
}

bool Dataset::moveTo(int index)
{
    m_pos = std::clamp(index, -1, int(m_rowIds.size()));
    return loadCurrent();
}

FieldValue Dataset::value(QStringView field) const
{
    const int i = m_table.indexOf(field);
    return i < 0 ? FieldValue{} : m_values[size_t(i)];
}

std::int64_t Dataset::loadInt(QStringView field) const
{
    const FieldValue v = value(field);
    if (const auto* n = std::get_if<std::int64_t>(&v))
        return *n;
    if (const auto* s = std::get_if<QString>(&v))
        return s->trimmed().toLongLong();
    return 0;
}

QString Dataset::loadText(QStringView field) const
{
    const FieldValue v = value(field);
    if (const auto* s = std::get_if<QString>(&v))
        return *s;
    if (const auto* n = std::get_if<std::int64_t>(&v))
        return QString::number(*n);
    return {};
}

QString Dataset::loadFormatted(QStringView field) const
{
    const int i = m_table.indexOf(field);
    return i < 0 ? QString() : formatValue(m_table.fields[size_t(i)], m_values[size_t(i)]);
}

bool Dataset::loadIsEmpty(QStringView field) const
{
    return isEmptyValue(value(field));
}

void Dataset::setValue(QStringView field, const FieldValue& value)
{
    const int i = m_table.indexOf(field);
    if (i >= 0)
        m_values[size_t(i)] = stored(i, value);
}

FieldValue Dataset::stored(int index, const FieldValue& value) const
{
    const FieldDescriptor& f = m_table.fields[size_t(index)];
    if (f.type == FieldType::Text) {
        if (const auto* s = std::get_if<QString>(&value))
            return s->left(f.length);
        if (const auto* n = std::get_if<std::int64_t>(&value))
            return QString::number(*n).left(f.length);
        return value;
    }
    if (const auto* s = std::get_if<QString>(&value))
        return FieldValue(std::int64_t(s->trimmed().toLongLong()));
    return value;
}

void Dataset::clearFields()
{
    std::fill(m_values.begin(), m_values.end(), FieldValue{});
}

bool Dataset::insert()
{
    auto q = m_db.query(m_insertSql);
    for (size_t i = 0; i < m_values.size(); ++i)
        q.bind(int(i) + 1, m_values[i]);
    if (!q.run())
        return false;
    m_rowIds.push_back(m_db.lastInsertRowId());
    m_pos = int(m_rowIds.size()) - 1;
    return true;
}

bool Dataset::save()
{
    if (eof())
        return false;
    auto q = m_db.query(m_updateSql);
    for (size_t i = 0; i < m_values.size(); ++i)
        q.bind(int(i) + 1, m_values[i]);
    q.bind(int(m_values.size()) + 1, m_rowIds[size_t(m_pos)]);
    return q.run();
}

bool Dataset::deleteCurrent()
{
    if (eof())
        return false;
    auto q = m_db.query(
        QStringLiteral("DELETE FROM %1 WHERE rowid = ?").arg(QLatin1StringView(m_table.name)));
    q.bind(1, m_rowIds[size_t(m_pos)]);
    if (!q.run())
        return false;
    m_rowIds.erase(m_rowIds.begin() + m_pos);
    loadCurrent();
    return true;
}

} // namespace brovant
