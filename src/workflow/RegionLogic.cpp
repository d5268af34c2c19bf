#include "workflow/RegionLogic.h"

#include "workflow/ListHeaderLogic.h"
#include "data/ListStore.h"
#include "data/MasterRows.h"
#include "data/RegionRows.h"
#include "data/Schema.h"
#include "platform/MessageDialogs.h"

namespace brovant {
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
    const auto list = ListStore(m_db).byId(listId);
    if (!list)
        return false;
    m_listId = listId;
    m_listName = withoutTrailingBlanks(list->text(u"LISTE_NR"));
    readRows();
    return true;
}

void RegionLogic::readRows()
{
    m_rows.clear();
    for (const TableRow& row : RegionRows(m_db).ofList(m_listId)) {
        m_rows.push_back({withoutTrailingBlanks(row.text(u"REGION_A")),
                          withoutTrailingBlanks(row.text(u"BAUMART")),
                          withoutTrailingBlanks(row.text(u"TARIF"))});
    }
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
    const QString region = withoutTrailingBlanks(typed.trimmed());
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
        RegionRows regions(m_db);
        std::int64_t nextId = regions.nextId();
        written = transaction.active();
        for (const TableRow& assignment : MasterRows(m_db).assignments(region)) {
            if (!written)
                break;
            TableRow row(schema::Region);
            row.set(u"ID", nextId++);
            row.set(u"ID_FILE", m_listId);
            for (const char16_t* field : {u"REGION_A", u"BAUMART", u"TARIF"})
                row.set(field, assignment.value(field));
            written = regions.insert(row);
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
        removed = transaction.active() && RegionRows(m_db).remove(m_listId, region)
                  && transaction.commit();
    }
    readRows();
    if (!removed)
        m_dialogs.notice(QStringLiteral("Satz nicht gelöscht!"));
    return removed;
}

} // namespace brovant
