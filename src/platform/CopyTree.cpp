#include "platform/CopyTree.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace brovant {

bool copyTree(const QString& from, const QString& to)
{
    QDirIterator it(from, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    bool ok = QDir().mkpath(to);
    while (ok && it.hasNext()) {
        const QString path = it.next();
        const QString target = to + u'/' + QDir(from).relativeFilePath(path);
        ok = it.fileInfo().isDir()
                 ? QDir().mkpath(target)
                 : QDir().mkpath(QFileInfo(target).path()) && QFile::copy(path, target);
    }
    return ok;
}

} // namespace brovant
