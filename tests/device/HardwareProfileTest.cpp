#include "device/HardwareProfile.h"
#include "device/DeviceRoutes.h"
#include "device/LinuxHardware.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "support/TempRoot.h"

#include <QFile>
#include <QStandardPaths>
#include <gtest/gtest.h>

#include <memory>

namespace brovant {
namespace {

TEST(HardwareProfile, ParsesKeysCommentsAndPaths)
{
    const DeviceRoot root(QStringLiteral("/devices/one"));
    const QString text = QStringLiteral("# Feldgerät\r\n"
                                        "; old line\r\n"
                                        "\r\n"
                                        "  Backlight = /sys/class/backlight/panel  \r\n"
                                        "backlight_levels=4\r\n"
                                        "POWER_SUPPLY=/sys/class/power_supply/BAT1\r\n"
                                        "uni1=\\Windows\\uni1.state\r\n"
                                        "mixer=Master Playback\r\n"
                                        "model=Feldgerät 7 = Wald\r\n"
                                        "reboot=Yes\r\n"
                                        "clock=no\r\n"
                                        "colour=green\r\n"
                                        "no equals sign\r\n"
                                        "=value without key\r\n"
                                        "mixer=PCM\r\n");
    const HardwareProfile p = HardwareProfile::parse(text, &root);
    EXPECT_EQ(p.backlight, QStringLiteral("/sys/class/backlight/panel"));
    EXPECT_EQ(p.backlightLevels, 4);
    EXPECT_EQ(p.powerSupply, QStringLiteral("/sys/class/power_supply/BAT1"));
    EXPECT_EQ(p.uni1, root.hostPath(QStringLiteral("\\Windows\\uni1.state")));
    EXPECT_TRUE(p.uni1.startsWith(QStringLiteral("/devices/one/")));
    EXPECT_EQ(p.mixer, QStringLiteral("PCM"));
    EXPECT_EQ(p.model, QStringLiteral("Feldgerät 7 = Wald"));
    EXPECT_TRUE(p.reboot);
    EXPECT_FALSE(p.clock);
}

TEST(HardwareProfile, DefaultsAndOddValues)
{
    struct Case {
        const char* text;
        int levels;
        bool reboot;
        bool clock;
    };
    const Case cases[] = {
        {"", 10, false, false},
        {"backlight_levels=0\nreboot=1\nclock=true", 10, false, false},
        {"backlight_levels=-3\nreboot=yes please\nclock=YES", 10, false, true},
        {"backlight_levels=abc\nreboot=yes\nreboot=no", 10, false, false},
        {"backlight_levels=255\nREBOOT=yes", 255, true, false},
    };
    for (const Case& c : cases) {
        const HardwareProfile p = HardwareProfile::parse(QString::fromUtf8(c.text));
        EXPECT_EQ(p.backlightLevels, c.levels) << c.text;
        EXPECT_EQ(p.reboot, c.reboot) << c.text;
        EXPECT_EQ(p.clock, c.clock) << c.text;
        EXPECT_TRUE(p.backlight.isEmpty() && p.mixer.isEmpty()) << c.text;
    }
}

TEST(HardwareProfile, OnlyARootWithTheFileHasOne)
{
    test::TempRoot root;
    EXPECT_FALSE(HardwareProfile::read(DeviceRoot(root.path())).has_value());
    root.writeFile("WINDOWS/Hardware.CONF", "mixer=Master\n");
    const std::optional<HardwareProfile> p = HardwareProfile::read(DeviceRoot(root.path()));
    ASSERT_TRUE(p.has_value());
    EXPECT_EQ(p->mixer, QStringLiteral("Master"));
}

// sysfs-like folders below a temporary directory, and a runner that records.
class Sysfs {
public:
    Sysfs()
    {
        dir.writeFile("backlight/panel/max_brightness", "255\n");
        dir.writeFile("backlight/panel/brightness", "100\n");
        dir.writeFile("power_supply/BAT0/capacity", "64\n");
        dir.writeFile("power_supply/BAT0/status", "Charging\n");
    }
    LinuxHardware hardware(const QString& conf)
    {
        return LinuxHardware(HardwareProfile::parse(withDir(conf)), recorder());
    }
    // "%1" in a profile stands for the temporary folder.
    QString withDir(QString conf) const { return conf.replace(QStringLiteral("%1"), dir.path()); }
    CommandRunner recorder()
    {
        return [this](const QString& program, const QStringList& arguments) {
            commands << program + u' ' + arguments.join(u' ');
            return true;
        };
    }
    QByteArray brightness() const { return dir.readFile("backlight/panel/brightness"); }

    test::TempRoot dir;
    QStringList commands;
};

TEST(LinuxHardware, BacklightScalesToMaxBrightness)
{
    struct Case {
        int levels;
        int level;
        bool written;
        const char* brightness;
        int readBack;
        const char* max = "255\n";
    };
    // The lowest level is never dark, also where it would round down to 0.
    const Case cases[] = {
        {10, 10, true, "255\n", 10}, {10, 5, true, "128\n", 5},      {10, 0, true, "26\n", 1},
        {10, 1, true, "26\n", 1},    {10, 12, true, "255\n", 10},    {4, 3, true, "191\n", 3},
        {10, -1, false, "100\n", 4}, {10, 1, true, "1\n", 3, "4\n"},
    };
    for (const Case& c : cases) {
        Sysfs sysfs;
        sysfs.dir.writeFile("backlight/panel/max_brightness", c.max);
        LinuxHardware hw =
            sysfs.hardware(QStringLiteral("backlight=%1/backlight/panel\nbacklight_levels=")
                           + QString::number(c.levels));
        EXPECT_EQ(hw.setBacklight(c.level), c.written) << c.level;
        EXPECT_EQ(sysfs.brightness(), c.brightness) << c.level;
        EXPECT_EQ(hw.backlight(), c.readBack) << c.level;
    }
}

TEST(LinuxHardware, MissingSysfsFilesAreSkipped)
{
    Sysfs sysfs;
    LinuxHardware none = sysfs.hardware(QStringLiteral("mixer=Master\n"));
    EXPECT_FALSE(none.setBacklight(5));
    EXPECT_EQ(none.backlight(), std::nullopt);
    EXPECT_EQ(none.batteryPercent(), std::nullopt);
    EXPECT_EQ(none.powerSource(), PowerSource::Mains);

    LinuxHardware elsewhere = sysfs.hardware(
        QStringLiteral("backlight=%1/backlight/gone\npower_supply=%1/power_supply/BAT9\n"));
    EXPECT_FALSE(elsewhere.setBacklight(5));
    EXPECT_FALSE(QFile::exists(sysfs.dir.host("backlight/gone/brightness")));
    EXPECT_EQ(elsewhere.batteryPercent(), std::nullopt);

    // Without max_brightness no level can be scaled, and brightness is left alone.
    sysfs.dir.writeFile("backlight/panel/max_brightness", "");
    LinuxHardware noMax = sysfs.hardware(QStringLiteral("backlight=%1/backlight/panel\n"));
    EXPECT_FALSE(noMax.setBacklight(5));
    EXPECT_EQ(sysfs.brightness(), "100\n");
    EXPECT_TRUE(sysfs.commands.isEmpty());
}

TEST(LinuxHardware, PowerSourceAndCapacity)
{
    const std::pair<const char*, PowerSource> table[] = {
        {"Discharging\n", PowerSource::Battery}, {"discharging", PowerSource::Battery},
        {"Charging\n", PowerSource::Mains},      {"Full\n", PowerSource::Mains},
        {"Not charging\n", PowerSource::Mains},  {"", PowerSource::Mains},
    };
    for (const auto& [status, source] : table) {
        Sysfs sysfs;
        sysfs.dir.writeFile("power_supply/BAT0/status", status);
        LinuxHardware hw = sysfs.hardware(QStringLiteral("power_supply=%1/power_supply/BAT0\n"));
        EXPECT_EQ(hw.powerSource(), source) << status;
        EXPECT_EQ(hw.batteryPercent(), 64);
    }
}

// Profiles that reboot or set the clock are only ever built in memory and only ever get a runner
// that records: no test may reach the machine's own reboot or clock.
HardwareProfile commandProfile(const char* mixer, bool reboot, bool clock)
{
    HardwareProfile profile;
    profile.mixer = QString::fromLatin1(mixer);
    profile.reboot = reboot;
    profile.clock = clock;
    return profile;
}

TEST(LinuxHardware, CommandsAreBuiltOnlyWhenTheProfileAsks)
{
    const QDateTime when(QDate(2026, 5, 4), QTime(7, 30, 5));
    struct Case {
        HardwareProfile profile;
        QStringList commands;
    };
    const Case cases[] = {
        {commandProfile("", false, false), {}},
        {commandProfile("Master", false, false), {QStringLiteral("amixer -q set Master 60%")}},
        {commandProfile("", false, true),
         {QStringLiteral("timedatectl --no-ask-password set-time 2026-05-04 07:30:05")}},
        {commandProfile("", true, false), {QStringLiteral("systemctl --no-ask-password reboot")}},
        {commandProfile("Speaker Playback", true, true),
         {QStringLiteral("amixer -q set Speaker Playback 60%"),
          QStringLiteral("timedatectl --no-ask-password set-time 2026-05-04 07:30:05"),
          QStringLiteral("systemctl --no-ask-password reboot")}},
    };
    for (const Case& c : cases) {
        Sysfs sysfs;
        LinuxHardware hw(c.profile, sysfs.recorder());
        EXPECT_EQ(hw.setVolumePercent(60), !c.profile.mixer.isEmpty());
        EXPECT_EQ(hw.setDateTime(when), c.profile.clock);
        EXPECT_FALSE(hw.setDateTime(QDateTime()));
        EXPECT_EQ(hw.reboot(), c.profile.reboot);
        EXPECT_EQ(sysfs.commands, c.commands);
    }
}

// A command that is missing or refused is no error, only a false.
TEST(LinuxHardware, RefusedCommandIsSkipped)
{
    QStringList tried;
    LinuxHardware hw(commandProfile("Master", true, false),
                     [&tried](const QString& program, const QStringList&) {
                         tried << program;
                         return false;
                     });
    EXPECT_FALSE(hw.reboot());
    EXPECT_FALSE(hw.setVolumePercent(20));
    EXPECT_EQ(tried, (QStringList{QStringLiteral("systemctl"), QStringLiteral("amixer")}));
}

TEST(LinuxHardware, RealRunnerReportsMissingProgramsAndExitStatus)
{
    EXPECT_FALSE(runSystemCommand(QStringLiteral("brovant-no-such-program"), {}));
    if (QStandardPaths::findExecutable(QStringLiteral("true")).isEmpty())
        GTEST_SKIP() << "no true/false on this machine";
    EXPECT_TRUE(runSystemCommand(QStringLiteral("true"), {}));
    EXPECT_FALSE(runSystemCommand(QStringLiteral("false"), {}));
}

// The device controls with a hardware profile: the emulated routes still run, and the hardware
// follows them for the power source in use.
class ProfiledDevice {
public:
    explicit ProfiledDevice(const QString& conf, const QStringList& libraries = {})
    {
        for (const QString& library : libraries)
            root.writeFile(QStringLiteral("Windows/") + library, "MZ");
        root.writeFile("Windows/hardware.conf", sysfs.withDir(conf).toUtf8());
        session = std::make_unique<DeviceSession>(root.path());
        routes = std::make_unique<DeviceRoutes>(*session, clock, sysfs.recorder());
    }
    void stageBacklightKey(const char* name, quint32 value)
    {
        session->registry().setDword(Hive::CurrentUser, QStringLiteral("ControlPanel\\Backlight"),
                                     QString::fromLatin1(name), value);
    }

    Sysfs sysfs;
    test::TempRoot root;
    ManualClock clock;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<DeviceRoutes> routes;
};

TEST(DeviceRoutesOnHardware, BacklightFollowsTheRouteForTheSourceInUse)
{
    struct Case {
        const char* what;
        QStringList libraries;
        const char* status;
        PowerSource source;
        int level;
        bool taken;
        const char* brightness;
    };
    // clang-format off
    const Case cases[] = {
        {"no route, mains", {}, "Charging", PowerSource::Mains, 5, true, "128\n"},
        {"battery slider on mains", {}, "Charging", PowerSource::Battery, 5, false, "100\n"},
        {"no route, battery", {}, "Discharging", PowerSource::Battery, 10, true, "255\n"},
        {"ppcutil takes 3", {"ppcutil.dll"}, "Full", PowerSource::Mains, 3, true, "77\n"},
        {"ppcutil ignores 5", {"ppcutil.dll"}, "Full", PowerSource::Mains, 5, false, "100\n"},
        {"lowest stays lit", {"ppcutil.dll"}, "Full", PowerSource::Mains, 0, true, "26\n"},
        {"ppcutil, battery", {"ppcutil.dll"}, "Discharging", PowerSource::Mains, 3, true, "100\n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        ProfiledDevice device(QStringLiteral("backlight=%1/backlight/panel\n"
                                             "power_supply=%1/power_supply/BAT0\n"),
                              c.libraries);
        device.sysfs.dir.writeFile("power_supply/BAT0/status", c.status);
        device.stageBacklightKey("Brightness", 1);
        EXPECT_EQ(device.routes->setBacklight(c.source, c.level), c.taken) << c.what;
        EXPECT_EQ(device.sysfs.brightness(), c.brightness) << c.what;
    }
}

TEST(DeviceRoutesOnHardware, VolumeDateAndResetReachTheCommands)
{
    test::TempRoot root;
    DeviceSession session(root.path());
    ManualClock clock;
    QStringList commands;
    DeviceRoutes routes(session, clock,
                        LinuxHardware(commandProfile("Master", true, true),
                                      [&commands](const QString& program, const QStringList& args) {
                                          commands << program + u' ' + args.join(u' ');
                                          return true;
                                      }));
    for (int position = 0; position <= 7; ++position)
        routes.setVolume(position);
    const QDateTime when(QDate(2026, 12, 24), QTime(18, 0, 0));
    EXPECT_TRUE(routes.setDateTime(when));
    EXPECT_EQ(clock.now(), when);
    routes.reset();
    EXPECT_EQ(routes.resetCount(), 1);
    QStringList expected;
    for (const int percent : {0, 0, 20, 40, 60, 80, 100, 0})
        expected << QStringLiteral("amixer -q set Master %1%").arg(percent);
    expected << QStringLiteral("timedatectl --no-ask-password set-time 2026-12-24 18:00:00")
             << QStringLiteral("systemctl --no-ask-password reboot");
    EXPECT_EQ(commands, expected);
}

// The switch-off choice becomes logind's idle action through the profile's drop-in, which logind
// is told to read again; without a drop-in the system's own setting stays.
TEST(DeviceRoutesOnHardware, SwitchOffBecomesTheSessionIdleTime)
{
    const std::pair<int, const char*> table[] = {
        {180, "[Login]\nIdleAction=suspend\nIdleActionSec=180s\n"},
        {0, "[Login]\nIdleAction=ignore\n"},
    };
    for (const auto& [seconds, dropIn] : table) {
        ProfiledDevice device(QStringLiteral("idle_conf=%1/brovant.conf\n"));
        EXPECT_TRUE(device.routes->setSwitchOff(seconds)) << seconds;
        EXPECT_EQ(device.sysfs.dir.readFile("brovant.conf"), dropIn) << seconds;
        EXPECT_EQ(device.sysfs.commands,
                  QStringList{QStringLiteral("systemctl --no-ask-password kill --kill-whom=main "
                                             "--signal=SIGHUP systemd-logind")});
    }
    ProfiledDevice without(QStringLiteral("mixer=Master\n"));
    EXPECT_FALSE(without.routes->setSwitchOff(60));
    EXPECT_TRUE(without.sysfs.commands.isEmpty());
}

// A root's profile file reaches the hardware too; this one only names the mixer.
TEST(DeviceRoutesOnHardware, ProfileFileOfTheRootIsRead)
{
    ProfiledDevice device(QStringLiteral("mixer=Master\n"));
    ASSERT_TRUE(device.routes->hardware().has_value());
    device.routes->setVolume(4);
    device.routes->setDateTime(QDateTime(QDate(2026, 12, 24), QTime(18, 0, 0)));
    device.routes->reset();
    EXPECT_EQ(device.sysfs.commands, QStringList{QStringLiteral("amixer -q set Master 60%")});
}

} // namespace
} // namespace brovant
