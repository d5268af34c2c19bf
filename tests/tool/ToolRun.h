// brovant-tool run as a process, like every outside caller runs it.
#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <sqlite3.h>

namespace brovant::test {

struct ToolRun {
    int status = -1; // -1: crashed or hung
    QString out;
    QString err;
};

inline ToolRun runTool(const QStringList& args)
{
    QProcess p;
    p.setProgram(QStringLiteral(BROVANT_TOOL_PATH));
    p.setArguments(args);
    p.start();
    p.waitForFinished(60000);
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

inline ToolRun tool(const QString& root, const QStringList& args)
{
    return runTool(QStringList{QStringLiteral("--root"), root} + args);
}

// The rows of one statement, columns joined by '|', read behind the tool's back; {"<error>"}
// when the file or the statement fails.
inline QStringList sqlRows(const QString& file, const char* sql)
{
    sqlite3* db = nullptr;
    QStringList out;
    int rc =
        sqlite3_open_v2(QFile::encodeName(file).constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_stmt* st = nullptr;
    if (rc == SQLITE_OK)
        rc = sqlite3_prepare_v2(db, sql, -1, &st, nullptr);
    while (rc == SQLITE_OK || rc == SQLITE_ROW) {
        rc = sqlite3_step(st);
        if (rc != SQLITE_ROW)
            break;
        QStringList columns;
        for (int i = 0; i < sqlite3_column_count(st); ++i) {
            const auto* value = sqlite3_column_text(st, i);
            columns << (value ? QString::fromUtf8(reinterpret_cast<const char*>(value))
                              : QStringLiteral("NULL"));
        }
        out << columns.join(u'|');
    }
    sqlite3_finalize(st);
    sqlite3_close_v2(db);
    return rc == SQLITE_DONE ? out : QStringList{QStringLiteral("<error>")};
}

} // namespace brovant::test
