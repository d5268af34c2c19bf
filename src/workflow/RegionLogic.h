// Workflow: the region screen without its widgets. Shows the growth regions of one list
// (its Brov_Region rows, the "REG" records of its list file), adds a region with the tariffs the
// master data assign to it, and removes one. A region without assignments is checked and asked
// about as on the list header; keyboards, layout and screen switching are the screen's.
#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

namespace brovant {

class Database;
class MessageDialogs;

class RegionLogic {
public:
    // One Brov_Region row of the list, without trailing blanks.
    struct Row {
        QString region;
        QString species;
        QString tariff;
    };

    enum class Added {
        No,            // a check failed (its message was shown) or nothing was written
        Yes,           // the region's assignments are the list's now
        AssignTariffs, // the region has no assignments and the user chose to make them
    };

    // Both must outlive the logic.
    RegionLogic(Database& db, MessageDialogs& dialogs);

    // Reads the rows of that list. False, with no rows, when there is no such list.
    bool open(std::int64_t listId);
    std::int64_t listId() const { return m_listId; }
    // LISTE_NR of the list, without trailing blanks.
    const QString& listName() const { return m_listName; }
    const std::vector<Row>& rows() const { return m_rows; }
    // The distinct regions of the rows, in row order.
    QStringList listRegions() const;
    // The regions with tariff assignments, to choose from.
    QStringList masterRegions() const;

    // Copies every assignment of `region` (ID_TYPE 3 rows) into the list, in one transaction.
    // Refused with a notice when the region is empty or the list has it already; a region
    // without assignments asks whether to assign them.
    [[nodiscard]] Added add(const QString& region);
    // Removes the region of row `row` from the list after asking. True when it was removed.
    bool remove(int row);

private:
    void readRows();

    Database& m_db;
    MessageDialogs& m_dialogs;
    std::int64_t m_listId = -1;
    QString m_listName;
    std::vector<Row> m_rows;
};

} // namespace brovant
