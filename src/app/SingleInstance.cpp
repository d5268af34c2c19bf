#include "app/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QThread>

namespace brovant {

SingleInstance::SingleInstance(const QString& rootDir)
    : m_rootDir(QDir(rootDir).absolutePath())
    , m_lock(m_rootDir + QStringLiteral("/.brovant.lock"))
{
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance()
{
    if (m_server)
        m_server->close();
}

QString SingleInstance::serverName(const QString& rootDir)
{
    const QByteArray hash =
        QCryptographicHash::hash(QDir(rootDir).absolutePath().toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(16);
    return QStringLiteral("brovant-") + QString::fromLatin1(hash);
}

bool SingleInstance::acquire()
{
    QDir().mkpath(m_rootDir);
    // A lock left by a crashed run belongs to a dead process; QLockFile takes it over.
    if (!m_lock.tryLock(0) && !(takeOverUnreadableLock() && m_lock.tryLock(0)))
        return false;
    m_server = std::make_unique<QLocalServer>();
    const QString name = serverName(m_rootDir);
    QLocalServer::removeServer(name);
    m_server->listen(name);
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                const QByteArray data = socket->readAll().trimmed();
                bool ok = false;
                const int parameter = data.toInt(&ok);
                if (ok)
                    emit messageReceived(parameter);
                socket->disconnectFromServer();
            });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    return true;
}

bool SingleInstance::takeOverUnreadableLock()
{
    // A run killed between creating the lock and writing its owner into it (or a power loss before
    // the line reached the card) leaves a lock QLockFile never calls stale: the program would not
    // start again. A live owner writes its line at once, after the pause at the latest, and keeps
    // its file locked, which removeStaleLockFile() respects.
    const auto unreadable = [this] {
        qint64 pid = 0;
        QString host;
        QString app;
        return !m_lock.getLockInfo(&pid, &host, &app);
    };
    if (!unreadable())
        return false;
    QThread::msleep(kOwnerWritesMs);
    if (!QFileInfo::exists(m_lock.fileName()))
        return true;
    return unreadable() && m_lock.removeStaleLockFile();
}

bool SingleInstance::notifyRunning(int parameter)
{
    QLocalSocket socket;
    socket.connectToServer(serverName(m_rootDir));
    if (!socket.waitForConnected(1000))
        return false;
    socket.write(QByteArray::number(parameter) + '\n');
    const bool written = socket.waitForBytesWritten(1000);
    socket.waitForDisconnected(200);
    return written;
}

} // namespace brovant
