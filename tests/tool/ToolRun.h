// brovant-tool run as a process, like every outside caller runs it.
#pragma once

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QStringList>
#include <QUrl>
#include <sqlite3.h>

#include <string>

namespace brovant::test {

struct ToolRun {
    int status = -1; // -1: crashed or hung
    QString out;
    QString err;
};

// The tool running beside the test, as the office runs it.
class ToolProcess {
public:
    explicit ToolProcess(const QStringList& args,
                         const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
    {
        m_process.setProcessEnvironment(env);
        m_process.setProgram(QStringLiteral(BROVANT_TOOL_PATH));
        m_process.setArguments(args);
        m_process.start();
        m_process.waitForStarted();
    }
    ToolRun finish()
    {
        if (m_process.state() != QProcess::NotRunning)
            m_process.waitForFinished(60000);
        return {m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1,
                QString::fromUtf8(m_process.readAllStandardOutput()),
                QString::fromUtf8(m_process.readAllStandardError())};
    }

private:
    QProcess m_process;
};

inline ToolRun runTool(const QStringList& args,
                       const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
{
    return ToolProcess(args, env).finish();
}

inline ToolRun tool(const QString& root, const QStringList& args)
{
    return runTool(QStringList{QStringLiteral("--root"), root} + args);
}

inline QByteArray readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool writeAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// Every file below dir by its relative path, with its bytes.
inline QMap<QString, QByteArray> filesIn(const QString& dir)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        files[QDir(dir).relativeFilePath(path)] =
            file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }
    return files;
}

// "" when the run went through, else its status and message.
inline std::string failure(const ToolRun& r)
{
    return r.status == 0 ? std::string()
                         : "status " + std::to_string(r.status) + ": " + r.err.toStdString();
}

// A list of region WR01 with the usual header fields; more goes to new-list as well.
inline std::string newList(const QString& root, const QString& name, const QStringList& more = {})
{
    return failure(
        tool(root, QStringList{"new-list", name, "--region", "WR01", "--field", "1=Forstamt",
                               "--field", "2=Revier", "--field", "3=12", "--field", "12=Anna Probe"}
                       + more));
}

// The demo configuration imported into root, then newList for each name; the first failing
// step's message, "" when all went through.
inline std::string demoDevice(const QString& root, const QStringList& lists,
                              const QStringList& more = {})
{
    const QString demo = QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr");
    std::string error = failure(tool(root, {QStringLiteral("import-config"), demo}));
    for (qsizetype i = 0; error.empty() && i < lists.size(); ++i)
        error = newList(root, lists[i], more);
    return error;
}

// The first record of a list file from the office: its number, 04.05.2026, factor 1.00, region
// WR01 and the structure tag.
inline QByteArray officeHeader(const QByteArray& number, const QByteArray& structure = "T00300")
{
    return "001" + number.leftJustified(8, ' ') + QByteArray("Liste:").leftJustified(20, ' ')
           + "04.05.2026" + QByteArray("Datum:").leftJustified(20, ' ') + "1.00"
           + QByteArray("Faktor:").leftJustified(20, ' ') + "WR01    " + structure + "\r\n";
}

// The rows of `sql` on an open connection, columns joined by '|' (NULL as "NULL"), each `values`
// bound in turn; {"<error: message>"} when the statement fails.
inline QStringList rowsOf(sqlite3* db, const QString& sql, const QList<qint64>& values = {})
{
    sqlite3_stmt* st = nullptr;
    QStringList out;
    int rc = sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &st, nullptr);
    for (int i = 0; rc == SQLITE_OK && i < values.size(); ++i)
        rc = sqlite3_bind_int64(st, i + 1, values[i]);
    while (rc == SQLITE_OK && (rc = sqlite3_step(st)) == SQLITE_ROW) {
        QStringList columns;
        for (int i = 0; i < sqlite3_column_count(st); ++i) {
            const auto* value = sqlite3_column_text(st, i);
            columns << (value ? QString::fromUtf8(reinterpret_cast<const char*>(value))
                              : QStringLiteral("NULL"));
        }
        out << columns.join(u'|');
        rc = SQLITE_OK;
    }
    if (rc != SQLITE_DONE)
        out = QStringList{QStringLiteral("<error: %1>").arg(QString::fromUtf8(sqlite3_errmsg(db)))};
    sqlite3_finalize(st);
    return out;
}

// The rows of one statement read behind the tool's back. `immutable`: read only, through a
// connection that leaves no file of SQLite's beside the database.
inline QStringList sqlRows(const QString& file, const QString& sql, bool immutable = false)
{
    sqlite3* db = nullptr;
    const QByteArray name = immutable ? QUrl::fromLocalFile(file).toEncoded() + "?immutable=1"
                                      : QFile::encodeName(file);
    sqlite3_open_v2(name.constData(), &db,
                    immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE,
                    nullptr);
    const QStringList rows = rowsOf(db, sql);
    sqlite3_close_v2(db);
    return rows;
}

} // namespace brovant::test
