// Data-layer test helpers: a device root, and SQLite read directly, not through the code tested.
#pragma once

#include "data/Database.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>
#include <sqlite3.h>

#include <gtest/gtest.h>

#include <vector>

namespace brovant::test {

struct DatabaseRoot {
    TempRoot root;
    QString folder = root.host(QStringLiteral("Brovant"));
    QString file = folder + QStringLiteral("/Brovant.cdb");

    DatabaseRoot() { QDir().mkpath(folder); }
    // Everything in the Brovant folder, so a journal or WAL left beside the file shows up.
    QStringList entries() const
    {
        return QDir(folder).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }
};

// A test on the device database, open.
class OpenDatabase : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(db.open()) << db.lastError().toStdString(); }
    DatabaseRoot dir;
    Database db{dir.file};
};

using Rows = std::vector<QStringList>;

// Rows of `sql` as text ("<null>" for NULL); an error comes back as one row "<error>", message.
inline Rows rawRows(const QString& file, const QString& sql)
{
    sqlite3* db = nullptr;
    sqlite3_stmt* stmt = nullptr;
    Rows rows;
    if (sqlite3_open_v2(QFile::encodeName(file).constData(), &db, SQLITE_OPEN_READWRITE, nullptr)
            != SQLITE_OK
        || sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &stmt, nullptr) != SQLITE_OK)
        rows.push_back({QStringLiteral("<error>"), QString::fromUtf8(sqlite3_errmsg(db))});
    while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
        QStringList row;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
            row << (text ? QString::fromUtf8(text, sqlite3_column_bytes(stmt, i))
                         : QStringLiteral("<null>"));
        }
        rows.push_back(row);
    }
    sqlite3_finalize(stmt);
    sqlite3_close_v2(db);
    return rows;
}

inline bool rawExec(const QString& file, const QString& sql)
{
    sqlite3* db = nullptr;
    bool ok = sqlite3_open_v2(QFile::encodeName(file).constData(), &db,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr)
              == SQLITE_OK;
    ok = ok && sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close_v2(db);
    return ok;
}

} // namespace brovant::test
