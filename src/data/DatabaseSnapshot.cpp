#include "data/DatabaseSnapshot.h"

#include <QFile>
#include <QFileInfo>
#include <sqlite3.h>

#include <fcntl.h>
#include <unistd.h>

namespace brovant {

namespace {

// Closes the connection when it goes out of scope; close() reports whether that worked.
class Connection {
public:
    Connection() = default;
    ~Connection() { close(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool open(const QString& file, int flags)
    {
        return sqlite3_open_v2(QFile::encodeName(file).constData(), &m_db, flags, nullptr)
               == SQLITE_OK;
    }
    bool close()
    {
        const int rc = m_db ? sqlite3_close(m_db) : SQLITE_OK;
        if (rc == SQLITE_OK)
            m_db = nullptr;
        return rc == SQLITE_OK;
    }
    sqlite3* get() const { return m_db; }

    // The first column of the first row as text; empty on error.
    QByteArray single(const char* sql) const
    {
        sqlite3_stmt* stmt = nullptr;
        QByteArray result;
        if (sqlite3_prepare_v2(m_db, sql, -1, &stmt, nullptr) == SQLITE_OK
            && sqlite3_step(stmt) == SQLITE_ROW) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
            result = text ? QByteArray(text) : QByteArray();
        }
        sqlite3_finalize(stmt);
        return result;
    }

private:
    sqlite3* m_db = nullptr;
};

bool flushToMedium(const QString& file)
{
    const int fd = ::open(QFile::encodeName(file).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

// A database copy holds every list, so it is the owner's alone from its first byte: an empty file
// of that mode, which SQLite then fills.
bool createOwnerOnly(const QString& file)
{
    // Removed first: an existing file would keep its mode, a link would lead elsewhere.
    const QByteArray path = QFile::encodeName(file);
    ::unlink(path.constData());
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

bool runCopy(const QString& sourceFile, const QString& targetFile,
             const DatabaseSnapshot::Progress& progress)
{
    Connection source;
    // Read-only and without create: a missing database is a failed copy, not a new empty one.
    if (!source.open(sourceFile, SQLITE_OPEN_READONLY))
        return false;
    sqlite3_busy_timeout(source.get(), 2000);
    if (!createOwnerOnly(targetFile))
        return false;
    Connection target;
    if (!target.open(targetFile, SQLITE_OPEN_READWRITE))
        return false;
    // The target is a temporary file until it is complete; a journal beside it would only be
    // one more thing a crash leaves behind. It is flushed once, at the end.
    if (sqlite3_exec(target.get(), "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF", nullptr,
                     nullptr, nullptr)
        != SQLITE_OK)
        return false;
    sqlite3_backup* backup = sqlite3_backup_init(target.get(), "main", source.get(), "main");
    if (!backup)
        return false;
    int rc = SQLITE_OK;
    bool abandoned = false;
    while (rc == SQLITE_OK) {
        rc = sqlite3_backup_step(backup, DatabaseSnapshot::kPagesPerStep);
        if ((rc == SQLITE_OK || rc == SQLITE_DONE) && progress) {
            const int total = sqlite3_backup_pagecount(backup);
            if (!progress(total - sqlite3_backup_remaining(backup), total)) {
                abandoned = true;
                break;
            }
        }
    }
    const bool finished = sqlite3_backup_finish(backup) == SQLITE_OK;
    if (abandoned || rc != SQLITE_DONE || !finished)
        return false;
    return source.close() && target.close() && flushToMedium(targetFile);
}

} // namespace

bool DatabaseSnapshot::copy(const QString& sourceFile, const QString& targetFile,
                            const Progress& progress)
{
    QFile::remove(targetFile);
    if (runCopy(sourceFile, targetFile, progress))
        return true;
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        QFile::remove(targetFile + QLatin1StringView(suffix));
    return false;
}

bool DatabaseSnapshot::isIntact(const QString& file)
{
    const QFileInfo info(file);
    if (!info.isFile())
        return false;
    Connection db;
    if (!db.open(file, SQLITE_OPEN_READONLY))
        return false;
    bool counted = false;
    bool sized = false;
    const qint64 pages = db.single("PRAGMA page_count").toLongLong(&counted);
    const qint64 pageSize = db.single("PRAGMA page_size").toLongLong(&sized);
    // SQLite reads missing pages of a cut-off file as zeros; the header's count gives it away.
    if (!counted || !sized || pages <= 0 || pages * pageSize > info.size())
        return false;
    return db.single("PRAGMA quick_check") == "ok";
}

} // namespace brovant
