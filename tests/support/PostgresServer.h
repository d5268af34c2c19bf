// A throw-away PostgreSQL server from Debian's packages: initdb into a temporary folder, pg_ctl
// on a Unix socket only (no TCP port), trust authentication, stopped and removed at the end.
// As root it runs as the "postgres" user, since initdb refuses root.
#pragma once

#include <QDir>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <unistd.h>

namespace brovant::test {

class PostgresServer {
public:
    PostgresServer()
    {
        m_dir.setAutoRemove(true);
        const QString bin = binDir();
        if (bin.isEmpty()) {
            m_error = QStringLiteral("no PostgreSQL found under /usr/lib/postgresql");
            return;
        }
        if (::geteuid() == 0)
            QProcess::execute(QStringLiteral("chown"),
                              {QStringLiteral("postgres:postgres"), m_dir.path()});
        const QString data = m_dir.path() + QStringLiteral("/data");
        if (!run(bin + QStringLiteral("/initdb"),
                 {QStringLiteral("-D"), data, QStringLiteral("-A"), QStringLiteral("trust"),
                  QStringLiteral("-U"), QStringLiteral("postgres"), QStringLiteral("-E"),
                  QStringLiteral("UTF8"), QStringLiteral("--no-sync")}))
            return;
        const QString options = QStringLiteral("-c listen_addresses='' -c unix_socket_directories='%1' "
                                               "-c fsync=off -c full_page_writes=off")
                                    .arg(m_dir.path());
        if (!run(bin + QStringLiteral("/pg_ctl"),
                 {QStringLiteral("-D"), data, QStringLiteral("-o"), options, QStringLiteral("-w"),
                  QStringLiteral("-l"), m_dir.path() + QStringLiteral("/log"),
                  QStringLiteral("start")}))
            return;
        m_bin = bin;
        m_data = data;
        m_running = true;
    }
    ~PostgresServer()
    {
        if (m_running)
            run(m_bin + QStringLiteral("/pg_ctl"),
                {QStringLiteral("-D"), m_data, QStringLiteral("-m"), QStringLiteral("immediate"),
                 QStringLiteral("-w"), QStringLiteral("stop")});
    }

    bool running() const { return m_running; }
    QString error() const { return m_error; }

    // A new empty database and the store URL that reaches it over the socket.
    QString createDatabase(const QString& name)
    {
        if (!run(m_bin + QStringLiteral("/createdb"),
                 {QStringLiteral("-h"), m_dir.path(), QStringLiteral("-U"),
                  QStringLiteral("postgres"), name}))
            return {};
        return QStringLiteral("postgresql://postgres@localhost/%1?host=%2").arg(name, m_dir.path());
    }

private:
    static QString binDir()
    {
        const QStringList versions =
            QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot,
                                                                   QDir::Name | QDir::Reversed);
        return versions.isEmpty() ? QString()
                                  : QStringLiteral("/usr/lib/postgresql/") + versions.front() +
                                        QStringLiteral("/bin");
    }
    bool run(const QString& program, QStringList args)
    {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        if (::geteuid() == 0) {
            args.prepend(program);
            args = QStringList{QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--")} + args;
            p.start(QStringLiteral("runuser"), args);
        } else {
            p.start(program, args);
        }
        if (!p.waitForFinished(120000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
            m_error = program + QStringLiteral(": ") + QString::fromLocal8Bit(p.readAll());
            return false;
        }
        return true;
    }

    QTemporaryDir m_dir{QDir::tempPath() + QStringLiteral("/brovant-pg-XXXXXX")};
    QString m_bin, m_data, m_error;
    bool m_running = false;
};

} // namespace brovant::test
