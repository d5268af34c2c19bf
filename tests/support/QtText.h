// Texts between Qt and gtest, and a query's rows as the tests compare them.
#pragma once

#include "data/Database.h"

#include <QString>
#include <QStringList>

#include <string>

namespace brovant::test {

inline std::string str(const QString& text)
{
    return text.toStdString();
}

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// Every row of `sql` on `db`, its columns joined by '|'.
inline QStringList joinedRows(Database& db, const QString& sql)
{
    QStringList out;
    auto q = db.query(sql);
    while (q.next()) {
        QStringList columns;
        for (int i = 0; i < q.columnCount(); ++i)
            columns << q.text(i);
        out << columns.join(u'|');
    }
    return out;
}

} // namespace brovant::test
