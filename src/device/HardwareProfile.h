// Device services: the profile that lets the program reach real Linux hardware. Only a device root
// holding "\Windows\hardware.conf" has one; without it nothing outside the root is touched, so a
// development machine or a CI runner never dims, reboots or changes its clock.
//
// The file holds "key=value" lines; blank lines and lines starting with '#' or ';' are skipped,
// keys compare case-insensitively, unknown keys are ignored and a later line wins. Paths that start
// with a backslash are device paths below the root, all others host paths.
//
//   backlight=/sys/class/backlight/<name>        brightness, scaled to max_brightness
//   backlight_levels=<n>                         slider level meaning full brightness (default 10)
//   power_supply=/sys/class/power_supply/<name>  capacity (percent) and status (on battery?)
//   uni1=<file>                                  the battery state word, a decimal number
//   mixer=<ALSA control>                         volume via "amixer -q set <control> <n>%"
//   model=<text>                                 the hardware line of the system information
//   reboot=yes                                   reset runs "systemctl reboot"
//   clock=yes                                    date and time go to "timedatectl set-time"
//   idle_conf=<logind drop-in>                   the switch-off time becomes logind's IdleAction
//                                                (the image makes the file writable and lets the
//                                                program send logind SIGHUP to reread it)
#pragma once

#include <QString>

#include <optional>

namespace brovant {

class DeviceRoot;

struct HardwareProfile {
    static constexpr const char16_t* kFile = u"\\Windows\\hardware.conf";
    static constexpr int kDefaultBacklightLevels = 10;

    QString backlight;
    int backlightLevels = kDefaultBacklightLevels;
    QString powerSupply;
    QString uni1;
    QString mixer;
    QString model;
    bool reboot = false;
    bool clock = false;
    QString idleConf;

    // `root` resolves backslash paths; without one they are kept as written.
    static HardwareProfile parse(const QString& text, const DeviceRoot* root = nullptr);
    // nullopt when the root has no profile file (or it cannot be read).
    static std::optional<HardwareProfile> read(const DeviceRoot& root);
};

} // namespace brovant
