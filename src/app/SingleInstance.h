// Program: one running instance per device root. A lock file in the root decides who runs; a
// second start hands the message with parameter 51 to the running instance over a local socket
// named after the root and ends, touching nothing else.
#pragma once

#include <QLocalServer>
#include <QLockFile>
#include <QObject>

#include <memory>

namespace brovant {

class SingleInstance : public QObject {
    Q_OBJECT
public:
    static constexpr int kSecondStart = 51;

    explicit SingleInstance(const QString& rootDir);
    ~SingleInstance() override;

    // True when this process is now the instance for the root.
    bool acquire();
    // Tells the running instance (parameter 51); false when it could not be reached.
    bool notifyRunning(int parameter = kSecondStart);

    static QString serverName(const QString& rootDir);

signals:
    void messageReceived(int parameter);

private:
    // Time a starting owner has to write its line into a lock it has just created.
    static constexpr unsigned long kOwnerWritesMs = 100;

    bool takeOverUnreadableLock();

    QString m_rootDir;
    QLockFile m_lock;
    std::unique_ptr<QLocalServer> m_server;
};

} // namespace brovant
