#include "data/Database.h"

#include "data/Schema.h"

#include <QFile>
#include <sqlite3.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brovant {

Database::Database(QString hostFile, Durability durability)
    : m_file(std::move(hostFile))
    , m_durability(durability)
{
}

Database::~Database()
{
    close();
}

QString Database::createTableSql(const TableDescriptor& table)
{
    QString sql =
        QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (").arg(QLatin1StringView(table.name));
    bool first = true;
    for (const FieldDescriptor& f : table.fields) {
        if (!first)
            sql += QStringLiteral(", ");
        first = false;
        sql += QLatin1StringView(f.name);
        sql += f.type == FieldType::Text ? QStringLiteral(" TEXT") : QStringLiteral(" INTEGER");
    }
    sql += u')';
    return sql;
}

namespace {

// The file holds the forester's lists and its backups travel; only the owner reads it. SQLite
// gives its journal, WAL and shared-memory files the mode of the database file, so making the
// database owner-only before SQLite opens it covers them too. An older file and what a crash left
// beside it are narrowed the same way.
void makeOwnerOnly(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
        ::close(fd);
        return;
    }
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        ::chmod((path + suffix).constData(), 0600);
}

} // namespace

bool Database::open()
{
    if (m_db)
        return true;
    const QByteArray path = QFile::encodeName(m_file);
    // A database in memory (the office's scratch) has no file to protect.
    if (m_file != QLatin1StringView(kInMemory))
        makeOwnerOnly(path);
    // A connection belongs to the thread that opened it, so SQLite's own locking per call is
    // only cost (it shows in walks over the master rows).
    if (sqlite3_open_v2(path.constData(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr)
        != SQLITE_OK) {
        setError(QStringLiteral("open"));
        sqlite3_close_v2(m_db);
        m_db = nullptr;
        return false;
    }
    sqlite3_busy_timeout(m_db, 2000);
    const bool ok =
        exec(QStringLiteral("PRAGMA journal_mode=DELETE"))
        && exec(m_durability == Durability::Full ? QStringLiteral("PRAGMA synchronous=FULL")
                                                 : QStringLiteral("PRAGMA synchronous=OFF"));
    if (!ok) {
        close();
        return false;
    }
    Transaction create(*this);
    for (const TableDescriptor* table : schema::allTables()) {
        if (!exec(createTableSql(*table))) {
            const QString error = m_lastError;
            close();
            m_lastError = error;
            return false;
        }
    }
    // Lookups by list and by master-row kind; not part of the descriptors, only for speed.
    exec(QStringLiteral(
        "CREATE INDEX IF NOT EXISTS Brov_Holzdaten_ID_FILE ON Brov_Holzdaten(ID_FILE)"));
    exec(QStringLiteral("CREATE INDEX IF NOT EXISTS Brov_Region_ID_FILE ON Brov_Region(ID_FILE)"));
    if (!create.commit()) {
        close();
        return false;
    }
    clearFtpPassword();
    // Write-ahead log with a flush per commit: one flush makes a saved tree durable, where a
    // rollback journal needs three or four. Only once the file proved to be ours; closing the
    // last connection folds the log into the file and deletes it, so a closed database is still
    // one file.
    if (m_durability == Durability::Full)
        exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    return true;
}

void Database::clearFtpPassword()
{
    const QString table = QLatin1StringView(schema::Konfiguration.name);
    const QString held = QStringLiteral("FTP_PASSWORD IS NOT NULL AND FTP_PASSWORD <> ''");
    {
        auto q = query(QStringLiteral("SELECT COUNT(*) FROM %1 WHERE %2").arg(table, held));
        if (!q.next() || q.integer(0) == 0)
            return;
    }
    // Secure deletion zeroes the old cell, so the text is gone from the file, not only unlinked
    // from the row.
    std::int64_t secureDelete = 0;
    if (auto q = query(QStringLiteral("PRAGMA secure_delete")); q.next())
        secureDelete = q.integer(0);
    exec(QStringLiteral("PRAGMA secure_delete=ON"));
    query(QStringLiteral("UPDATE %1 SET FTP_PASSWORD = NULL WHERE %2").arg(table, held)).run();
    exec(QStringLiteral("PRAGMA secure_delete=%1")
             .arg(secureDelete == 2 ? QStringLiteral("FAST") : QString::number(secureDelete)));
}

void Database::close()
{
    if (!m_db)
        return;
    for (auto it = m_statements.begin(); it != m_statements.end(); ++it)
        sqlite3_finalize(it->stmt);
    m_statements.clear();
    for (sqlite3_stmt* stmt : std::as_const(m_privateStatements))
        sqlite3_finalize(stmt);
    m_privateStatements.clear();
    ++m_connection;
    m_savepoints = 0;
    sqlite3_close_v2(m_db);
    m_db = nullptr;
}

void Database::setError(const QString& context)
{
    m_lastError =
        context + QStringLiteral(": ")
        + (m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("no connection"));
}

bool Database::exec(const QString& sql)
{
    if (!m_db) {
        m_lastError = QStringLiteral("no connection");
        return false;
    }
    char* message = nullptr;
    const int rc = sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, &message);
    if (rc != SQLITE_OK) {
        m_lastError = QString::fromUtf8(message ? message : sqlite3_errstr(rc));
        sqlite3_free(message);
        return false;
    }
    return true;
}

bool Database::deleteAll(const TableDescriptor& table)
{
    return exec(QStringLiteral("DELETE FROM %1").arg(QLatin1StringView(table.name)));
}

Database::Query Database::query(const QString& sql)
{
    if (!m_db) {
        m_lastError = QStringLiteral("no connection");
        return Query(this, nullptr, false);
    }
    auto it = m_statements.find(sql);
    if (it != m_statements.end() && !it->inUse) {
        it->inUse = true;
        return Query(this, it->stmt, true);
    }
    sqlite3_stmt* stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v3(m_db, utf8.constData(), int(utf8.size()), SQLITE_PREPARE_PERSISTENT,
                           &stmt, nullptr)
        != SQLITE_OK) {
        setError(QStringLiteral("prepare"));
        return Query(this, nullptr, false);
    }
    // A statement already running (a nested use of the same text) gets a private copy.
    if (it != m_statements.end()) {
        m_privateStatements.insert(stmt);
        return Query(this, stmt, false);
    }
    m_statements.insert(sql, CachedStatement{stmt, true});
    return Query(this, stmt, true);
}

void Database::release(sqlite3_stmt* stmt, bool cached)
{
    if (!stmt)
        return;
    if (!cached) {
        m_privateStatements.remove(stmt);
        sqlite3_finalize(stmt);
        return;
    }
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    for (auto it = m_statements.begin(); it != m_statements.end(); ++it) {
        if (it->stmt == stmt) {
            it->inUse = false;
            return;
        }
    }
}

std::int64_t Database::userVersion()
{
    auto q = query(QStringLiteral("PRAGMA user_version"));
    return q.next() ? q.integer(0) : 0;
}

bool Database::setUserVersion(std::int64_t value)
{
    // A pragma takes no bound value; the number is written by the program.
    return exec(QStringLiteral("PRAGMA user_version = %1").arg(value));
}

std::int64_t Database::lastInsertRowId() const
{
    return m_db ? sqlite3_last_insert_rowid(m_db) : 0;
}

int Database::changes() const
{
    return m_db ? sqlite3_changes(m_db) : 0;
}

Database::Query::Query(Database* db, sqlite3_stmt* stmt, bool cached)
    : m_db(db)
    , m_stmt(stmt)
    , m_cached(cached)
    , m_connection(db->m_connection)
{
}

Database::Query::Query(Query&& other) noexcept
    : m_db(other.m_db)
    , m_stmt(other.m_stmt)
    , m_cached(other.m_cached)
    , m_connection(other.m_connection)
    , m_failed(other.m_failed)
{
    other.m_stmt = nullptr;
}

Database::Query::~Query()
{
    if (live())
        m_db->release(m_stmt, m_cached);
}

Database::Query& Database::Query::bind(int index, const FieldValue& value)
{
    if (!live())
        return *this;
    int rc = SQLITE_OK;
    if (const auto* n = std::get_if<std::int64_t>(&value)) {
        rc = sqlite3_bind_int64(m_stmt, index, *n);
    } else if (const auto* s = std::get_if<QString>(&value)) {
        const QByteArray utf8 = s->toUtf8();
        rc = sqlite3_bind_text(m_stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    } else {
        rc = sqlite3_bind_null(m_stmt, index);
    }
    if (rc != SQLITE_OK) {
        m_failed = true;
        m_db->setError(QStringLiteral("bind"));
    }
    return *this;
}

bool Database::Query::next()
{
    if (!live() || m_failed)
        return false;
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc != SQLITE_DONE) {
        m_failed = true;
        m_db->setError(QStringLiteral("step"));
    }
    return false;
}

bool Database::Query::run()
{
    if (!live() || m_failed)
        return false;
    int rc = sqlite3_step(m_stmt);
    while (rc == SQLITE_ROW)
        rc = sqlite3_step(m_stmt);
    if (rc != SQLITE_DONE) {
        m_failed = true;
        m_db->setError(QStringLiteral("step"));
        return false;
    }
    return true;
}

int Database::Query::columnCount() const
{
    return live() ? sqlite3_column_count(m_stmt) : 0;
}

FieldValue Database::Query::value(int column) const
{
    sqlite3_stmt* stmt = live();
    switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_INTEGER:
        return std::int64_t(sqlite3_column_int64(stmt, column));
    case SQLITE_FLOAT:
        return std::int64_t(sqlite3_column_double(stmt, column));
    case SQLITE_NULL:
        return std::monostate{};
    default:
        return text(column);
    }
}

std::int64_t Database::Query::integer(int column) const
{
    return sqlite3_column_int64(live(), column);
}

QString Database::Query::text(int column) const
{
    sqlite3_stmt* stmt = live();
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    return data ? QString::fromUtf8(data, sqlite3_column_bytes(stmt, column)) : QString();
}

std::string_view Database::Query::utf8(int column) const
{
    sqlite3_stmt* stmt = live();
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    return data ? std::string_view(data, size_t(sqlite3_column_bytes(stmt, column)))
                : std::string_view();
}

Database::Query::Type Database::Query::type(int column) const
{
    switch (sqlite3_column_type(live(), column)) {
    case SQLITE_INTEGER:
        return Type::Integer;
    case SQLITE_FLOAT:
        return Type::Float;
    case SQLITE_NULL:
        return Type::Null;
    case SQLITE_BLOB:
        return Type::Blob;
    default:
        return Type::Text;
    }
}

Database::Transaction::Transaction(Database& db)
    : m_db(db)
    , m_connection(db.m_connection)
{
    m_name = QStringLiteral("sp%1").arg(++m_db.m_savepoints);
    m_active = m_db.exec(QStringLiteral("SAVEPOINT ") + m_name);
    if (!m_active)
        --m_db.m_savepoints;
}

Database::Transaction::~Transaction()
{
    // A closed connection has dropped the savepoint already.
    if (!m_active || m_connection != m_db.m_connection)
        return;
    // Statements still stepping would keep the rollback from taking effect.
    for (auto it = m_db.m_statements.begin(); it != m_db.m_statements.end(); ++it) {
        if (!it->inUse)
            sqlite3_reset(it->stmt);
    }
    m_db.exec(QStringLiteral("ROLLBACK TO ") + m_name);
    m_db.exec(QStringLiteral("RELEASE ") + m_name);
    --m_db.m_savepoints;
}

bool Database::Transaction::commit()
{
    if (!m_active || m_connection != m_db.m_connection)
        return false;
    if (!m_db.exec(QStringLiteral("RELEASE ") + m_name))
        return false;
    m_active = false;
    --m_db.m_savepoints;
    return true;
}

} // namespace brovant
