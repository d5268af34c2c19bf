#include "data/Database.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::DatabaseRoot;
using test::rawExec;
using test::rawRows;
using test::Rows;

const QStringList kDatabaseOnly = {u"Brovant.cdb"_s};

bool insertRegion(Database& db, const QString& region)
{
    return db.query(u"INSERT INTO Brov_LastRegion (REGION_A) VALUES (?)"_s).bind(1, region).run();
}

int countOf(Database& db, const QString& table)
{
    auto q = db.query(u"SELECT COUNT(*) FROM "_s + table);
    return q.next() ? int(q.integer(0)) : -1;
}

TEST(Database, OpenCreatesEveryTableWithItsColumns)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open()) << db.lastError().toStdString();
    EXPECT_TRUE(QFile::exists(dir.file));

    QStringList tables;
    for (auto q = db.query(u"SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"_s);
         q.next();)
        tables << q.text(0);
    QStringList expected;
    for (const TableDescriptor* table : schema::allTables())
        expected << QString::fromLatin1(table->name);
    expected.sort();
    EXPECT_EQ(tables, expected);

    db.close();
    // Text fields are TEXT, numeric fields INTEGER holding the scaled value, in the stored order.
    for (const TableDescriptor* table : schema::allTables()) {
        Rows want;
        for (const FieldDescriptor& f : table->fields)
            want.push_back({QString::fromLatin1(f.name),
                            f.type == FieldType::Text ? u"TEXT"_s : u"INTEGER"_s});
        EXPECT_EQ(
            rawRows(dir.file, u"SELECT name, type FROM pragma_table_info('%1') ORDER BY cid"_s.arg(
                                  QLatin1StringView(table->name))),
            want)
            << table->name;
    }
}

TEST(Database, ValuesAreBoundNotPasted)
{
    const QString texts[] = {
        u"O'Brien"_s,
        u"'; DROP TABLE Brov_Konfiguration; --"_s,
        u"\"quoted\" ''"_s,
        u"Fichte Ä Ö Ü ä ö ü ß €"_s,
        u"%s %d %1 ? :a @b $c"_s,
        u"back\\slash"_s,
        u"line\r\nbreak"_s,
        u""_s,
    };
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    for (const QString& text : texts) {
        SCOPED_TRACE(text.toStdString());
        ASSERT_TRUE(db.deleteAll(schema::Konfiguration));
        ASSERT_TRUE(db.query(u"INSERT INTO Brov_Konfiguration (FTP_SERVER, INIT_A) VALUES (?, ?)"_s)
                        .bind(1, text)
                        .bind(2, u"x"_s)
                        .run())
            << db.lastError().toStdString();
        auto q = db.query(u"SELECT FTP_SERVER FROM Brov_Konfiguration WHERE FTP_SERVER = ?"_s);
        q.bind(1, text);
        ASSERT_TRUE(q.next());
        EXPECT_EQ(q.text(0), text);
        EXPECT_FALSE(q.next());
    }
    EXPECT_EQ(countOf(db, u"Brov_Konfiguration"_s), 1);
    db.close();
    EXPECT_EQ(rawRows(dir.file, u"SELECT COUNT(*) FROM sqlite_master WHERE type = 'table'"_s),
              Rows{{u"7"_s}});
}

TEST(Database, IntegersAndEmptyValuesRoundTrip)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    const std::int64_t numbers[] = {0, -135, 999999, std::numeric_limits<std::int64_t>::min()};
    for (std::int64_t n : numbers) {
        ASSERT_TRUE(db.query(u"INSERT INTO Brov_Holzdaten (ID, KUBATUR) VALUES (?, ?)"_s)
                        .bind(1, n)
                        .bind(2, FieldValue{})
                        .run());
        auto q = db.query(u"SELECT ID, KUBATUR FROM Brov_Holzdaten WHERE rowid = ?"_s);
        q.bind(1, db.lastInsertRowId());
        ASSERT_TRUE(q.next());
        EXPECT_EQ(q.value(0), FieldValue(n));
        EXPECT_EQ(q.value(1), FieldValue{});
    }
}

TEST(Database, SameStatementUsedNestedKeepsBothCursors)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    for (const QString& r : {u"a"_s, u"b"_s, u"c"_s})
        ASSERT_TRUE(insertRegion(db, r));
    const QString sql = u"SELECT REGION_A FROM Brov_LastRegion ORDER BY REGION_A"_s;
    QStringList pairs;
    // Bounded, so a shared cursor that restarts forever fails instead of hanging.
    for (auto outer = db.query(sql); outer.next() && pairs.size() < 20;) {
        for (auto inner = db.query(sql); inner.next() && pairs.size() < 20;)
            pairs << outer.text(0) + inner.text(0);
    }
    EXPECT_EQ(pairs, QStringList({u"aa"_s, u"ab"_s, u"ac"_s, u"ba"_s, u"bb"_s, u"bc"_s, u"ca"_s,
                                  u"cb"_s, u"cc"_s}));
}

struct TransactionCase {
    const char* label;
    std::function<void(Database&)> work;
    QStringList kept; // LastRegion rows after close, sorted
};

std::ostream& operator<<(std::ostream& os, const TransactionCase& c)
{
    return os << c.label;
}

class DatabaseTransaction : public ::testing::TestWithParam<TransactionCase> {};

TEST_P(DatabaseTransaction, KeepsOnlyWhatWasCommitted)
{
    const TransactionCase& c = GetParam();
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    c.work(db);
    // Still usable afterwards, outside any transaction.
    ASSERT_TRUE(insertRegion(db, u"after"_s));
    db.close();

    QStringList kept = c.kept + QStringList{u"after"_s};
    kept.sort();
    Rows want;
    for (const QString& r : kept)
        want.push_back({r});
    EXPECT_EQ(rawRows(dir.file, u"SELECT REGION_A FROM Brov_LastRegion ORDER BY REGION_A"_s), want);
    // The database is one file again: no journal or WAL beside it.
    EXPECT_EQ(dir.entries(), kDatabaseOnly);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DatabaseTransaction,
    ::testing::Values(
        TransactionCase{"committed",
                        [](Database& db) {
                            Database::Transaction t(db);
                            ASSERT_TRUE(t.active());
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            ASSERT_TRUE(t.commit());
                            EXPECT_FALSE(t.active());
                        },
                        {u"a"_s}},
        TransactionCase{"not_committed",
                        [](Database& db) {
                            Database::Transaction t(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                        },
                        {}},
        TransactionCase{"inner_committed_outer_not",
                        [](Database& db) {
                            Database::Transaction outer(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            Database::Transaction inner(db);
                            ASSERT_TRUE(insertRegion(db, u"b"_s));
                            ASSERT_TRUE(inner.commit());
                        },
                        {}},
        TransactionCase{"inner_rolled_back_outer_committed",
                        [](Database& db) {
                            Database::Transaction outer(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            {
                                Database::Transaction inner(db);
                                ASSERT_TRUE(insertRegion(db, u"b"_s));
                            }
                            ASSERT_TRUE(insertRegion(db, u"c"_s));
                            ASSERT_TRUE(outer.commit());
                        },
                        {u"a"_s, u"c"_s}},
        TransactionCase{"siblings_one_rolled_back",
                        [](Database& db) {
                            Database::Transaction outer(db);
                            {
                                Database::Transaction first(db);
                                ASSERT_TRUE(insertRegion(db, u"a"_s));
                                ASSERT_TRUE(first.commit());
                            }
                            {
                                Database::Transaction second(db);
                                ASSERT_TRUE(insertRegion(db, u"b"_s));
                            }
                            {
                                Database::Transaction third(db);
                                ASSERT_TRUE(insertRegion(db, u"c"_s));
                                ASSERT_TRUE(third.commit());
                            }
                            ASSERT_TRUE(outer.commit());
                        },
                        {u"a"_s, u"c"_s}},
        TransactionCase{"three_deep_all_committed",
                        [](Database& db) {
                            Database::Transaction a(db);
                            Database::Transaction b(db);
                            Database::Transaction c(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            EXPECT_TRUE(c.commit());
                            EXPECT_TRUE(b.commit());
                            EXPECT_TRUE(a.commit());
                            EXPECT_FALSE(a.commit());
                        },
                        {u"a"_s}},
        TransactionCase{"failed_statement_then_commit",
                        [](Database& db) {
                            Database::Transaction t(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            EXPECT_FALSE(db.query(u"INSERT INTO Nowhere VALUES (?)"_s).valid());
                            EXPECT_FALSE(db.lastError().isEmpty());
                            EXPECT_FALSE(db.exec(u"DELETE FROM Brov_LastRegion WHERE"_s));
                            ASSERT_TRUE(t.commit());
                        },
                        {u"a"_s}},
        TransactionCase{"failed_statement_rolled_back",
                        [](Database& db) {
                            Database::Transaction t(db);
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            EXPECT_FALSE(db.exec(u"INSERT INTO Brov_LastRegion VALUES (1)"_s));
                        },
                        {}},
        TransactionCase{"rolled_back_while_reading",
                        [](Database& db) {
                            ASSERT_TRUE(insertRegion(db, u"a"_s));
                            auto reading = db.query(u"SELECT REGION_A FROM Brov_LastRegion"_s);
                            ASSERT_TRUE(reading.next());
                            Database::Transaction t(db);
                            ASSERT_TRUE(insertRegion(db, u"b"_s));
                        },
                        {u"a"_s}}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(Database, CommitsAreDurableAndLeaveOneFile)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    {
        auto mode = db.query(u"PRAGMA journal_mode"_s);
        ASSERT_TRUE(mode.next());
        EXPECT_EQ(mode.text(0), u"delete"_s);
        auto sync = db.query(u"PRAGMA synchronous"_s);
        ASSERT_TRUE(sync.next());
        EXPECT_EQ(sync.integer(0), 2) << "commits must be flushed to disk";
    }

    Database::Transaction t(db);
    ASSERT_TRUE(insertRegion(db, u"a"_s));
    ASSERT_TRUE(t.commit()) << db.lastError().toStdString();
    // Committed means readable by another connection before this one closes.
    EXPECT_EQ(rawRows(dir.file, u"SELECT REGION_A FROM Brov_LastRegion"_s), Rows{{u"a"_s}});
    EXPECT_EQ(dir.entries(), kDatabaseOnly);
}

TEST(Database, CloseInsideATransactionDropsItAndLeavesOneFile)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    ASSERT_TRUE(insertRegion(db, u"kept"_s));
    {
        Database::Transaction t(db);
        ASSERT_TRUE(insertRegion(db, u"dropped"_s));
        db.close();
        EXPECT_FALSE(db.isOpen());
        EXPECT_EQ(dir.entries(), kDatabaseOnly);
    }
    EXPECT_EQ(rawRows(dir.file, u"SELECT REGION_A FROM Brov_LastRegion"_s), Rows{{u"kept"_s}});
    // The connection can be opened again and transactions work as before.
    ASSERT_TRUE(db.open());
    Database::Transaction t(db);
    ASSERT_TRUE(insertRegion(db, u"again"_s));
    ASSERT_TRUE(t.commit());
    EXPECT_EQ(countOf(db, u"Brov_LastRegion"_s), 2);
}

TEST(Database, QueryLeftOpenAcrossCloseIsHarmless)
{
    DatabaseRoot dir;
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    ASSERT_TRUE(insertRegion(db, u"a"_s));
    const QString sql = u"SELECT REGION_A FROM Brov_LastRegion"_s;
    {
        // The first use of a text is cached, a nested second one is a private statement; both
        // are still reading when the connection closes.
        auto cached = db.query(sql);
        auto privateCopy = db.query(sql);
        ASSERT_TRUE(cached.next());
        ASSERT_TRUE(privateCopy.next());
        db.close();
        EXPECT_FALSE(cached.next());
        EXPECT_FALSE(privateCopy.next());
        ASSERT_TRUE(db.open());
        // The old connection must be gone: no lock of it blocks the new one.
        EXPECT_TRUE(insertRegion(db, u"b"_s)) << db.lastError().toStdString();
        auto fresh = db.query(sql);
        EXPECT_TRUE(fresh.next());
    }
    // The old queries died after the reopen; the cache of the new connection is intact.
    QStringList regions;
    for (auto q = db.query(sql); q.next();)
        regions << q.text(0);
    EXPECT_EQ(regions, QStringList({u"a"_s, u"b"_s}));
    db.close();
    EXPECT_EQ(dir.entries(), kDatabaseOnly);
}

TEST(Database, OpenFailuresReportTheReason)
{
    struct Row {
        const char* label;
        std::function<bool(const DatabaseRoot&)> prepare;
        const char* message; // part of lastError
    };
    const Row rows[] = {
        {"text_file",
         [](const DatabaseRoot& dir) {
             dir.root.writeFile(u"Brovant/Brovant.cdb"_s, QByteArray(4096, 'x'));
             return true;
         },
         "not a database"},
        {"name_taken_by_an_index",
         [](const DatabaseRoot& dir) {
             return rawExec(dir.file, u"CREATE TABLE t (x); CREATE INDEX Struktur ON t (x)"_s);
         },
         "Struktur"},
        {"folder_missing",
         [](const DatabaseRoot& dir) { return QDir(dir.folder).removeRecursively(); }, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        DatabaseRoot dir;
        ASSERT_TRUE(row.prepare(dir));
        const QByteArray before = dir.root.readFile(u"Brovant/Brovant.cdb"_s);
        Database db(dir.file);
        EXPECT_FALSE(db.open());
        EXPECT_FALSE(db.isOpen());
        EXPECT_TRUE(db.lastError().contains(QLatin1StringView(row.message)))
            << db.lastError().toStdString();
        EXPECT_FALSE(db.lastError().isEmpty());
        EXPECT_EQ(dir.root.readFile(u"Brovant/Brovant.cdb"_s), before);
        EXPECT_FALSE(QFile::exists(dir.file + u"-journal"_s));
    }
}

} // namespace
} // namespace brovant
