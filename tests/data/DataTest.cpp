// The data layer: the device database and its transactions, the structure check, datasets, the
// tables' layout and fixed-length records.
#include "data/DataTestSupport.h"
#include "data/Database.h"
#include "data/Dataset.h"
#include "data/FixedRecords.h"
#include "data/Schema.h"
#include "data/StructureCheck.h"
#include "platform/DeviceRoot.h"
#include "support/CaseFile.h"

#include <QBuffer>
#include <QDir>
#include <QDirIterator>
#include <QMap>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
    // The old queries died after the reopen; the cache of the new connection is intact and the
    // same statement used nested keeps both cursors (bounded, so a shared cursor that restarts
    // forever fails instead of hanging).
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

TEST(StructureCheck, VerdictLeavesTheFileAloneRecordGoesIntoAnEmptyTableRecreateStartsEmpty)
{
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/structure.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const Verdict verdict = c.fields[1] == "missing"    ? Verdict::Missing
                                : c.fields[1] == "accepted" ? Verdict::Accepted
                                                            : Verdict::Foreign;
        DatabaseRoot dir;
        ASSERT_TRUE(prepare(dir, c.text(0)));
        auto before = snapshot(dir);
        EXPECT_EQ(int(StructureCheck::inspect(dir.file)), int(verdict));
        EXPECT_EQ(snapshot(dir), before);
        if (c.text(2) != u"-") {
            // The structure record is inserted only into an empty table.
            Database db(dir.file);
            ASSERT_TRUE(db.open());
            EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
            EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
            db.close();
            test::Rows records;
            for (const QString& record : c.text(2).split(u','))
                records.push_back({record});
            EXPECT_EQ(test::rawRows(dir.file, u"SELECT STRUKTUR FROM Struktur ORDER BY rowid"_s),
                      records);
            before = snapshot(dir);
        }

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
    Database closed(u"/nonexistent/Brovant.cdb"_s);
    EXPECT_FALSE(StructureCheck::ensureStructureRecord(closed));
}

using Ids = std::vector<std::int64_t>;

class DatasetTest : public test::OpenDatabase {
protected:
    using Values = std::initializer_list<std::pair<const char16_t*, FieldValue>>;
    // Sets the named buffers; `fresh` empties all others first.
    static void put(Dataset& d, Values values, bool fresh = true)
    {
        if (fresh)
            d.clearFields();
        for (const auto& [field, value] : values)
            d.setValue(field, value);
    }

    // ID, list, species, BHD; stored order differs from ID order, so the two are told apart.
    void addTrees()
    {
        const std::tuple<int, int, QString, int> trees[] = {{3, 1, "FI", 30}, {1, 1, "KI", 45},
                                                            {5, 2, "FI", 22}, {2, 1, "FI", 45},
                                                            {4, 2, "BU", 60}, {6, 1, "FI", 12}};
        Dataset rows(db, schema::Holzdaten);
        for (const auto& [id, list, species, bhd] : trees) {
            put(rows, {{u"ID", id}, {u"ID_FILE", list}, {u"BAUMART", species}, {u"BHD", bhd}});
            ASSERT_TRUE(rows.insert()) << db.lastError().toStdString();
        }
    }

    // The IDs from the first record to the last (or back); bounded, so a loop cannot hang.
    static Ids walk(Dataset& rows, bool back = false)
    {
        Ids ids;
        for (bool ok = back ? rows.moveLast() : rows.moveFirst();
             ok && !rows.eof() && ids.size() <= size_t(rows.count());
             ok = back ? rows.movePrevious() : rows.moveNext())
            ids.push_back(rows.loadInt(u"ID"));
        return ids;
    }

    // Rows as read by SQLite itself: cells joined by blanks, rows by '|'.
    QString stored(const QString& sql)
    {
        db.close();
        QStringList rows;
        for (const QStringList& row : test::rawRows(dir.file, sql))
            rows << row.join(u' ');
        EXPECT_TRUE(db.open());
        return rows.join(u'|');
    }
};

TEST_F(DatasetTest, FiltersSelectAndOrderTheRecordsAndTheCursorStopsAtBothEnds)
{
    addTrees();
    const std::tuple<const char*, Filter, Ids> rows[] = {
        {"all in stored order", Filter::all(), {3, 1, 5, 2, 4, 6}},
        {"ordered", Filter::ordered(u"ID"_s), {1, 2, 3, 4, 5, 6}},
        {"ties keep stored order", Filter::ordered(u"BHD DESC"_s), {4, 1, 2, 3, 5, 6}},
        {"one list", Filter::byList(2), {5, 4}},
        {"bound values",
         {u"BAUMART = ? AND BHD >= ?"_s, {FieldValue(u"FI"_s), FieldValue(22)}, u"BHD"_s},
         {5, 3, 2}},
        {"value looking like sql", {u"BAUMART = ?"_s, {FieldValue(u"FI' OR '1'='1"_s)}, {}}, {}},
        {"no match", Filter::byList(99), {}}};
    Dataset trees(db, schema::Holzdaten);
    for (const auto& [label, filter, ids] : rows) {
        SCOPED_TRACE(label);
        ASSERT_TRUE(trees.reset(filter)) << db.lastError().toStdString();
        EXPECT_EQ(trees.count(), int(ids.size()));
        EXPECT_EQ(trees.eof(), ids.empty()) << "after reset";
        EXPECT_EQ(trees.loadInt(u"ID"), ids.empty() ? 0 : ids.front()) << "stands on the first";
        EXPECT_EQ(walk(trees), ids);
        EXPECT_TRUE(trees.eof()) << "past the last record";
        EXPECT_EQ(walk(trees, true), Ids(ids.rbegin(), ids.rend()));
        EXPECT_EQ(trees.moveFirst(), !ids.empty());
        EXPECT_EQ(trees.moveLast(), !ids.empty());
    }
    EXPECT_FALSE(trees.reset({u"NO_SUCH_FIELD = ?"_s, {FieldValue(1)}, {}}));
    EXPECT_TRUE(trees.eof());
    EXPECT_TRUE(trees.loadIsEmpty(u"ID")) << "a failed reset leaves no record";

    ASSERT_TRUE(trees.reset(Filter::byList(2))); // IDs 5, 4
    // Each move with the ID it lands on; 0: off either end, where no values are left.
    const std::pair<char, int> steps[] = {{'N', 4}, {'N', 0}, {'N', 0}, {'P', 4},
                                          {'F', 5}, {'P', 0}, {'L', 4}, {'P', 5}};
    for (const auto& [move, id] : steps) {
        SCOPED_TRACE(move);
        const bool ok = move == 'N'   ? trees.moveNext()
                        : move == 'P' ? trees.movePrevious()
                        : move == 'F' ? trees.moveFirst()
                                      : trees.moveLast();
        EXPECT_EQ(std::tuple(ok, trees.eof(), trees.loadInt(u"ID"), trees.loadIsEmpty(u"BAUMART")),
                  std::tuple(id != 0, id == 0, id, id == 0));
    }
    // The kept statement fails in its first step once its table is gone: no rows, not no match.
    ASSERT_TRUE(db.exec(u"DROP TABLE Brov_Holzdaten"_s));
    EXPECT_FALSE(trees.reset(Filter::byList(2)));
    EXPECT_EQ(trees.count(), 0);
}

TEST_F(DatasetTest, InsertSaveAndDeleteWorkOnTheCurrentRecord)
{
    addTrees();
    Dataset trees(db, schema::Holzdaten);
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    trees.moveTo(2);
    put(trees, {{u"ID", 7}, {u"ID_FILE", 2}, {u"BAUMART", u"TA"_s}, {u"KUBATUR", 135}});
    ASSERT_TRUE(trees.insert());
    // Appended, and the new record is the current one.
    EXPECT_EQ(std::tuple(trees.count(), trees.position(), trees.eof(), trees.loadInt(u"ID")),
              std::tuple(7, 6, false, 7));
    EXPECT_EQ(trees.loadFormatted(u"KUBATUR"), u"   1.35"_s);
    EXPECT_TRUE(trees.loadIsEmpty(u"PARZ")) << "cleared fields stay empty";
    EXPECT_TRUE(trees.movePrevious());
    EXPECT_EQ(trees.loadInt(u"ID"), 6);

    ASSERT_TRUE(trees.reset(Filter::byList(1))); // IDs 3, 1, 2, 6
    ASSERT_TRUE(trees.moveNext());
    put(trees, {{u"BHD", 99}, {u"BAUMART", u"DOU"_s}}, false);
    ASSERT_TRUE(trees.save());
    EXPECT_EQ(trees.loadInt(u"ID"), 1) << "the cursor stays";
    ASSERT_TRUE(trees.moveLast());
    trees.setInt(u"BHD", 13);
    ASSERT_TRUE(trees.save());
    EXPECT_EQ(stored(u"SELECT ID, ID_FILE, BAUMART, BHD, KUBATUR, PARZ FROM Brov_Holzdaten "
                     "ORDER BY rowid"_s),
              u"3 1 FI 30 <null> <null>|1 1 DOU 99 <null> <null>|5 2 FI 22 <null> <null>|"
              "2 1 FI 45 <null> <null>|4 2 BU 60 <null> <null>|6 1 FI 13 <null> <null>|"
              "7 2 TA <null> 135 <null>"_s);

    // Deleting moves to the record that followed: the last, the first, one in the middle.
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    const std::tuple<int, std::int64_t, Ids> deletes[] = {
        {6, 0, {1, 2, 3, 4, 5, 6}}, {0, 2, {2, 3, 4, 5, 6}}, {2, 5, {2, 3, 5, 6}}};
    for (const auto& [position, current, remaining] : deletes) {
        SCOPED_TRACE(position);
        ASSERT_TRUE(trees.moveTo(position));
        ASSERT_TRUE(trees.deleteCurrent());
        EXPECT_EQ(std::tuple(trees.count(), trees.eof(), trees.loadInt(u"ID")),
                  std::tuple(int(remaining.size()), current == 0, current));
        EXPECT_EQ(walk(trees), remaining);
    }
    ASSERT_TRUE(trees.reset(Filter::ordered(u"ID"_s)));
    EXPECT_EQ(walk(trees), Ids({2, 3, 5, 6})) << "as stored";

    // Without a current record nothing is written.
    ASSERT_TRUE(trees.reset(Filter::byList(99)));
    trees.setInt(u"BHD", 1);
    EXPECT_FALSE(trees.save());
    EXPECT_FALSE(trees.deleteCurrent());
}

// One text a line of data/cut_texts.txt.
TEST_F(DatasetTest, TextLongerThanItsFieldIsCutToItsCharacters)
{
    for (const test::Case& c : test::readCases(u"data/data/cut_texts.txt"_s)) {
        SCOPED_TRACE(c.where().constData());
        const TableDescriptor* table = nullptr;
        for (const TableDescriptor* t : schema::allTables())
            table = QLatin1StringView(t->name) == c.text(0) ? t : table;
        ASSERT_TRUE(table);
        const QString field = c.text(1), text = c.text(2), kept = c.text(3);
        Dataset records(db, *table);
        ASSERT_TRUE(db.deleteAll(*table));
        ASSERT_TRUE(records.reset());
        records.setText(field, text);
        ASSERT_TRUE(records.insert());
        EXPECT_EQ(records.loadText(field), kept);
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), kept) << "as stored";
        records.setText(field, u"-"_s + text);
        ASSERT_TRUE(records.save());
        ASSERT_TRUE(records.reset());
        EXPECT_EQ(records.loadText(field), (u"-"_s + text).left(kept.size())) << "saved";
    }
}

TEST_F(DatasetTest, TablesWithoutKeyUpdateTheCurrentRecordAndFieldBuffersFormat)
{
    // Three identical records: only the cursor tells them apart.
    Dataset last(db, schema::LastRegion);
    for (int i = 0; i < 3; ++i) {
        put(last, {{u"REGION_A", u"WR 1"_s}, {u"BAUMART", u"FI"_s}});
        ASSERT_TRUE(last.insert());
    }
    ASSERT_TRUE(last.reset());
    ASSERT_TRUE(last.moveNext());
    last.setText(u"TARIF", u"T2"_s);
    ASSERT_TRUE(last.save());
    ASSERT_TRUE(last.moveNext());
    ASSERT_TRUE(last.deleteCurrent());

    EXPECT_EQ(stored(u"SELECT REGION_A, BAUMART, TARIF FROM Brov_LastRegion ORDER BY rowid"_s),
              u"WR 1 FI <null>|WR 1 FI T2"_s);

    // Field buffers format their values and tell empty from blank and zero.
    Dataset rows(db, schema::Einstellungen);
    put(rows, {{u"ID", 12},
               {u"KUBATUR", -45},
               {u"HS3", 250},
               {u"BHDBIS", 7},
               {u"region_a", u"Süd"_s},
               {u"TARIF", u" 42"_s},
               {u"DMSTUFE", u"  "_s},
               {u"BHD", 0},
               {u"NO_SUCH_FIELD", u"x"_s}});
    ASSERT_TRUE(rows.insert());
    put(rows, {{u"ID", 13}});
    ASSERT_TRUE(rows.insert());
    ASSERT_TRUE(rows.reset(Filter::ordered(u"ID"_s)));
    const auto empties = [&rows] {
        QStringList out;
        for (const char16_t* f : {u"DMSTUFE", u"BHD", u"HS4", u"BAUMART", u"NO_SUCH_FIELD"})
            out << (rows.loadIsEmpty(f) ? QString::fromUtf16(f) : QString());
        return out.join(u' ').simplified();
    };
    QStringList formatted;
    for (const char16_t* f : {u"ID", u"KUBATUR", u"HS3", u"BHDBIS", u"REGION_A", u"TARIF", u"HS4",
                              u"DMSTUFE", u"BHD", u"BAUMART"})
        formatted << rows.loadFormatted(f);
    EXPECT_EQ(formatted.join(u'|'),
              u"    12|  -0.45|  2.50|  7|Süd     | 42  |  0.00|  |  0|   "_s);
    EXPECT_TRUE(rows.loadFormatted(u"NO_SUCH_FIELD").isNull());
    EXPECT_EQ(rows.loadText(u"DMSTUFE"), u"  "_s);
    EXPECT_EQ(empties(), u"HS4 BAUMART NO_SUCH_FIELD"_s) << "blank text and zero are values";
    ASSERT_TRUE(rows.moveNext());
    EXPECT_EQ(rows.loadInt(u"ID"), 13);
    EXPECT_EQ(empties(), u"DMSTUFE BHD HS4 BAUMART NO_SUCH_FIELD"_s);
    EXPECT_EQ(stored(u"SELECT ID, REGION_A, BHD, TARIF FROM Brov_Einstellungen ORDER BY ID"_s),
              u"12 Süd 0  42|13 <null> <null> <null>"_s);
}

using CrRule = RecordReader::CrRule;

// The cases of data/records.txt.
TEST(RecordReaderTest, TrailingCrAndLongLinesGoAsTheCallerSays)
{
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/records.txt"))) {
        QBuffer in;
        in.setData(c.fields[0]);
        in.open(QIODevice::ReadOnly);
        RecordReader reader(in, c.fields[1].toInt(),
                            c.fields[2] == "text-end" ? CrRule::AtTextEnd : CrRule::BeforeLineFeed);
        QByteArrayList lines;
        QByteArray line;
        while (reader.next(line))
            lines << line + ':' + QByteArray::number(reader.consumed());
        EXPECT_EQ(lines.join('|'), c.fields[3]) << c.where().constData();
    }
}

// A table as "NAME:T<length>" or "NAME:N<digits>.<decimals>" per field, "*" marking the key.
QString layoutOf(const TableDescriptor& table)
{
    QString out = QString::fromLatin1(table.name);
    for (const FieldDescriptor& f : table.fields) {
        const bool text = f.type == FieldType::Text;
        out += QStringLiteral(" %1:%2%3")
                   .arg(QString::fromLatin1(f.name), text ? "T" : "N")
                   .arg(f.length);
        out += (text ? QString() : QStringLiteral(".%1").arg(f.decimals)) + (f.key ? "*" : "");
    }
    const FieldDescriptor* key = table.keyField();
    return key ? out + " key=" + QString::fromLatin1(key->name) : out;
}

// The field of `table` named `name`, by the names the file uses.
const FieldDescriptor* field(const QString& table, const QString& name)
{
    for (const TableDescriptor* t : schema::allTables()) {
        if (QLatin1StringView(t->name) == table && t->indexOf(name) >= 0)
            return &t->fields[size_t(t->indexOf(name))];
    }
    return nullptr;
}

// The cases of data/schema.txt.
TEST(Schema, TablesAndFieldTextsAsWritten)
{
    QStringList layouts;
    for (const test::Case& c : test::readCases(QStringLiteral("data/data/schema.txt"))) {
        if (c.fields[0] == "table") {
            layouts << c.text(1);
        } else if (c.fields[0] == "scaled") {
            EXPECT_EQ(formatScaled(c.fields[1].toLongLong(), c.fields[2].toInt()), c.text(3))
                << c.where().constData();
        } else {
            const FieldDescriptor* f = field(c.text(1), c.text(2));
            ASSERT_TRUE(f) << c.where().constData();
            const QString value = c.text(3);
            const FieldValue v = value.startsWith(u"n:")   ? FieldValue(value.mid(2).toLongLong())
                                 : value.startsWith(u"t:") ? FieldValue(value.mid(2))
                                                           : FieldValue{};
            EXPECT_EQ(formatValue(*f, v), c.text(4)) << c.where().constData();
            EXPECT_EQ(f->width(), c.text(4).size()) << c.where().constData();
        }
    }
    QStringList tables;
    for (const TableDescriptor* table : schema::allTables())
        tables << layoutOf(*table);
    EXPECT_EQ(tables, layouts);
    EXPECT_STREQ(schema::kStructureVersion, "T00300");
}

} // namespace
} // namespace brovant
