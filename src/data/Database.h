// Data layer: the connection to the database file (one SQLite file). Owns opening, table
// creation from the field arrays, prepared statements with bound values and transactions. It
// knows nothing of lists or master data; Dataset gives the record-by-record view on a table.
#pragma once

#include "data/FieldDescriptor.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <cstdint>
#include <memory>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace brovant {

class Database {
public:
    // Full: every commit reaches the disk before it returns (the device's own files). Relaxed
    // skips the flushes; only for throw-away data such as fuzzing.
    enum class Durability { Full, Relaxed };

    // `hostFile` kInMemory: a database that lives only as long as the connection.
    static constexpr const char* kInMemory = ":memory:";
    explicit Database(QString hostFile, Durability durability = Durability::Full);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Opens the file, creating it owner-only when missing, and creates every table that is not
    // there yet. An FTP password that an earlier version kept in Brov_Konfiguration is cleared:
    // the registry alone holds it.
    bool open();
    // Finalises every statement and closes the file; no journal is left beside it.
    void close();
    bool isOpen() const { return m_db != nullptr; }
    const QString& file() const { return m_file; }
    QString lastError() const { return m_lastError; }

    // SQL without values: table creation, "DELETE FROM <table>". Values go through Query.
    bool exec(const QString& sql);
    bool deleteAll(const TableDescriptor& table);

    // A prepared statement; values are bound by position (1-based), never pasted into the text.
    // Statements are cached per SQL text while the connection is open.
    class Query {
    public:
        Query(Query&& other) noexcept;
        Query& operator=(Query&&) = delete;
        ~Query();

        bool valid() const { return live() != nullptr; }
        Query& bind(int index, const FieldValue& value);
        Query& bind(int index, std::int64_t value) { return bind(index, FieldValue(value)); }
        Query& bind(int index, const QString& value) { return bind(index, FieldValue(value)); }

        // True while a row is available; false at the end or on error (see Database::lastError).
        bool next();
        // Runs a statement that returns no rows.
        bool run();
        // True once a step failed: next() returning false is then no end of the rows.
        bool failed() const { return m_failed; }
        int columnCount() const;
        FieldValue value(int column) const;
        std::int64_t integer(int column) const;
        QString text(int column) const;
        // The column as SQLite's UTF-8 bytes, valid until the next step: for walks over many
        // rows that should not allocate per value.
        std::string_view utf8(int column) const;
        enum class Type { Null, Integer, Float, Text, Blob };
        // The storage class of the column in the current row.
        Type type(int column) const;

    private:
        friend class Database;
        Query(Database* db, sqlite3_stmt* stmt, bool cached);
        // The statement, or null once the connection it was prepared on has been closed.
        sqlite3_stmt* live() const
        {
            return m_connection == m_db->m_connection ? m_stmt : nullptr;
        }
        Database* m_db;
        sqlite3_stmt* m_stmt;
        bool m_cached;
        std::uint64_t m_connection;
        bool m_failed = false;
    };
    Query query(const QString& sql);

    std::int64_t lastInsertRowId() const;
    // The file's own number (SQLite's user_version), 0 until set; it commits with the
    // transaction that sets it.
    std::int64_t userVersion();
    bool setUserVersion(std::int64_t value);
    int changes() const;

    // Rolls back unless committed. Transactions nest (savepoints).
    class Transaction {
    public:
        explicit Transaction(Database& db);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        bool active() const { return m_active; }
        bool commit();

    private:
        Database& m_db;
        QString m_name;
        std::uint64_t m_connection;
        bool m_active = false;
    };

    static QString createTableSql(const TableDescriptor& table);

private:
    void clearFtpPassword();
    void setError(const QString& context);
    void release(sqlite3_stmt* stmt, bool cached);

    struct CachedStatement {
        sqlite3_stmt* stmt = nullptr;
        bool inUse = false;
    };

    QString m_file;
    Durability m_durability;
    sqlite3* m_db = nullptr;
    QHash<QString, CachedStatement> m_statements;
    // Nested copies of a cached text; close() finalises them too, or the connection would live on.
    QSet<sqlite3_stmt*> m_privateStatements;
    // Counts closes, so queries and transactions of an earlier connection leave the new one alone.
    std::uint64_t m_connection = 0;
    QString m_lastError;
    int m_savepoints = 0;
};

} // namespace brovant
