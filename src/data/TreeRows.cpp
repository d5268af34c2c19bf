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

std::vector<TableRow> TreeRows::ofList(std::int64_t listId, Order order) const
{
    // The ID_FILE index finds the list's rows.
    return TableRow::select(m_db, schema::Holzdaten, QStringLiteral("ID_FILE = ?"),
                            order == Order::BySpecies ? QStringLiteral("BAUMART, rowid")
                                                      : QStringLiteral("rowid"),
                            {FieldValue(listId)});
}

std::int64_t TreeRows::maxId() const
{
    auto q = m_db.query(
        QStringLiteral("SELECT MAX(ID) FROM %1").arg(QLatin1StringView(schema::Holzdaten.name)));
    return q.next() ? q.integer(0) : 0;
}

} // namespace brovant
