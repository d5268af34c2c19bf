#include "device/HardwareProfile.h"

#include "platform/DeviceRoot.h"

#include <QFile>
#include <QStringTokenizer>

namespace brovant {

namespace {

QString resolvePath(const QString& value, const DeviceRoot* root)
{
    if (root && value.startsWith(u'\\'))
        return root->hostPath(value);
    return value;
}

bool isYes(const QString& value)
{
    return value.compare(QLatin1StringView("yes"), Qt::CaseInsensitive) == 0;
}

} // namespace

HardwareProfile HardwareProfile::parse(const QString& text, const DeviceRoot* root)
{
    HardwareProfile profile;
    for (const QStringView rawLine : QStringTokenizer(text, u'\n')) {
        const QStringView line = rawLine.trimmed();
        if (line.isEmpty() || line.startsWith(u'#') || line.startsWith(u';'))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed().toString().toLower();
        const QString value = line.mid(equals + 1).trimmed().toString();
        if (key == u"backlight") {
            profile.backlight = resolvePath(value, root);
        } else if (key == u"backlight_levels") {
            bool ok = false;
            const int levels = value.toInt(&ok);
            profile.backlightLevels = ok && levels > 0 ? levels : kDefaultBacklightLevels;
        } else if (key == u"power_supply") {
            profile.powerSupply = resolvePath(value, root);
        } else if (key == u"uni1") {
            profile.uni1 = resolvePath(value, root);
        } else if (key == u"mixer") {
            profile.mixer = value;
        } else if (key == u"model") {
            profile.model = value;
        } else if (key == u"reboot") {
            profile.reboot = isYes(value);
        } else if (key == u"clock") {
            profile.clock = isYes(value);
        } else if (key == u"idle_conf") {
            profile.idleConf = resolvePath(value, root);
        }
    }
    return profile;
}

std::optional<HardwareProfile> HardwareProfile::read(const DeviceRoot& root)
{
    const QString path = QString::fromUtf16(kFile);
    if (!root.isFile(path))
        return std::nullopt;
    QFile file(root.hostPath(path));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return parse(QString::fromUtf8(file.readAll()), &root);
}

} // namespace brovant
