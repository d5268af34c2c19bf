#include "platform/RootLocation.h"

#include <QDir>
#include <QFileInfo>

namespace brovant {

QString resolveRootDir(const QString& rootOption)
{
    QString dir = rootOption;
    if (dir.isEmpty())
        dir = qEnvironmentVariable("BROVANT_ROOT");
    if (dir.isEmpty()) {
        QString data = qEnvironmentVariable("XDG_DATA_HOME");
        if (data.isEmpty())
            data = QDir::homePath() + QStringLiteral("/.local/share");
        dir = data + QStringLiteral("/brovant/device");
    }
    return QFileInfo(dir).absoluteFilePath();
}

} // namespace brovant
