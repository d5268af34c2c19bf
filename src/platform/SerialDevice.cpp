#include "platform/SerialDevice.h"

#include "platform/DeviceRoot.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace brovant {

QString serialPortName(int number)
{
    return QStringLiteral("COM%1:").arg(number);
}

QString serialDeviceFile(const DeviceRoot& root, const QString& portName)
{
    static const QRegularExpression pattern(QStringLiteral("^COM(\\d{1,3}):?$"),
                                            QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(portName);
    if (!match.hasMatch())
        return {};
    const QFileInfo entry(root.hostPath(QStringLiteral("\\dev\\COM") + match.captured(1)));
    if (entry.isSymLink())
        return entry.symLinkTarget();
    return entry.exists() ? entry.absoluteFilePath() : QString();
}

} // namespace brovant
