#include "data/MasterRows.h"

#include "data/Schema.h"

namespace brovant {
namespace {

QLatin1StringView einstellungen()
{
    return QLatin1StringView(schema::Einstellungen.name);
}

FieldValue assignmentType()
{
    return FieldValue(std::int64_t(schema::TariffAssignmentRow));
}

} // namespace

std::vector<TableRow> MasterRows::ofType(int type, Order order) const
{
    return TableRow::select(m_db, schema::Einstellungen, QStringLiteral("ID_TYPE = ?"),
                            order == Order::ById ? QStringLiteral("ID, rowid")
                                                 : QStringLiteral("rowid"),
                            {FieldValue(std::int64_t(type))});
}

bool MasterRows::scan(std::initializer_list<int> types, Order order,
                      std::initializer_list<const char*> fields,
                      const std::function<bool(const Database::Query&)>& row) const
{
    QString placeholders;
    QList<FieldValue> values;
    for (const int type : types) {
        placeholders += placeholders.isEmpty() ? QStringLiteral("?") : QStringLiteral(", ?");
        values << FieldValue(std::int64_t(type));
    }
    return TableRow::scan(
        m_db, schema::Einstellungen, QStringLiteral("ID_TYPE IN (%1)").arg(placeholders),
        order == Order::ById ? QStringLiteral("ID, rowid") : QStringLiteral("rowid"), values,
        fields, row);
}

int MasterRows::count() const
{
    auto q = m_db.query(QStringLiteral("SELECT COUNT(*) FROM %1").arg(einstellungen()));
    return q.next() ? int(q.integer(0)) : 0;
}

std::vector<TableRow> MasterRows::assignments(const QString& region) const
{
    return TableRow::select(
        m_db, schema::Einstellungen, QStringLiteral("ID_TYPE = ? AND rtrim(REGION_A) = ?"),
        QStringLiteral("ID, rowid"), {assignmentType(), FieldValue(withoutTrailingBlanks(region))});
}

bool MasterRows::hasAssignments(const QString& region) const
{
    auto q = m_db.query(
        QStringLiteral("SELECT 1 FROM %1 WHERE ID_TYPE = ? AND rtrim(REGION_A) = ? LIMIT 1")
            .arg(einstellungen()));
    q.bind(1, assignmentType()).bind(2, withoutTrailingBlanks(region));
    return q.next();
}

std::vector<std::int64_t> MasterRows::assignmentIds(const QString& region,
                                                    const QString& species) const
{
    auto q = m_db.query(QStringLiteral("SELECT ID FROM %1 WHERE ID_TYPE = ? AND "
                                       "rtrim(REGION_A) = ? AND rtrim(BAUMART) = ?")
                            .arg(einstellungen()));
    q.bind(1, assignmentType()).bind(2, region).bind(3, species);
    std::vector<std::int64_t> ids;
    while (q.next())
        ids.push_back(q.integer(0));
    return ids;
}

std::int64_t MasterRows::nextId() const
{
    auto q = m_db.query(QStringLiteral("SELECT MAX(ID) FROM %1").arg(einstellungen()));
    if (!q.next() || isEmptyValue(q.value(0)))
        return 0;
    return q.integer(0) + 1;
}

} // namespace brovant
