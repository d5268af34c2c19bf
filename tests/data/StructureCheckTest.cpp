#include "data/StructureCheck.h"
#include "data/DataTestSupport.h"
#include "data/Schema.h"
#include "platform/DeviceRoot.h"
#include "support/CaseFile.h"

#include <QDirIterator>
#include <QMap>
#include <gtest/gtest.h>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::DatabaseRoot;
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
