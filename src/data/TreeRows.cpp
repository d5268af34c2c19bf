#include "data/TreeRows.h"

#include "data/Schema.h"

namespace brovant {

bool TreeRows::any(std::int64_t listId) const
{
    auto q = m_db.query(QStringLiteral("SELECT 1 FROM %1 WHERE ID_FILE = ? LIMIT 1")
                            .arg(QLatin1StringView(schema::Holzdaten.name)));
    q.bind(1, listId);
    return q.next();
}

namespace {

QString orderOf(TreeRows::Order order)
{
    return order == TreeRows::Order::BySpecies ? QStringLiteral("BAUMART, rowid")
                                               : QStringLiteral("rowid");
}

} // namespace

// The ID_FILE index finds the list's rows.
std::vector<TableRow> TreeRows::ofList(std::int64_t listId, Order order) const
{
    return TableRow::select(m_db, schema::Holzdaten, QStringLiteral("ID_FILE = ?"), orderOf(order),
                            {FieldValue(listId)});
}

bool TreeRows::scan(std::int64_t listId, Order order, std::initializer_list<const char*> fields,
                    const std::function<bool(const Database::Query&)>& row) const
{
    return TableRow::scan(m_db, schema::Holzdaten, QStringLiteral("ID_FILE = ?"), orderOf(order),
                          {FieldValue(listId)}, fields, row);
}

std::int64_t TreeRows::maxId() const
{
    auto q = m_db.query(
        QStringLiteral("SELECT MAX(ID) FROM %1").arg(QLatin1StringView(schema::Holzdaten.name)));
    return q.next() ? q.integer(0) : 0;
}

} // namespace brovant
