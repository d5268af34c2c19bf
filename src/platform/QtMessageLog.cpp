#include "platform/QtMessageLog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QStringList>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace brovant::qtlog {
namespace {

constexpr qint64 kMaxLogBytes = 1024 * 1024;
constexpr qsizetype kMaxHeldBack = 200;

struct Log {
    QMutex mutex;
    QString path;
    QStringList heldBack;
};

Log& log()
{
    static Log instance;
    return instance;
}

void append(const QString& path, const QStringList& lines)
{
    QFile file(path);
    // A log that outgrew its limit starts again rather than filling the medium.
    QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Append;
    if (file.size() > kMaxLogBytes)
        mode = QIODevice::WriteOnly | QIODevice::Truncate;
    if (!file.open(mode))
        return;
    for (const QString& line : lines)
        file.write(line.toUtf8() + '\n');
}

const char* typeName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "critical";
    case QtFatalMsg:
        return "fatal";
    }
    return "?";
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    // Writing the log must not log again into itself.
    thread_local bool inside = false;
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
    if (inside)
        return;
    inside = true;
    const QString line = QDateTime::currentDateTime().toString(Qt::ISODate) + u' '
                         + QLatin1StringView(typeName(type)) + u' '
                         + QLatin1StringView(context.category ? context.category : "default")
                         + QStringLiteral(": ") + message;
    Log& l = log();
    {
        QMutexLocker lock(&l.mutex);
        if (!l.path.isEmpty())
            append(l.path, {line});
        else if (l.heldBack.size() < kMaxHeldBack)
            l.heldBack << line;
    }
    inside = false;
}

} // namespace

void ensureRuntimeDir()
{
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        return;
    const uid_t uid = getuid();
    QByteArray dir = QFile::encodeName(QDir::tempPath()) + "/brovant-runtime-"
                     + QByteArray::number(qulonglong(uid));
    ::mkdir(dir.constData(), 0700);
    struct stat st {};
    if (::lstat(dir.constData(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != uid) {
        // Someone else's name: a fresh folder of our own instead.
        dir = QFile::encodeName(QDir::tempPath()) + "/brovant-runtime-XXXXXX";
        if (!::mkdtemp(dir.data()))
            return;
    } else if ((st.st_mode & 0777) != 0700) {
        ::chmod(dir.constData(), 0700);
    }
    qputenv("XDG_RUNTIME_DIR", dir);
}

void install()
{
    qInstallMessageHandler(handle);
}

void setFile(const QString& hostPath)
{
    Log& l = log();
    QMutexLocker lock(&l.mutex);
    l.path = hostPath;
    if (!l.heldBack.isEmpty() && !hostPath.isEmpty())
        append(hostPath, l.heldBack);
    l.heldBack.clear();
}

} // namespace brovant::qtlog
