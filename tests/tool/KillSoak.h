// What the kill soak needs around the real programs: a run that is killed (SIGKILL) after a given
// time, and the checks of a device root a killed run left behind, made on copies so that the next
// run meets the root exactly as the kill left it.
#pragma once

#include "platform/Registry.h"
#include "tool/ToolRun.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <sqlite3.h>

#include <csignal>
#include <string>
#include <vector>

namespace brovant::test {

// Generous: a loaded machine with sanitizers is slow, a hang is what this guards against.
constexpr int kHangGuardMs = 60000;

struct KillRun {
    bool hit = false;     // the kill met the running process
    bool finished = true; // false: it hung until the guard
    int status = -1;      // exit status of a run that ended by itself, else -1
    int signal = 0;       // the signal that ended it
    QByteArray out;
    QByteArray err;
    qint64 elapsedMs = 0; // start to end (or to the kill)
};

// Runs `program` and sends SIGKILL after `killAfterMs` (negative: never); its standard input is
// empty.
inline KillRun runAndKill(const QString& program, const QStringList& args, qint64 killAfterMs,
                          const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
{
    KillRun r;
    QProcess p;
    p.setProgram(program);
    p.setArguments(args);
    p.setProcessEnvironment(env);
    p.setStandardInputFile(QProcess::nullDevice());
    QElapsedTimer clock;
    clock.start();
    p.start();
    if (!p.waitForStarted(kHangGuardMs)) {
        r.finished = false;
        r.err = "did not start: " + p.errorString().toUtf8();
        return r;
    }
    if (killAfterMs >= 0) {
        // Waiting for the end up to the moment: a run that ends earlier is not killed.
        const qint64 left = killAfterMs - clock.elapsed();
        if (left > 0)
            p.waitForFinished(int(left));
        if (p.state() != QProcess::NotRunning) {
            r.elapsedMs = clock.elapsed();
            p.kill();
        }
    }
    if (!p.waitForFinished(kHangGuardMs) && p.state() != QProcess::NotRunning) {
        p.kill();
        p.waitForFinished(kHangGuardMs);
        r.finished = false;
    }
    if (r.elapsedMs == 0)
        r.elapsedMs = clock.elapsed();
    if (p.exitStatus() == QProcess::NormalExit) {
        r.status = p.exitCode();
    } else {
        r.signal = p.exitCode();
        r.hit = r.finished && r.signal == SIGKILL && killAfterMs >= 0;
    }
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    return r;
}

// A read-only look at a copy of a database file (with the journal or log a kill left beside it),
// so that recovering the copy changes nothing in the root.
class DbCopy {
public:
    DbCopy(const QString& file, const QString& scratchDir,
           const QString& name = QStringLiteral("check.cdb"))
        : m_copy(scratchDir + u'/' + name)
    {
        for (const char* suffix : {"", "-wal", "-journal", "-shm"})
            QFile::remove(m_copy + QLatin1StringView(suffix));
        if (!QFile::copy(file, m_copy)) {
            m_error = "cannot copy " + file.toStdString();
            return;
        }
        // Not the -shm: SQLite rebuilds the log's index from the log, as the next program does.
        for (const char* suffix : {"-wal", "-journal"}) {
            if (QFile::exists(file + QLatin1StringView(suffix)))
                QFile::copy(file + QLatin1StringView(suffix), m_copy + QLatin1StringView(suffix));
        }
        if (sqlite3_open_v2(QFile::encodeName(m_copy).constData(), &m_db, SQLITE_OPEN_READWRITE,
                            nullptr)
            != SQLITE_OK)
            m_error = std::string("cannot open: ") + sqlite3_errmsg(m_db);
        // A copy thrown away after the look needs no flushes.
        else
            sqlite3_exec(m_db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
    }
    ~DbCopy() { sqlite3_close_v2(m_db); }
    DbCopy(const DbCopy&) = delete;
    DbCopy& operator=(const DbCopy&) = delete;

    // Empty when the file could be opened.
    const std::string& error() const { return m_error; }

    // Rows of a statement, columns joined by '|'; {"<error: ...>"} when it fails.
    QStringList rows(const QString& sql, const QList<qint64>& values = {}) const
    {
        return m_error.empty() ? rowsOf(m_db, sql, values)
                               : QStringList{QString::fromStdString("<error: " + m_error + ">")};
    }
    QString single(const QString& sql, const QList<qint64>& values = {}) const
    {
        return rows(sql, values).value(0);
    }

    // "" when the whole file is there and SQLite finds nothing wrong in it.
    std::string integrity() const
    {
        if (!m_error.empty())
            return m_error;
        // SQLite reads the pages of a cut-off file as zeros; the header's count gives it away.
        const qint64 pages = single(QStringLiteral("PRAGMA page_count")).toLongLong();
        const qint64 pageSize = single(QStringLiteral("PRAGMA page_size")).toLongLong();
        const QString check = rows(QStringLiteral("PRAGMA integrity_check")).join(u' ');
        if (check != QLatin1StringView("ok"))
            return "integrity_check: " + check.toStdString();
        // A log beside the file holds pages the file itself does not have yet.
        if (!QFile::exists(m_copy + QStringLiteral("-wal"))
            && pages * pageSize > QFileInfo(m_copy).size())
            return "file shorter than its page count";
        return {};
    }

    // One hash over the rows of the statements: equal contents, equal fingerprints.
    QByteArray fingerprint(const std::vector<const char*>& statements) const
    {
        QCryptographicHash hash(QCryptographicHash::Sha1);
        for (const char* sql : statements)
            hash.addData(rows(QString::fromLatin1(sql)).join(u'\n').toUtf8() + '\f');
        return hash.result().toHex().left(12);
    }

private:
    QString m_copy;
    sqlite3* m_db = nullptr;
    std::string m_error;
};

inline QString database(const QString& root)
{
    return root + QStringLiteral("/Brovant/Brovant.cdb");
}

// The tool's tree lines: complete lines only, a line cut by the kill was not reported.
inline QStringList completeLines(const QByteArray& out)
{
    QStringList lines = QString::fromUtf8(out).split(u'\n');
    lines.removeLast();
    return lines;
}

// The tool's line for each tree of a list, built from the rows behind its back.
inline const char* const kTreeLinesSql =
    "SELECT 'ID=' || ID || char(9) || 'ID_TYPE=' || ID_TYPE || char(9) || 'TARIF=' || RTRIM(TARIF)"
    " || char(9) || 'BAUMART=' || RTRIM(BAUMART) || char(9) || 'NA=' || RTRIM(NA) || char(9)"
    " || 'KA=' || RTRIM(KA) || char(9) || 'STK=' || STK || char(9) || 'BHD=' || BHD || char(9)"
    " || 'DMSTUFE=' || RTRIM(DMSTUFE) || char(9) || 'KUBATUR='"
    " || printf('%d.%02d', KUBATUR / 100, KUBATUR % 100)"
    " FROM Brov_Holzdaten WHERE ID_FILE = ? ORDER BY rowid";

inline QStringList fileNamesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

// The lines of the first list of a root.
inline QStringList listLines(const QString& root)
{
    return sqlRows(database(root),
                   QByteArray(kTreeLinesSql).replace("ID_FILE = ?", "ID_FILE = 1").constData());
}

// "" when both hive files of the root load as the program loads them (nothing set aside as
// corrupt; a hive that is not there yet is fine) and saving them again gives the same bytes, so
// nothing in them was passed over.
inline std::string hivesLoad(const QString& root)
{
    const QString folder = root + QStringLiteral("/Registry");
    // Loading only reads; a file that does not parse would be set aside, which fails the check.
    Registry registry(folder);
    if (!registry.setAside().isEmpty())
        return "hive file set aside as corrupt: " + registry.setAside().join(u' ').toStdString();
    for (const Hive hive : {Hive::CurrentUser, Hive::LocalMachine}) {
        const QString file = folder + u'/' + Registry::hiveName(hive) + QStringLiteral(".reg");
        if (QFile::exists(file) && registry.exportHive(hive).toUtf8() != readAll(file))
            return file.toStdString() + " holds more than its keys and values";
    }
    return {};
}

} // namespace brovant::test
