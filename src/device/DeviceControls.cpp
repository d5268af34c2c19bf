#include "device/DeviceControls.h"

#include "device/DeviceRoutes.h"

namespace brovant {

QString BatteryStatus::stateText(int state)
{
    switch (state) {
    case 10:
        return QStringLiteral("Ladevorgang");
    case 20:
        return QStringLiteral("gut");
    case 30:
        return QStringLiteral("niedrig");
    case 40:
        return QStringLiteral("sehr niedrig");
    case 100:
        return QStringLiteral("fehlt");
    case 255:
        return QStringLiteral("unbekannt");
    default:
        return QStringLiteral("unidentifiziert");
    }
}

quint32 DeviceControls::volumeValue(int position)
{
    // Both channels at the same level, a fifth of the range a step.
    if (position < 1 || position > 6)
        return 0;
    return quint32(position - 1) * 0x33333333u;
}

std::unique_ptr<DeviceControls> makeDeviceControls(DeviceSession& session, Clock& clock)
{
    return std::make_unique<DeviceRoutes>(session, clock, runSystemCommand);
}

} // namespace brovant
