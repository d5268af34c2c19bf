#include "data/StructureCheck.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"
#include "platform/DeviceRoot.h"

#include <QDirIterator>
#include <QMap>
#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace brovant {

// Found by argument lookup next to the verdict, so failures name it.
static void PrintTo(StructureCheck::Verdict v, std::ostream* os)
{
    using V = StructureCheck::Verdict;
    *os << (v == V::Missing ? "Missing" : v == V::Accepted ? "Accepted" : "Foreign");
}

namespace {

using namespace Qt::StringLiterals;
using test::DatabaseRoot;
using test::rawExec;
using test::rawRows;
using test::Rows;
using Verdict = StructureCheck::Verdict;
using Setup = std::function<bool(const DatabaseRoot&)>;

const QString kFile = u"Brovant/Brovant.cdb"_s;

// Every entry below the root with its bytes (folders as "<dir>"), to see that nothing changed.
QMap<QString, QByteArray> snapshot(const DatabaseRoot& dir)
{
    QMap<QString, QByteArray> entries;
    QDirIterator it(dir.root.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile f(path);
        entries.insert(QDir(dir.root.path()).relativeFilePath(path),
                       it.fileInfo().isDir()         ? QByteArray("<dir>")
                       : f.open(QIODevice::ReadOnly) ? f.readAll()
                                                     : QByteArray("<unreadable>"));
    }
    return entries;
}

bool databaseWith(const DatabaseRoot& dir, const QStringList& versions)
{
    Database db(dir.file);
    if (!db.open())
        return false;
    for (const QString& version : versions) {
        if (!db.query(u"INSERT INTO Struktur (STRUKTUR) VALUES (?)"_s).bind(1, version).run())
            return false;
    }
    return true;
}

QByteArray randomBytes(int size)
{
    std::mt19937 generator(4711);
    QByteArray bytes(size, '\0');
    for (char& c : bytes)
        c = char(generator() & 0xff);
    return bytes;
}

Setup fileWith(QByteArray bytes)
{
    return [bytes](const DatabaseRoot& dir) {
        dir.root.writeFile(kFile, bytes);
        return true;
    };
}

struct InspectCase {
    const char* label;
    Setup setup;
    Verdict verdict;
};

std::ostream& operator<<(std::ostream& os, const InspectCase& c)
{
    return os << c.label;
}

class StructureInspect : public ::testing::TestWithParam<InspectCase> {};

TEST_P(StructureInspect, GivesTheVerdictWithoutTouchingTheFile)
{
    const InspectCase& c = GetParam();
    DatabaseRoot dir;
    ASSERT_TRUE(c.setup(dir));
    const auto before = snapshot(dir);
    EXPECT_EQ(StructureCheck::inspect(dir.file), c.verdict);
    EXPECT_EQ(snapshot(dir), before);
}

INSTANTIATE_TEST_SUITE_P(
    Verdicts, StructureInspect,
    ::testing::Values(
        InspectCase{"missing", [](const DatabaseRoot&) { return true; }, Verdict::Missing},
        InspectCase{"current_version",
                    [](const DatabaseRoot& dir) { return databaseWith(dir, {u"T00300"_s}); },
                    Verdict::Accepted},
        InspectCase{"current_among_others",
                    [](const DatabaseRoot& dir) {
                        return databaseWith(dir, {u"T00200"_s, u"T00300"_s});
                    },
                    Verdict::Accepted},
        InspectCase{"older_version",
                    [](const DatabaseRoot& dir) { return databaseWith(dir, {u"T00200"_s}); },
                    Verdict::Foreign},
        InspectCase{"version_differs_in_case",
                    [](const DatabaseRoot& dir) { return databaseWith(dir, {u"t00300"_s}); },
                    Verdict::Foreign},
        InspectCase{"empty_structure_table",
                    [](const DatabaseRoot& dir) { return databaseWith(dir, {}); },
                    Verdict::Foreign},
        InspectCase{"no_structure_table",
                    [](const DatabaseRoot& dir) {
                        return rawExec(dir.file,
                                       u"CREATE TABLE Brov_Kopfdaten (ID_FILE INTEGER)"_s);
                    },
                    Verdict::Foreign},
        InspectCase{"structure_table_of_another_layout",
                    [](const DatabaseRoot& dir) {
                        return rawExec(dir.file, u"CREATE TABLE Struktur (VERSION TEXT); "
                                                 "INSERT INTO Struktur VALUES ('T00300')"_s);
                    },
                    Verdict::Foreign},
        InspectCase{"zero_bytes", fileWith({}), Verdict::Foreign},
        InspectCase{"text_file", fileWith("STRUKTUR\r\nT00300\r\n"), Verdict::Foreign},
        InspectCase{"random_bytes", fileWith(randomBytes(8192)), Verdict::Foreign},
        InspectCase{"folder_in_its_place",
                    [](const DatabaseRoot& dir) { return QDir().mkpath(dir.file); },
                    Verdict::Foreign}),
    [](const auto& info) { return std::string(info.param.label); });

struct RecreateCase {
    const char* label;
    Setup setup;
    bool asideExpected; // the failing file was there and is kept as Brovant.cdb.alt
};

std::ostream& operator<<(std::ostream& os, const RecreateCase& c)
{
    return os << c.label;
}

class StructureRecreate : public ::testing::TestWithParam<RecreateCase> {};

TEST_P(StructureRecreate, MovesTheFileAsideAndStartsAnEmptyDatabase)
{
    const RecreateCase& c = GetParam();
    DatabaseRoot dir;
    ASSERT_TRUE(c.setup(dir));
    const auto failing = snapshot(dir).value(kFile);
    // An older generation and leftovers of a crash beside the failing file.
    dir.root.writeFile(kFile + u".alt"_s, "previous generation");
    dir.root.writeFile(kFile + u"-journal"_s, randomBytes(512));
    dir.root.writeFile(kFile + u"-wal"_s, randomBytes(512));

    Database db(dir.file);
    ASSERT_TRUE(StructureCheck::recreate(db, DeviceRoot(dir.root.path())))
        << db.lastError().toStdString();
    ASSERT_TRUE(db.isOpen());

    auto tables = db.query(u"SELECT COUNT(*) FROM sqlite_master WHERE type = 'table'"_s);
    ASSERT_TRUE(tables.next());
    EXPECT_EQ(tables.integer(0), int(schema::allTables().size()));
    for (const TableDescriptor* table : schema::allTables()) {
        if (table == &schema::Struktur)
            continue;
        auto rows = db.query(u"SELECT COUNT(*) FROM "_s + QLatin1StringView(table->name));
        ASSERT_TRUE(rows.next()) << table->name;
        EXPECT_EQ(rows.integer(0), 0) << table->name;
    }
    db.close();

    EXPECT_EQ(rawRows(dir.file, u"SELECT STRUKTUR FROM Struktur"_s), Rows{{u"T00300"_s}});
    EXPECT_EQ(StructureCheck::inspect(dir.file), Verdict::Accepted);
    const auto after = snapshot(dir);
    EXPECT_EQ(after.value(kFile + u".alt"_s),
              c.asideExpected ? failing : QByteArray("previous generation"));
    // One generation kept aside; no journal or WAL of the old file is left to spoil the new one.
    EXPECT_EQ(dir.entries(), QStringList({u"Brovant.cdb"_s, u"Brovant.cdb.alt"_s}));
}

INSTANTIATE_TEST_SUITE_P(
    Files, StructureRecreate,
    ::testing::Values(
        RecreateCase{"older_version",
                     [](const DatabaseRoot& dir) { return databaseWith(dir, {u"T00200"_s}); },
                     true},
        RecreateCase{"empty_structure_table",
                     [](const DatabaseRoot& dir) { return databaseWith(dir, {}); }, true},
        RecreateCase{"random_bytes", fileWith(randomBytes(8192)), true},
        RecreateCase{"zero_bytes", fileWith({}), true},
        RecreateCase{"missing", [](const DatabaseRoot&) { return true; }, false}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(StructureCheck, RecreateReplacesAFolderInThePlaceOfTheFile)
{
    DatabaseRoot dir;
    ASSERT_TRUE(QDir().mkpath(dir.file));
    Database db(dir.file);
    ASSERT_TRUE(StructureCheck::recreate(db, DeviceRoot(dir.root.path())));
    db.close();
    EXPECT_TRUE(QFileInfo(dir.file).isFile());
    EXPECT_EQ(StructureCheck::inspect(dir.file), Verdict::Accepted);
}

TEST(StructureCheck, StructureRecordIsInsertedOnlyIntoAnEmptyTable)
{
    struct Row {
        const char* label;
        QStringList before;
        Rows after;
    };
    const Row rows[] = {
        {"empty", {}, {{u"T00300"_s}}},
        {"current", {u"T00300"_s}, {{u"T00300"_s}}},
        {"other_version_is_left_to_the_check", {u"T00200"_s}, {{u"T00200"_s}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        DatabaseRoot dir;
        ASSERT_TRUE(databaseWith(dir, row.before));
        Database db(dir.file);
        ASSERT_TRUE(db.open());
        EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
        EXPECT_TRUE(StructureCheck::ensureStructureRecord(db));
        db.close();
        EXPECT_EQ(rawRows(dir.file, u"SELECT STRUKTUR FROM Struktur"_s), row.after);
    }
    Database closed(u"/nonexistent/Brovant.cdb"_s);
    EXPECT_FALSE(StructureCheck::ensureStructureRecord(closed));
}

} // namespace
} // namespace brovant
