// Device services: what the settings and system information screens change or read on the
// handheld: backlight, volume, automatic switch-off, date and time, reset and the battery. Each
// device family has its own routes (Getac, separate mains/battery levels, iPAQ, ppcutil); they
// write the emulated registry and signal the named events, and on real Linux hardware a device
// profile may add the hardware itself. Screens only call this interface.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <memory>
#include <optional>

namespace brovant {

class Clock;
class DeviceSession;

enum class PowerSource { Mains, Battery };

struct BatteryStatus {
    // The device's own state word route answered: `state` holds its value (10 charging, 20 good,
    // 30 low, 40 very low, 100 missing, 255 unknown). Otherwise `percent` is the charge, or -1.
    bool hasState = false;
    int state = 255;
    int percent = -1;

    // "Ladevorgang", "gut", ... and "unidentifiziert" for any other value.
    static QString stateText(int state);
};

class DeviceControls {
public:
    virtual ~DeviceControls() = default;

    // The lowest backlight level any route is given: at 0 a touch-only handheld turns dark and
    // nothing on it can bring the light back.
    static constexpr int kLowestBacklight = 1;

    // Backlight through the first route the device has; false when no route takes that slider
    // (the battery slider has only the separate-levels and iPAQ routes). Levels below the lowest
    // are raised to it.
    virtual bool setBacklight(PowerSource source, int level) = 0;
    virtual std::optional<int> backlight(PowerSource source) const = 0;

    // Volume slider positions 1..6 write 0x00000000, 0x33333333 ... 0xFFFFFFFF; others 0.
    virtual void setVolume(int position) = 0;
    static quint32 volumeValue(int position);

    // Automatic switch-off on battery in seconds (0 = never); kept as the program's current value.
    // True when the system's own idle time follows it too; false where the system's setting
    // stays in force.
    virtual bool setSwitchOff(int seconds) = 0;
    virtual int switchOff() const = 0;

    virtual bool setDateTime(const QDateTime& localTime) = 0;
    virtual void reset() = 0;
    virtual BatteryStatus battery() const = 0;

    // Named events signalled so far ("BackLightChangeEvent",
    // "PowerManager/ReloadActivityTimeouts").
    virtual QStringList signalledEvents() const = 0;
};

// The routes of the device under `session`'s root, the clock for date and time.
std::unique_ptr<DeviceControls> makeDeviceControls(DeviceSession& session, Clock& clock);

} // namespace brovant
