#include "workflow/ColdBootRecovery.h"

#include "data/StructureCheck.h"
#include "platform/DeviceRoot.h"

#include <QFile>

namespace brovant {

namespace {

constexpr const char16_t* kCardBackups[] = {
    u"\\Speicherkarte\\Brovant.cdb",
    u"\\Speicherkarte2\\Brovant.cdb",
    u"\\Storage Card\\Brovant.cdb",
    u"\\Storage Card2\\Brovant.cdb",
};

} // namespace

ColdBootRecovery::ColdBootRecovery(const DeviceRoot& root, bool onCard)
    : m_root(root)
{
    if (onCard) {
        for (const char16_t* path : kCardBackups)
            m_candidates << QString::fromUtf16(path);
    } else {
        m_candidates << QString::fromUtf16(kFlashBackup);
    }
}

bool ColdBootRecovery::applies(const DeviceRoot& root, const QDateTime& now)
{
    return root.isFolder(QString::fromUtf16(kFlashFolder)) && now.date().year() < kFirstTrustedYear;
}

QString ColdBootRecovery::locate() const
{
    for (const QString& path : m_candidates) {
        if (m_root.isFile(path))
            return path;
    }
    return {};
}

bool ColdBootRecovery::restore() const
{
    const QString working = QString::fromUtf16(kDatabasePath);
    m_root.makeFolder(working.left(working.lastIndexOf(u'\\')));
    for (const QString& path : m_candidates) {
        if (!m_root.copyFile(path, working, true))
            continue;
        // A journal left by the crashed run belongs to the old file; opening the restored one
        // beside it would roll the old pages into the backup's data.
        const QString host = m_root.hostPath(working);
        for (const char* suffix : {"-journal", "-wal", "-shm"})
            QFile::remove(host + QLatin1StringView(suffix));
        return true;
    }
    return false;
}

bool ColdBootRecovery::keepAside() const
{
    for (const QString& path : m_candidates) {
        if (m_root.copyFile(path, asideName(path), true))
            return true;
    }
    return false;
}

QString ColdBootRecovery::asideName(const QString& backupPath)
{
    static const QString suffix = QStringLiteral(".cdb");
    if (!backupPath.endsWith(suffix, Qt::CaseInsensitive))
        return backupPath + QStringLiteral(".bak");
    return backupPath.left(backupPath.size() - suffix.size()) + QStringLiteral(".bak.cdb");
}

} // namespace brovant
