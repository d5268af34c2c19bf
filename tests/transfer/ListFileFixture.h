// A temporary device with an open database for the list file tests: rows written with bound
// values, rows read back as text, the files of "\Export" and "\Import".
#pragma once

#include "data/Database.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/TempRoot.h"
#include "transfer/ListCsvExport.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace brovant::test {

inline FieldValue txt(const char* utf8)
{
    return FieldValue(QString::fromUtf8(utf8));
}
inline FieldValue num(std::int64_t value)
{
    return FieldValue(value);
}

// An expected file from tests/transfer/data.
inline QByteArray golden(const char* name)
{
    QFile f(QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/") + QLatin1StringView(name));
    if (!f.open(QIODevice::ReadOnly))
        return "<missing golden file>";
    return f.readAll();
}

// Writes `total` bytes of `fill` between `before` and `after`, a megabyte at a time, so a test of
// huge files never holds one.
inline void writeFilled(const QString& path, const QByteArray& before, char fill, qint64 total,
                        const QByteArray& after)
{
    QFile out(path);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(out.write(before), before.size());
    const QByteArray block(1 << 20, fill);
    for (qint64 left = total; left > 0; left -= block.size()) {
        const qint64 n = std::min<qint64>(left, block.size());
        ASSERT_EQ(out.write(block.constData(), n), n);
    }
    ASSERT_EQ(out.write(after), after.size());
}

// The huge file fields `at`.. of a case give: the bytes before, the byte it is filled with, how
// many MiB of it, the bytes after.
inline void writeFilled(const QString& path, const Case& c, int at)
{
    writeFilled(path, c.fields.value(at), c.fields.value(at + 1).at(0),
                c.fields.value(at + 2).toLongLong() << 20, c.fields.value(at + 3));
}

class ListFileFixture : public ::testing::Test {
protected:
    using Values = std::initializer_list<std::pair<const char*, FieldValue>>;

    void SetUp() override
    {
        // The header labels and their flags behind every expected list file.
        root.writeFile(QStringLiteral("Registry/HKEY_CURRENT_USER.reg"),
                       golden("export_settings.reg"));
        session = std::make_unique<DeviceSession>(root.path(), Database::Durability::Relaxed);
        ASSERT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
    }

    Database& db() { return session->database(); }
    ListFileExport listFiles()
    {
        return ListFileExport(session->root(), db(), session->store(), dialogs);
    }
    ListCsvExport csvFile()
    {
        return ListCsvExport(session->root(), db(), session->store(), dialogs);
    }
    ListFileImport importer() { return ListFileImport(session->root(), db(), dialogs); }

    // Rows from an SQL file of tests/transfer/data.
    void rowsFrom(const char* file)
    {
        ASSERT_TRUE(db().exec(QString::fromUtf8(golden(file)))) << db().lastError().toStdString();
    }

    // One row; the fields not named stay NULL.
    void insert(const TableDescriptor& table, Values values)
    {
        QStringList names;
        QStringList marks;
        for (const auto& v : values) {
            names << QString::fromLatin1(v.first);
            marks << QStringLiteral("?");
        }
        auto q =
            db().query(QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                           .arg(QLatin1StringView(table.name), names.join(u','), marks.join(u',')));
        int i = 1;
        for (const auto& v : values)
            q.bind(i++, v.second);
        ASSERT_TRUE(q.run()) << db().lastError().toStdString();
    }

    // Sets fields of the row inserted last.
    void set(const char* table, Values values)
    {
        for (const auto& v : values) {
            auto q =
                db().query(QStringLiteral("UPDATE %1 SET %2 = ? WHERE rowid = last_insert_rowid()")
                               .arg(QLatin1StringView(table), QLatin1StringView(v.first)));
            q.bind(1, v.second);
            ASSERT_TRUE(q.run());
        }
    }
    // A marked list of region WR01 and the current structure; the fields in `more` set after.
    void list(std::int64_t id, const char* number, Values more = {})
    {
        ASSERT_NO_FATAL_FAILURE(insert(schema::Kopfdaten, {{"ID_FILE", num(id)},
                                                           {"LISTE_NR", txt(number)},
                                                           {"REGION_A", txt("WR01")},
                                                           {"STRUKTUR", txt("T00300")},
                                                           {"DUE_MARK", num(1)}}));
        set("Brov_Kopfdaten", more);
    }
    // A tree row with its keys; the fields not named stay NULL.
    void tree(std::int64_t list, std::int64_t id, FieldValue type, Values more = {})
    {
        ASSERT_NO_FATAL_FAILURE(insert(
            schema::Holzdaten, {{"ID", num(id)}, {"ID_FILE", num(list)}, {"ID_TYPE", type}}));
        set("Brov_Holzdaten", more);
    }

    // Rows of a statement, columns joined by '|', NULL as "NULL".
    QStringList rows(const QString& sql)
    {
        QStringList out;
        auto q = db().query(sql);
        while (q.next()) {
            QStringList cells;
            for (int c = 0; c < q.columnCount(); ++c) {
                const FieldValue v = q.value(c);
                if (std::holds_alternative<std::monostate>(v))
                    cells << QStringLiteral("NULL");
                else if (const auto* n = std::get_if<std::int64_t>(&v))
                    cells << QString::number(*n);
                else
                    cells << std::get<QString>(v);
            }
            out << cells.join(u'|');
        }
        return out;
    }
    int count(const char* table)
    {
        auto q =
            db().query(QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1StringView(table)));
        return q.next() ? int(q.integer(0)) : -1;
    }

    // Names of the files in a device folder ("Export", "Import"), sorted.
    QStringList filesIn(const char* folder) const
    {
        return QDir(root.host(QString::fromLatin1(folder)))
            .entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    TempRoot root;
    std::unique_ptr<DeviceSession> session;
    ScriptedDialogs dialogs;
};

} // namespace brovant::test
