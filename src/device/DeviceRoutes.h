// Device services: the device controls of one device root. The device family is told by the
// files in the root's "\Windows" and by registry values; its routes write the emulated registry
// and record the named events the system would see. A hardware profile (see HardwareProfile.h)
// adds the real hardware of a Linux handheld.
#pragma once

#include "device/DeviceControls.h"
#include "device/LinuxHardware.h"

#include <optional>

namespace brovant {

class DeviceRoot;
class Registry;

class DeviceRoutes final : public DeviceControls {
public:
    static constexpr const char16_t* kGetacLibrary = u"\\Windows\\externapi.dll";
    static constexpr const char16_t* kIpaqLibrary = u"\\Windows\\iPAQUtil.dll";
    static constexpr const char16_t* kPpcUtilLibrary = u"\\Windows\\ppcutil.dll";
    // Names compare case-insensitively, so "ControlPanel\BackLight" is the same key.
    static constexpr const char16_t* kBacklightKey = u"ControlPanel\\Backlight";
    static constexpr const char16_t* kBacklightEvent = u"BackLightChangeEvent";
    static constexpr const char16_t* kTimeoutsEvent = u"PowerManager/ReloadActivityTimeouts";
    // The levels the iPAQ library's set and get functions keep.
    static constexpr const char16_t* kIpaqOnPower = u"iPAQOnPower";
    static constexpr const char16_t* kIpaqOnBattery = u"iPAQOnBattery";
    // The ppcutil route knows the levels 0 to 4 only.
    static constexpr int kPpcUtilMaxLevel = 4;

    enum class Route { Getac, SeparateLevels, Ipaq, PpcUtil, None };

    // The root's hardware profile is read once, here; `runner` runs its commands.
    DeviceRoutes(DeviceSession& session, Clock& clock, CommandRunner runner);
    // With the hardware given instead of read from the root (tests, with a recording runner).
    DeviceRoutes(DeviceSession& session, Clock& clock, std::optional<LinuxHardware> hardware);

    // The route that takes this slider on this device.
    Route route(PowerSource source) const;

    bool setBacklight(PowerSource source, int level) override;
    std::optional<int> backlight(PowerSource source) const override;
    void setVolume(int position) override;
    bool setSwitchOff(int seconds) override;
    int switchOff() const override;
    bool setDateTime(const QDateTime& localTime) override;
    void reset() override;
    BatteryStatus battery() const override;
    QStringList signalledEvents() const override { return m_events; }

    // What the emulated device keeps: the last wave-out volume, and how often it was reset.
    quint32 waveOutVolume() const { return m_waveOutVolume; }
    int resetCount() const { return m_resets; }
    const std::optional<LinuxHardware>& hardware() const { return m_hardware; }

private:
    bool hasFile(const char16_t* devicePath) const;
    bool hasSeparateLevels() const;
    bool writeBacklight(const char16_t* name, int level);
    std::optional<int> readBacklight(const char16_t* name) const;

    DeviceSession& m_session;
    Clock& m_clock;
    std::optional<LinuxHardware> m_hardware;
    QStringList m_events;
    quint32 m_waveOutVolume = 0;
    int m_resets = 0;
};

// The hardware line of the system information: "Getac" on a Getac, the profile's model, the
// machine's model from `dmiProductFile`, else "Linux" with the kernel version.
QString hardwareDescription(const DeviceRoot& root, const QString& dmiProductFile = QStringLiteral(
                                                        "/sys/class/dmi/id/product_name"));

} // namespace brovant
