// A real FTP server (Debian's python3-pyftpdlib) on 127.0.0.1 in a temporary folder, for the FTP
// channel's tests and benchmark. It can be killed or frozen to play a server lost mid-transfer.
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>

#include <signal.h>

namespace brovant::test {

class FtpTestServer {
public:
    FtpTestServer() = default;
    FtpTestServer(const FtpTestServer&) = delete;
    FtpTestServer& operator=(const FtpTestServer&) = delete;
    ~FtpTestServer() { stop(); }

    // An interpreter that has pyftpdlib: Debian's own first (a pyenv or venv python3 earlier on
    // the PATH does not see the system's packages). Empty when there is none.
    static QString python()
    {
        QStringList candidates{QStringLiteral("/usr/bin/python3")};
        const QString onPath = QStandardPaths::findExecutable(QStringLiteral("python3"));
        if (!onPath.isEmpty())
            candidates << onPath;
        for (const QString& candidate : candidates) {
            QProcess probe;
            probe.start(candidate, {QStringLiteral("-c"), QStringLiteral("import pyftpdlib")});
            if (probe.waitForFinished(10000) && probe.exitStatus() == QProcess::NormalExit
                && probe.exitCode() == 0)
                return candidate;
        }
        return {};
    }

    // Starts serving `user`/`password` in a fresh folder; on failure `why` says what is wrong.
    // `options` are the script's: "trickle", "nosize".
    bool start(const QString& scriptPath, const QString& user, const QString& password,
               QString& why, const QStringList& options = {})
    {
        const QString interpreter = python();
        if (interpreter.isEmpty()) {
            why = QStringLiteral("python3-pyftpdlib is not installed; scripts/setup.sh installs "
                                 "it (apt-get install python3-pyftpdlib)");
            return false;
        }
        if (!m_dir.isValid() || !QFile::exists(scriptPath)) {
            why = QStringLiteral("no temporary folder or no server script at ") + scriptPath;
            return false;
        }
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(interpreter,
                        QStringList{scriptPath, user, password, m_dir.path()} + options);
        if (!m_process.waitForStarted(10000)) {
            why = QStringLiteral("cannot start ") + interpreter;
            return false;
        }
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(10000)) {
                why = QStringLiteral("the FTP server did not report its port");
                stop();
                return false;
            }
        }
        m_port = m_process.readLine().trimmed().toInt();
        if (m_port <= 0) {
            why = QStringLiteral("the FTP server reported no port");
            stop();
            return false;
        }
        return true;
    }

    QString folder() const { return m_dir.path(); }
    QString path(const QString& relative) const { return m_dir.path() + u'/' + relative; }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }

    // Gone at once: the system closes its sockets, as when the far side drops.
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        resume();
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    // Still connected but silent, as a line that stopped carrying anything.
    void freeze()
    {
        if (m_process.state() != QProcess::NotRunning && !m_frozen) {
            ::kill(pid_t(m_process.processId()), SIGSTOP);
            m_frozen = true;
        }
    }
    void resume()
    {
        if (m_frozen) {
            ::kill(pid_t(m_process.processId()), SIGCONT);
            m_frozen = false;
        }
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    int m_port = 0;
    bool m_frozen = false;
};

} // namespace brovant::test
