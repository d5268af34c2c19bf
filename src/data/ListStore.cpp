#include "data/ListStore.h"

#include "data/Schema.h"

namespace brovant {
namespace {

QLatin1StringView kopfdaten()
{
    return QLatin1StringView(schema::Kopfdaten.name);
}

} // namespace

std::vector<TableRow> ListStore::select(const QString& where, const QList<FieldValue>& values,
                                        const QString& orderBy) const
{
    return TableRow::select(m_db, schema::Kopfdaten, where, orderBy, values);
}

std::optional<TableRow> ListStore::first(const QString& where, const QList<FieldValue>& values,
                                         const QString& orderBy) const
{
    auto rows = select(where, values, orderBy + QStringLiteral(" LIMIT 1"));
    if (rows.empty())
        return std::nullopt;
    return std::move(rows.front());
}

std::int64_t ListStore::single(const QString& sql) const
{
    auto q = m_db.query(sql.arg(kopfdaten()));
    return q.next() ? q.integer(0) : 0;
}

std::vector<TableRow> ListStore::all() const
{
    return select({});
}

std::vector<TableRow> ListStore::marked() const
{
    return select(QStringLiteral("DUE_MARK <> 0"));
}

std::vector<TableRow> ListStore::after(std::int64_t rowId) const
{
    return select(QStringLiteral("rowid > ?"), {FieldValue(rowId)});
}

std::optional<TableRow> ListStore::at(int index) const
{
    if (index < 0)
        return std::nullopt;
    auto rows =
        select({}, {FieldValue(std::int64_t(index))}, QStringLiteral("rowid LIMIT 1 OFFSET ?"));
    if (rows.empty())
        return std::nullopt;
    return std::move(rows.front());
}

std::optional<TableRow> ListStore::byRowId(std::int64_t rowId) const
{
    return first(QStringLiteral("rowid = ?"), {FieldValue(rowId)});
}

std::optional<TableRow> ListStore::byId(std::int64_t listId) const
{
    return first(QStringLiteral("ID_FILE = ?"), {FieldValue(listId)});
}

std::optional<std::int64_t> ListStore::lastId() const
{
    auto rows = select({}, {}, QStringLiteral("rowid DESC LIMIT 1"));
    if (rows.empty())
        return std::nullopt;
    return rows.front().number(u"ID_FILE");
}

std::int64_t ListStore::lastRowId() const
{
    return single(QStringLiteral("SELECT COALESCE(MAX(rowid), 0) FROM %1"));
}

int ListStore::dueCount() const
{
    return int(single(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE DUE_MARK = 1")));
}

int ListStore::markedCount() const
{
    return int(single(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE DUE_MARK <> 0")));
}

bool ListStore::setDueMark(std::int64_t rowId, std::int64_t mark)
{
    auto q =
        m_db.query(QStringLiteral("UPDATE %1 SET DUE_MARK = ? WHERE rowid = ?").arg(kopfdaten()));
    return q.bind(1, mark).bind(2, rowId).run();
}

bool ListStore::markSent()
{
    auto q = m_db.query(QStringLiteral("UPDATE %1 SET DUE_MARK = 0, "
                                       "EXPORTED_N_NI = COALESCE(EXPORTED_N_NI, 0) + 1 "
                                       "WHERE DUE_MARK <> 0")
                            .arg(kopfdaten()));
    return q.run();
}

std::optional<std::int64_t> ListStore::addEmpty(std::int64_t listId)
{
    auto q = m_db.query(
        QStringLiteral("INSERT INTO %1 (ID_FILE, DUE_MARK, EXPORTED_N_NI) VALUES (?, 0, 0)")
            .arg(kopfdaten()));
    if (!q.bind(1, listId).run())
        return std::nullopt;
    return m_db.lastInsertRowId();
}

bool ListStore::update(std::int64_t rowId, const QList<std::pair<QString, FieldValue>>& fields)
{
    QString assignments;
    for (const auto& [name, value] : fields) {
        // Only the table's own field names reach the statement.
        const int index = schema::Kopfdaten.indexOf(name);
        if (index < 0)
            return false;
        assignments += (assignments.isEmpty() ? QString() : QStringLiteral(", "))
                       + QLatin1StringView(schema::Kopfdaten.fields[size_t(index)].name)
                       + QStringLiteral(" = ?");
    }
    auto q = m_db.query(
        QStringLiteral("UPDATE %1 SET %2 WHERE rowid = ?").arg(kopfdaten(), assignments));
    int column = 1;
    for (const auto& field : fields)
        q.bind(column++, field.second);
    return q.bind(column, rowId).run();
}

bool ListStore::remove(std::int64_t rowId, std::int64_t listId)
{
    Database::Transaction transaction(m_db);
    if (!transaction.active())
        return false;
    auto header = m_db.query(QStringLiteral("DELETE FROM %1 WHERE rowid = ?").arg(kopfdaten()));
    if (!header.bind(1, rowId).run())
        return false;
    for (const TableDescriptor* table : {&schema::Holzdaten, &schema::Region}) {
        auto children = m_db.query(
            QStringLiteral("DELETE FROM %1 WHERE ID_FILE = ?").arg(QLatin1StringView(table->name)));
        if (!children.bind(1, listId).run())
            return false;
    }
    return transaction.commit();
}

} // namespace brovant
