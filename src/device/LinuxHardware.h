// Device services: the real hardware a device profile names: sysfs backlight and power supply,
// the battery state word file, and the commands for mixer, clock and reboot. Every step is skipped
// silently where its file or command is missing or not permitted. Commands go through a runner
// that tests replace, so no test ever reboots or sets the clock of the machine it runs on.
#pragma once

#include "device/DeviceControls.h"
#include "device/HardwareProfile.h"

#include <QDateTime>
#include <QStringList>

#include <functional>
#include <optional>

namespace brovant {

// Runs `program` with `arguments`; true when it exists and ends with status 0.
using CommandRunner = std::function<bool(const QString& program, const QStringList& arguments)>;

// The runner of the program: looks the program up on PATH and waits at most ten seconds.
bool runSystemCommand(const QString& program, const QStringList& arguments);

class LinuxHardware {
public:
    LinuxHardware(HardwareProfile profile, CommandRunner runner);

    const HardwareProfile& profile() const { return m_profile; }

    // Battery while the power supply reports "Discharging", else mains.
    PowerSource powerSource() const;

    // Slider levels 1..backlight_levels scaled onto 1..max_brightness; 0 counts as 1, so the
    // panel never goes dark.
    bool setBacklight(int level);
    std::optional<int> backlight() const;

    bool setVolumePercent(int percent);
    bool setDateTime(const QDateTime& localTime);
    // The session's idle time: suspend after `seconds` without input (0: never), as logind's
    // IdleAction; false where the profile names no drop-in or logind cannot be told.
    bool setIdleTime(int seconds);
    bool reboot();

    // The state word from the uni1 file, nullopt when there is none or it holds no number.
    std::optional<int> stateWord() const;
    // The power supply's capacity (0..100), nullopt when there is none.
    std::optional<int> batteryPercent() const;

private:
    CommandRunner m_run;
    HardwareProfile m_profile;
};

} // namespace brovant
