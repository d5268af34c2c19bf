#include "workflow/RegionLogic.h"

#include "workflow/ListHeaderLogic.h"
#include "data/Database.h"
#include "data/Schema.h"
#include "platform/MessageDialogs.h"

namespace brovant {
namespace {

QLatin1StringView tableName(const TableDescriptor& table)
{
    return QLatin1StringView(table.name);
}

// Only blanks, as SQLite's rtrim() takes them, so both sides compare alike.
QString trimRight(const QString& text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1] == u' ')
        --end;
    return text.left(end);
}

} // namespace

RegionLogic::RegionLogic(Database& db, MessageDialogs& dialogs)
    : m_db(db)
    , m_dialogs(dialogs)
{
}

bool RegionLogic::open(std::int64_t listId)
{
    m_listId = -1;
    m_listName.clear();
    m_rows.clear();
    auto q = m_db.query(QStringLiteral("SELECT LISTE_NR FROM %1 WHERE ID_FILE = ? LIMIT 1")
                            .arg(tableName(schema::Kopfdaten)));
    q.bind(1, listId);
    if (!q.next())
        return false;
    m_listId = listId;
    m_listName = trimRight(q.text(0));
    readRows();
    return true;
}

void RegionLogic::readRows()
{
    m_rows.clear();
    auto q = m_db.query(QStringLiteral("SELECT REGION_A, BAUMART, TARIF FROM %1 WHERE ID_FILE = ? "
                                       "ORDER BY rowid")
                            .arg(tableName(schema::Region)));
    q.bind(1, m_listId);
    while (q.next())
        m_rows.push_back({trimRight(q.text(0)), trimRight(q.text(1)), trimRight(q.text(2))});
}

QStringList RegionLogic::listRegions() const
{
    QStringList out;
    for (const Row& row : m_rows) {
        if (!out.contains(row.region))
            out << row.region;
    }
    return out;
}

QStringList RegionLogic::masterRegions() const
{
    return ListHeaderLogic::regions(m_db);
}

RegionLogic::Added RegionLogic::add(const QString& typed)
{
    const QString region = trimRight(typed.trimmed());
    if (m_listId < 0)
        return Added::No;
    if (region.isEmpty()) {
        m_dialogs.notice(QStringLiteral("Eingabe fehlt !!!"));
        return Added::No;
    }
    if (listRegions().contains(region)) {
        m_dialogs.notice(QStringLiteral("Wuchsregion ist in der"),
                         QStringLiteral("Liste bereits vorhanden!"));
        return Added::No;
    }
    if (!ListHeaderLogic::hasTariffs(m_db, region))
        return ListHeaderLogic::askToAssignTariffs(m_dialogs) ? Added::AssignTariffs : Added::No;

    bool written = false;
    {
        Database::Transaction transaction(m_db);
        auto maxId = m_db.query(
            QStringLiteral("SELECT COALESCE(MAX(ID), 0) FROM %1").arg(tableName(schema::Region)));
        std::int64_t nextId = maxId.next() ? maxId.integer(0) + 1 : 1;
        auto assignments = m_db.query(QStringLiteral("SELECT REGION_A, BAUMART, TARIF FROM %1 "
                                                     "WHERE ID_TYPE = ? AND rtrim(REGION_A) = ? "
                                                     "ORDER BY ID, rowid")
                                          .arg(tableName(schema::Einstellungen)));
        assignments.bind(1, std::int64_t(schema::TariffAssignmentRow)).bind(2, region);
        written = transaction.active();
        while (written && assignments.next()) {
            auto insert = m_db.query(QStringLiteral("INSERT INTO %1 (ID, ID_FILE, REGION_A, "
                                                    "BAUMART, TARIF) VALUES (?, ?, ?, ?, ?)")
                                         .arg(tableName(schema::Region)));
            written = insert.bind(1, nextId++)
                          .bind(2, m_listId)
                          .bind(3, assignments.value(0))
                          .bind(4, assignments.value(1))
                          .bind(5, assignments.value(2))
                          .run();
        }
        written = written && transaction.commit();
    }
    readRows();
    if (!written) {
        m_dialogs.notice(QStringLiteral("Satz nicht gespeichert!"));
        return Added::No;
    }
    return Added::Yes;
}

bool RegionLogic::remove(int row)
{
    if (row < 0 || size_t(row) >= m_rows.size())
        return false;
    const QString region = m_rows[size_t(row)].region;
    if (m_dialogs.yesNo(QStringLiteral("Wuchsregion %1").arg(region),
                        QStringLiteral("aus der Liste entfernen?"))
        != Answer::Yes)
        return false;
    bool removed = false;
    {
        Database::Transaction transaction(m_db);
        auto q =
            m_db.query(QStringLiteral("DELETE FROM %1 WHERE ID_FILE = ? AND rtrim(REGION_A) = ?")
                           .arg(tableName(schema::Region)));
        removed = transaction.active() && q.bind(1, m_listId).bind(2, region).run()
                  && transaction.commit();
    }
    readRows();
    if (!removed)
        m_dialogs.notice(QStringLiteral("Satz nicht gelöscht!"));
    return removed;
}

} // namespace brovant
