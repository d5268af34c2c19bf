#include "data/RegionRows.h"

#include "data/Schema.h"

namespace brovant {

std::vector<TableRow> RegionRows::ofList(std::int64_t listId) const
{
    return TableRow::select(m_db, schema::Region, QStringLiteral("ID_FILE = ?"),
                            QStringLiteral("rowid"), {FieldValue(listId)});
}

std::int64_t RegionRows::nextId() const
{
    auto q = m_db.query(QStringLiteral("SELECT COALESCE(MAX(ID), 0) FROM %1")
                            .arg(QLatin1StringView(schema::Region.name)));
    return q.next() ? q.integer(0) + 1 : 1;
}

bool RegionRows::remove(std::int64_t listId, const QString& region)
{
    auto q = m_db.query(QStringLiteral("DELETE FROM %1 WHERE ID_FILE = ? AND rtrim(REGION_A) = ?")
                            .arg(QLatin1StringView(schema::Region.name)));
    return q.bind(1, listId).bind(2, withoutTrailingBlanks(region)).run();
}

} // namespace brovant
