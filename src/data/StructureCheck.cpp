#include "data/StructureCheck.h"

#include "data/Schema.h"
#include "platform/DeviceRoot.h"

#include <QFile>
#include <QFileInfo>
#include <sqlite3.h>

namespace brovant {

StructureCheck::Verdict StructureCheck::inspect(const QString& hostFile)
{
    if (!QFileInfo(hostFile).isFile())
        return QFileInfo::exists(hostFile) ? Verdict::Foreign : Verdict::Missing;
    sqlite3* db = nullptr;
    // Read-write without create, so a journal left by a crash is rolled back first.
    if (sqlite3_open_v2(QFile::encodeName(hostFile).constData(), &db, SQLITE_OPEN_READWRITE,
                        nullptr)
        != SQLITE_OK) {
        sqlite3_close_v2(db);
        return Verdict::Foreign;
    }
    Verdict verdict = Verdict::Foreign;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT STRUKTUR FROM Struktur", -1, &stmt, nullptr) == SQLITE_OK) {
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
            if (text && QByteArray(text) == schema::kStructureVersion) {
                verdict = Verdict::Accepted;
                break;
            }
        }
    }
    sqlite3_finalize(stmt);
    sqlite3_close_v2(db);
    return verdict;
}

bool StructureCheck::recreate(Database& db, const DeviceRoot& root)
{
    db.close();
    const QString file = root.hostPath(QString::fromUtf16(kDatabasePath));
    if (QFileInfo::exists(file)) {
        const QString aside = root.hostPath(QString::fromUtf16(kDatabaseAsidePath));
        QFile::remove(aside);
        if (!QFile::rename(file, aside) && !QFile::remove(file))
            return false;
    }
    QFile::remove(file + QStringLiteral("-journal"));
    QFile::remove(file + QStringLiteral("-wal"));
    QFile::remove(file + QStringLiteral("-shm"));
    return db.open() && ensureStructureRecord(db);
}

bool StructureCheck::ensureStructureRecord(Database& db)
{
    auto count = db.query(QStringLiteral("SELECT COUNT(*) FROM Struktur"));
    if (!count.next())
        return false;
    if (count.integer(0) > 0)
        return true;
    auto insert = db.query(QStringLiteral("INSERT INTO Struktur (STRUKTUR) VALUES (?)"));
    insert.bind(1, QString::fromLatin1(schema::kStructureVersion));
    return insert.run();
}

} // namespace brovant
