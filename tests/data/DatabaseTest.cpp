#include "data/Database.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"
#include "data/StructureCheck.h"
#include "platform/DeviceRoot.h"
#include "support/CaseFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QMap>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <memory>
#include <vector>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::DatabaseRoot;
using test::rawRows;
using test::Rows;

const QStringList kDatabaseOnly = {u"Brovant.cdb"_s};
const QString kRegions = u"SELECT REGION_A FROM Brov_LastRegion ORDER BY REGION_A"_s;

bool insertRegion(Database& db, const QString& region)
{
    return db.query(u"INSERT INTO Brov_LastRegion (REGION_A) VALUES (?)"_s).bind(1, region).run();
}

QStringList regions(Database& db)
{
    QStringList out;
    for (auto q = db.query(kRegions); q.next();)
        out << q.text(0);
    return out;
}

using DatabaseTest = test::OpenDatabase;

TEST_F(DatabaseTest, ValuesAreBoundNotPastedAndRoundTripAndEveryTableHasItsColumns)
{
    for (const test::Case& c : test::readCases(u"data/data/bound_values.txt"_s)) {
        SCOPED_TRACE(c.where().constData());
        const FieldValue row[] = {std::int64_t(c.fields[0].toLongLong()), FieldValue{}, c.text(1)};
        ASSERT_TRUE(db.deleteAll(schema::Holzdaten));
        ASSERT_TRUE(
            db.query(u"INSERT INTO Brov_Holzdaten (ID, KUBATUR, BAUMART) VALUES (?, ?, ?)"_s)
                .bind(1, row[0])
                .bind(2, row[1])
                .bind(3, row[2])
                .run())
            << db.lastError().toStdString();
        auto q = db.query(u"SELECT ID, KUBATUR, BAUMART FROM Brov_Holzdaten WHERE BAUMART = ?"_s);
        q.bind(1, c.text(1));
        ASSERT_TRUE(q.next());
        EXPECT_EQ(std::vector({q.value(0), q.value(1), q.value(2)}), std::vector(row, row + 3));
        EXPECT_FALSE(q.next());
    }
    db.close();
    // Text fields are TEXT, numeric fields INTEGER holding the scaled value, in the stored order.
    for (const TableDescriptor* table : schema::allTables()) {
        Rows want;
        for (const FieldDescriptor& f : table->fields)
            want.push_back({f.name, f.type == FieldType::Text ? "TEXT" : "INTEGER"});
        EXPECT_EQ(
            rawRows(dir.file, u"SELECT name, type FROM pragma_table_info('%1') ORDER BY cid"_s.arg(
                                  QLatin1StringView(table->name))),
            want)
            << table->name;
    }
    EXPECT_EQ(rawRows(dir.file, u"SELECT COUNT(*) FROM sqlite_master WHERE type = 'table'"_s),
              Rows{{u"7"_s}});
}

// One script a line of data/transactions.txt.
TEST(DatabaseTransaction, KeepsOnlyWhatWasCommitted)
{
    for (const test::Case& c : test::readCases(u"data/data/transactions.txt"_s)) {
        SCOPED_TRACE(c.where().constData());
        DatabaseRoot dir;
        Database db(dir.file);
        ASSERT_TRUE(db.open());
        std::vector<std::unique_ptr<Database::Transaction>> open;
        std::vector<Database::Query> reading;
        for (const char* op = c.fields[0].constData(); *op; ++op) {
            if (*op == 'B') {
                open.push_back(std::make_unique<Database::Transaction>(db));
                EXPECT_TRUE(open.back()->active());
            } else if (*op == 'C' || *op == '!') {
                auto t = open.begin();
                for (auto it = open.begin(); *op == 'C' && it != open.end(); ++it)
                    t = (*it)->active() ? it : t;
                EXPECT_EQ((*t)->commit(), *op == 'C');
                EXPECT_FALSE((*t)->active());
            } else if (*op == 'E') {
                open.pop_back();
            } else if (*op == 'R') {
                reading.push_back(db.query(kRegions));
                EXPECT_TRUE(reading.back().next());
            } else if (*op == 'x') {
                EXPECT_FALSE(db.query(u"INSERT INTO Nowhere VALUES (?)"_s).valid());
                EXPECT_FALSE(db.lastError().isEmpty());
                EXPECT_FALSE(db.exec(u"DELETE FROM Brov_LastRegion WHERE"_s));
                EXPECT_FALSE(db.exec(u"INSERT INTO Brov_LastRegion VALUES (1)"_s));
            } else {
                ASSERT_TRUE(insertRegion(db, QString(QLatin1Char(*op))));
            }
        }
        ASSERT_TRUE(insertRegion(db, u"z"_s)) << "usable outside any transaction";
        db.close();
        Rows want;
        for (const QChar r : c.text(1) + u'z')
            want.push_back({r});
        EXPECT_EQ(rawRows(dir.file, kRegions), want);
        EXPECT_EQ(dir.entries(), kDatabaseOnly) << "no journal or WAL left beside the file";
    }
}

TEST_F(DatabaseTest, CommitsAreDurableClosingAnywhereLeavesOneFileAndCursorsNest)
{
    for (const char* pragma : {"journal_mode", "synchronous"}) {
        auto q = db.query(u"PRAGMA "_s + QLatin1StringView(pragma));
        ASSERT_TRUE(q.next());
        EXPECT_EQ(q.text(0), pragma[0] == 'j' ? u"wal"_s : u"2"_s) << "flushed to disk";
    }
    {
        Database::Transaction t(db);
        ASSERT_TRUE(insertRegion(db, u"kept"_s));
        ASSERT_TRUE(t.commit()) << db.lastError().toStdString();
    }
    // Committed means readable by another connection before this one closes.
    EXPECT_EQ(rawRows(dir.file, kRegions), Rows{{u"kept"_s}});
    {
        Database::Transaction t(db);
        ASSERT_TRUE(insertRegion(db, u"dropped"_s));
        db.close();
        EXPECT_FALSE(db.isOpen());
        EXPECT_EQ(dir.entries(), kDatabaseOnly);
    }
    EXPECT_EQ(rawRows(dir.file, kRegions), Rows{{u"kept"_s}});
    ASSERT_TRUE(db.open());
    {
        // A cached and a private statement, both still reading when the connection closes.
        auto cached = db.query(kRegions);
        auto privateCopy = db.query(kRegions);
        ASSERT_TRUE(cached.next() && privateCopy.next());
        db.close();
        EXPECT_FALSE(cached.next());
        EXPECT_FALSE(privateCopy.next());
        ASSERT_TRUE(db.open());
        // No lock of the old connection blocks the new one, and transactions work as before.
        Database::Transaction t(db);
        EXPECT_TRUE(insertRegion(db, u"again"_s)) << db.lastError().toStdString();
        ASSERT_TRUE(t.commit());
        EXPECT_TRUE(db.query(kRegions).next());
    }
    // The old queries died after the reopen; the cache of the new connection is intact.
    EXPECT_EQ(regions(db), QStringList({u"again"_s, u"kept"_s}));
    // The same statement used nested keeps both cursors; bounded, so a shared cursor that
    // restarts forever fails instead of hanging.
    QStringList pairs;
    for (auto outer = db.query(kRegions); outer.next() && pairs.size() < 20;) {
        for (auto inner = db.query(kRegions); inner.next() && pairs.size() < 20;)
            pairs << outer.text(0) + u'-' + inner.text(0);
    }
    EXPECT_EQ(pairs.join(u' '), u"again-again again-kept kept-again kept-kept"_s);
    db.close();
    EXPECT_EQ(dir.entries(), kDatabaseOnly);
}

// With a umask that lets everybody read, the database and what SQLite keeps beside it during a
// write (WAL and shared memory, or the rollback journal) are the owner's only; so is an older
// file that everybody could read.
TEST(Database, FilesAreTheOwnersOnly)
{
    const mode_t umaskBefore = ::umask(022);
    for (const auto durability : {Database::Durability::Full, Database::Durability::Relaxed}) {
        const bool older = durability == Database::Durability::Relaxed;
        SCOPED_TRACE(older);
        DatabaseRoot dir;
        if (older) {
            ASSERT_TRUE(test::rawExec(dir.file, u"CREATE TABLE t (x)"_s));
            ASSERT_EQ(::chmod(QFile::encodeName(dir.file).constData(), 0644), 0);
        }
        Database db(dir.file, durability);
        ASSERT_TRUE(db.open());
        Database::Transaction t(db);
        ASSERT_TRUE(insertRegion(db, u"a"_s));
        EXPECT_GT(dir.entries().size(), 1);
        for (const QString& name : dir.entries()) {
            struct stat info {};
            ASSERT_EQ(::stat(QFile::encodeName(dir.folder + u'/' + name).constData(), &info), 0);
            EXPECT_EQ(info.st_mode & 0777, 0600u) << name.toStdString();
        }
        EXPECT_TRUE(t.commit());
    }
    ::umask(umaskBefore);
}

// The FTP password belongs in the registry only; one an earlier version left in the table is
// cleared on opening, and its text is gone from the file, not just from the row.
TEST(Database, AnFtpPasswordLeftInTheTableIsCleared)
{
    DatabaseRoot dir;
    ASSERT_TRUE(Database(dir.file).open());
    ASSERT_TRUE(test::rawExec(dir.file, u"INSERT INTO Brov_Konfiguration (FTP_NAME, FTP_PASSWORD) "
                                        u"VALUES ('forst', 'Geheim-4711')"_s));
    ASSERT_TRUE(dir.root.readFile(u"Brovant/Brovant.cdb"_s).contains("Geheim-4711"));
    Database db(dir.file);
    ASSERT_TRUE(db.open());
    db.close();
    EXPECT_EQ(rawRows(dir.file, u"SELECT FTP_NAME, FTP_PASSWORD FROM Brov_Konfiguration"_s),
              (Rows{{u"forst"_s, u"<null>"_s}}));
    EXPECT_FALSE(dir.root.readFile(u"Brovant/Brovant.cdb"_s).contains("Geheim-4711"));
}

TEST(Database, OpenFailuresReportTheReason)
{
    // A text file in the database's place, a table name taken by an index, no folder.
    for (const char* message : {"not a database", "Struktur", ""}) {
        SCOPED_TRACE(message);
        DatabaseRoot dir;
        bool ready = true;
        if (*message == 'n')
            dir.root.writeFile(u"Brovant/Brovant.cdb"_s, QByteArray(4096, 'x'));
        else if (*message == 'S')
            ready =
                test::rawExec(dir.file, u"CREATE TABLE t (x); CREATE INDEX Struktur ON t (x)"_s);
        else
            ready = QDir(dir.folder).removeRecursively();
        ASSERT_TRUE(ready);
        const QByteArray before = dir.root.readFile(u"Brovant/Brovant.cdb"_s);
        Database db(dir.file);
        EXPECT_FALSE(db.open());
        EXPECT_FALSE(db.isOpen());
        EXPECT_TRUE(!db.lastError().isEmpty()
                    && db.lastError().contains(QLatin1StringView(message)))
            << db.lastError().toStdString();
        EXPECT_EQ(dir.root.readFile(u"Brovant/Brovant.cdb"_s), before);
        EXPECT_FALSE(QFile::exists(dir.file + u"-journal"_s));
    }
}

// A scratch database in memory leaves no file behind in the working folder.
TEST(DatabaseInMemory, KeepsTablesAndLeavesNoFile)
{
    QTemporaryDir dir;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(dir.path()));
    {
        Database db(QString::fromLatin1(Database::kInMemory), Database::Durability::Relaxed);
        ASSERT_TRUE(db.open());
        EXPECT_TRUE(db.query(QStringLiteral("SELECT COUNT(*) FROM Brov_Kopfdaten")).next());
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QDir::setCurrent(before);
}

using Verdict = StructureCheck::Verdict;

const QString kFile = u"Brovant/Brovant.cdb"_s;
const QByteArray kJunk = [] {
    QByteArray bytes(8192, '\0');
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = char(i * 131 % 251);
    return bytes;
}();

// Every entry below the root with its bytes (folders as "<dir>"), to see that nothing changed.
QMap<QString, QByteArray> snapshot(const DatabaseRoot& dir)
{
    QMap<QString, QByteArray> entries;
    QDirIterator it(dir.root.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile f(it.next());
        entries.insert(QDir(dir.root.path()).relativeFilePath(f.fileName()),
                       it.fileInfo().isDir()         ? "<dir>"
                       : f.open(QIODevice::ReadOnly) ? f.readAll()
                                                     : "?");
    }
    return entries;
}

// At the database's place: "db:" with these versions, "sql:", "bytes:", "junk", "folder",
// "missing".
bool prepare(const DatabaseRoot& dir, const QString& what)
{
    const QString arg = what.section(u':', 1);
    if (what.startsWith(u"db:")) {
        Database db(dir.file);
        bool ok = db.open();
        for (const QString& version : arg.split(u',', Qt::SkipEmptyParts))
            ok =
                ok
                && db.query(u"INSERT INTO Struktur (STRUKTUR) VALUES (?)"_s).bind(1, version).run();
        return ok;
    }
    if (what.startsWith(u"sql:"))
        return test::rawExec(dir.file, arg);
    if (what.startsWith(u"bytes:") || what == u"junk")
        dir.root.writeFile(kFile, what == u"junk" ? kJunk : arg.toUtf8());
    return what != u"folder" || QDir().mkpath(dir.file);
}

TEST(StructureCheck, VerdictLeavesTheFileAloneAndRecreateStartsAnEmptyDatabase)
{
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/structure.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const Verdict verdict = c.fields[1] == "missing"    ? Verdict::Missing
                                : c.fields[1] == "accepted" ? Verdict::Accepted
                                                            : Verdict::Foreign;
        DatabaseRoot dir;
        ASSERT_TRUE(prepare(dir, c.text(0)));
        const auto before = snapshot(dir);
        EXPECT_EQ(int(StructureCheck::inspect(dir.file)), int(verdict));
        EXPECT_EQ(snapshot(dir), before);

        // An older generation and leftovers of a crash beside the file.
        dir.root.writeFile(kFile + u".alt"_s, "previous generation");
        dir.root.writeFile(kFile + u"-journal"_s, kJunk.left(512));
        dir.root.writeFile(kFile + u"-wal"_s, kJunk.left(512));
        Database db(dir.file);
        ASSERT_TRUE(StructureCheck::recreate(db, DeviceRoot(dir.root.path())))
            << db.lastError().toStdString();
        ASSERT_TRUE(db.isOpen());
        for (const TableDescriptor* table : schema::allTables()) {
            auto rows = db.query(u"SELECT COUNT(*) FROM "_s + QLatin1StringView(table->name));
            ASSERT_TRUE(rows.next()) << table->name;
            EXPECT_EQ(rows.integer(0), table == &schema::Struktur ? 1 : 0) << table->name;
        }
        db.close();
        EXPECT_EQ(test::rawRows(dir.file, u"SELECT STRUKTUR FROM Struktur"_s),
                  test::Rows{{"T00300"}});
        EXPECT_TRUE(QFileInfo(dir.file).isFile());
        // One generation kept aside: the file that was there, else the older one.
        EXPECT_EQ(snapshot(dir).value(kFile + u".alt"_s),
                  verdict == Verdict::Missing ? "previous generation" : before.value(kFile));
        EXPECT_EQ(dir.entries(), QStringList({u"Brovant.cdb"_s, u"Brovant.cdb.alt"_s}))
            << "no journal or WAL of the old file is left to spoil the new one";
    }
}

TEST(StructureCheck, StructureRecordIsInsertedOnlyIntoAnEmptyTable)
{
    for (const auto& [what, after] : {std::pair("db:", "T00300"), std::pair("db:T00300", "T00300"),
                                      std::pair("db:T00200", "T00200")}) {
        DatabaseRoot dir;
        ASSERT_TRUE(prepare(dir, QString::fromUtf8(what)));
        Database db(dir.file);
        ASSERT_TRUE(db.open());
        EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
        EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
        db.close();
        EXPECT_EQ(test::rawRows(dir.file, u"SELECT STRUKTUR FROM Struktur"_s), test::Rows{{after}})
            << what;
    }
    Database closed(u"/nonexistent/Brovant.cdb"_s);
    EXPECT_FALSE(StructureCheck::ensureStructureRecord(closed));
}

} // namespace
} // namespace brovant
