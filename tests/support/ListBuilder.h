// Rows in a device database through the data layer, as the program writes them: a row of any
// table from named fields, a list's header row and its trees.
#pragma once

#include "data/Dataset.h"
#include "data/Schema.h"

#include <QVariant>

#include <gtest/gtest.h>

namespace brovant::test {

class ListBuilder {
public:
    // Field names and values, each a text or a whole number.
    using Fields = std::initializer_list<std::pair<const char16_t*, QVariant>>;

    explicit ListBuilder(Database& db)
        : m_db(db)
    {
    }

    void row(const TableDescriptor& table, Fields fields, Fields more = {})
    {
        Dataset row(m_db, table);
        row.clearFields();
        for (const Fields& set : {fields, more}) {
            for (const auto& [field, value] : set) {
                if (value.userType() == QMetaType::QString)
                    row.setText(field, value.toString());
                else
                    row.setInt(field, value.toLongLong());
            }
        }
        EXPECT_TRUE(row.insert()) << m_db.lastError().toStdString();
    }
    // The header row of list `id`; `more` sets further header fields.
    void list(std::int64_t id, const QString& number, int factor = 100, Fields more = {})
    {
        row(schema::Kopfdaten,
            {{u"ID_FILE", qint64(id)}, {u"LISTE_NR", number}, {u"KOR_FAKTOR_N", factor}}, more);
    }
    // A tree (ID_TYPE 1) of list `list`, its ID the next of this builder's.
    void tree(std::int64_t list, const QString& species, std::int64_t count, std::int64_t volume,
              Fields more = {})
    {
        row(schema::Holzdaten,
            {{u"ID", ++m_treeId},
             {u"ID_FILE", qint64(list)},
             {u"ID_TYPE", 1},
             {u"BAUMART", species},
             {u"STK", qint64(count)},
             {u"KUBATUR", qint64(volume)}},
            more);
    }

private:
    Database& m_db;
    qint64 m_treeId = 0;
};

} // namespace brovant::test
