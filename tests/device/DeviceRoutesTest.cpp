#include "device/DeviceRoutes.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QSysInfo>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace brovant {
namespace {

const QString kBacklightKey = QStringLiteral("ControlPanel\\Backlight");
const QString kTimeoutsKey = QString::fromUtf16(KeepAwake::kTimeoutsKey);
const QString kTimeout = QString::fromUtf16(KeepAwake::kValue);

// A device root staged with library files and registry values, then opened with a runner that
// only records the commands it is given.
class Device {
public:
    // "getac", "ipaq", "ppcutil" become their library files in "\Windows".
    void addLibraries(const QStringList& families)
    {
        for (const QString& family : families) {
            const char* file = family == u"getac"  ? "externapi.dll"
                               : family == u"ipaq" ? "iPAQUtil.dll"
                                                   : "ppcutil.dll";
            root.writeFile(QStringLiteral("Windows/") + QLatin1StringView(file), "MZ");
        }
    }
    void addHardware(const QByteArray& conf) { root.writeFile("Windows/hardware.conf", conf); }

    DeviceRoutes& open()
    {
        session = std::make_unique<DeviceSession>(root.path());
        routes = std::make_unique<DeviceRoutes>(
            *session, clock, [this](const QString& program, const QStringList& arguments) {
                commands << program + u' ' + arguments.join(u' ');
                return true;
            });
        return *routes;
    }
    Registry& registry() { return session->registry(); }

    // The key's values as "Name=value", sorted, or "<no key>".
    QString keyState(Hive hive, const QString& key)
    {
        if (!registry().keyExists(hive, key))
            return QStringLiteral("<no key>");
        QStringList values;
        for (const QString& name : registry().valueNames(hive, key))
            values << name + u'=' + QString::number(registry().dword(hive, key, name).value_or(0));
        values.sort(Qt::CaseInsensitive);
        return values.join(u' ');
    }
    // Creates the key and its values from "Name=value Name=value"; nullptr leaves the key out.
    void stageKey(Hive hive, const QString& key, const char* values)
    {
        if (!values)
            return;
        registry().createKey(hive, key);
        for (const QString& pair : QString::fromLatin1(values).split(u' ', Qt::SkipEmptyParts))
            registry().setDword(hive, key, pair.section(u'=', 0, 0),
                                pair.section(u'=', 1).toUInt());
    }

    test::TempRoot root;
    ManualClock clock;
    QStringList commands;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<DeviceRoutes> routes;
};

constexpr PowerSource Mains = PowerSource::Mains;
constexpr PowerSource Battery = PowerSource::Battery;

struct BacklightCase {
    const char* what;
    QStringList libraries;
    const char* before; // the backlight key's values, nullptr: no key
    PowerSource source;
    int level;
    bool taken;
    const char* after;
    std::optional<int> readBack;
};

// Device families by their library files and the backlight key's values before the write.
// clang-format off
const BacklightCase kBacklightCases[] = {
    {"getac mains", {"getac"}, "", Mains, 7, true, "Brightness=7", 7},
    {"getac battery has no route", {"getac"}, "", Battery, 7, false, "", {}},
    {"getac without key", {"getac"}, nullptr, Mains, 7, false, "<no key>", {}},
    {"getac battery with separate levels", {"getac"}, "ACbrightness=9", Battery, 3, true,
     "ACbrightness=9 DCbrightness=3", 3},
    {"getac mains ignores separate levels", {"getac"}, "ACbrightness=9", Mains, 2, true,
     "ACbrightness=9 Brightness=2", 2},
    {"separate mains", {}, "ACbrightness=5", Mains, 2, true, "ACbrightness=2", 2},
    {"separate battery", {}, "ACbrightness=5", Battery, 4, true,
     "ACbrightness=5 DCbrightness=4", 4},
    {"separate known by battery value", {}, "DCbrightness=1", Mains, 6, true,
     "ACbrightness=6 DCbrightness=1", 6},
    {"separate before ipaq and ppcutil", {"ipaq", "ppcutil"}, "DCbrightness=1", Battery, 8, true,
     "DCbrightness=8", 8},
    {"ipaq mains", {"ipaq"}, "", Mains, 3, true, "iPAQOnPower=3", 3},
    {"ipaq battery", {"ipaq"}, "iPAQOnPower=3", Battery, 1, true,
     "iPAQOnBattery=1 iPAQOnPower=3", 1},
    {"ipaq without key", {"ipaq"}, nullptr, Battery, 1, false, "<no key>", {}},
    {"ipaq before ppcutil", {"ppcutil", "ipaq"}, "", Mains, 6, true, "iPAQOnPower=6", 6},
    {"ppcutil on", {"ppcutil"}, "", Mains, 3, true, "Brightness=3 OnOff=1", 3},
    {"ppcutil highest", {"ppcutil"}, "", Mains, 4, true, "Brightness=4 OnOff=1", 4},
    {"ppcutil 0 keeps the light on", {"ppcutil"}, "Brightness=2 OnOff=1", Mains, 0, true,
     "Brightness=1 OnOff=1", 1},
    {"getac 0 is the lowest level", {"getac"}, "Brightness=5", Mains, 0, true, "Brightness=1", 1},
    {"separate battery 0 is the lowest level", {}, "DCbrightness=5", Battery, 0, true,
     "DCbrightness=1", 1},
    {"ppcutil ignores 5", {"ppcutil"}, "Brightness=2 OnOff=1", Mains, 5, false,
     "Brightness=2 OnOff=1", 2},
    {"ppcutil ignores 9", {"ppcutil"}, "", Mains, 9, false, "", {}},
    {"ppcutil battery has no route", {"ppcutil"}, "", Battery, 2, false, "", {}},
    {"ppcutil without key", {"ppcutil"}, nullptr, Mains, 2, false, "<no key>", {}},
    {"no library", {}, "Brightness=2", Mains, 3, false, "Brightness=2", {}},
    {"no library battery", {}, "", Battery, 3, false, "", {}},
    {"negative level", {"getac"}, "Brightness=2", Mains, -1, false, "Brightness=2", 2},
};
// clang-format on

TEST(BacklightRoutes, WritesTheRouteOfTheDeviceFamily)
{
    for (const BacklightCase& c : kBacklightCases) {
        SCOPED_TRACE(c.what);
        Device device;
        device.addLibraries(c.libraries);
        DeviceRoutes& routes = device.open();
        device.stageKey(Hive::CurrentUser, kBacklightKey, c.before);
        EXPECT_EQ(routes.setBacklight(c.source, c.level), c.taken);
        EXPECT_EQ(device.keyState(Hive::CurrentUser, kBacklightKey), QLatin1StringView(c.after));
        EXPECT_EQ(routes.signalledEvents(),
                  c.taken ? QStringList{QStringLiteral("BackLightChangeEvent")} : QStringList{});
        EXPECT_EQ(routes.backlight(c.source), c.readBack);
        EXPECT_TRUE(device.commands.isEmpty());
    }
}

// Reading on a ppcutil device: the level, but 0 while the light is switched off.
TEST(BacklightRoutes, PpcUtilReadsOffAsZero)
{
    struct Case {
        const char* values;
        std::optional<int> level;
    };
    const Case cases[] = {
        {"Brightness=3 OnOff=1", 3},
        {"Brightness=3 OnOff=0", 0},
        {"Brightness=3", 3},
        {"OnOff=1", {}},
        {"", {}},
    };
    for (const Case& c : cases) {
        Device device;
        device.addLibraries({"ppcutil"});
        DeviceRoutes& routes = device.open();
        device.stageKey(Hive::CurrentUser, kBacklightKey, c.values);
        EXPECT_EQ(routes.backlight(Mains), c.level) << c.values;
        EXPECT_EQ(routes.backlight(Battery), std::nullopt) << c.values;
    }
}

// The key spelled as another device spells it is the same key.
TEST(BacklightRoutes, KeyNameIsCaseInsensitive)
{
    Device device;
    DeviceRoutes& routes = device.open();
    device.stageKey(Hive::CurrentUser, QStringLiteral("ControlPanel\\BackLight"), "dcBrightness=1");
    EXPECT_EQ(routes.route(Mains), DeviceRoutes::Route::SeparateLevels);
    EXPECT_TRUE(routes.setBacklight(Mains, 4));
    EXPECT_EQ(
        device.registry().dword(Hive::CurrentUser, kBacklightKey, QStringLiteral("acbrightness")),
        4u);
}

TEST(DeviceRoutes, VolumeKeepsTheWaveOutValue)
{
    Device device;
    DeviceRoutes& routes = device.open();
    const std::pair<int, quint32> table[] = {
        {1, 0x00000000u}, {2, 0x33333333u}, {3, 0x66666666u}, {4, 0x99999999u}, {5, 0xCCCCCCCCu},
        {6, 0xFFFFFFFFu}, {0, 0u},          {7, 0u},          {-1, 0u},         {100, 0u},
    };
    for (const auto& [position, value] : table) {
        routes.setVolume(6);
        routes.setVolume(position);
        EXPECT_EQ(routes.waveOutVolume(), value) << position;
        EXPECT_EQ(DeviceControls::volumeValue(position), value) << position;
    }
    EXPECT_TRUE(device.commands.isEmpty());
}

TEST(DeviceRoutes, SwitchOffWritesTheTimeoutAndBecomesTheKeepAwakeValue)
{
    for (const int seconds : {0, 60, 120, 180, 240, 300}) {
        Device device;
        DeviceRoutes& routes = device.open();
        device.stageKey(Hive::LocalMachine, kTimeoutsKey, "BattSuspendTimeout=600");
        device.session->keepAwake().readSaved();
        EXPECT_EQ(routes.switchOff(), 600);

        routes.setSwitchOff(seconds);
        EXPECT_EQ(device.registry().dword(Hive::LocalMachine, kTimeoutsKey, kTimeout),
                  quint32(seconds));
        EXPECT_EQ(routes.switchOff(), seconds);
        EXPECT_EQ(routes.signalledEvents(),
                  QStringList{QStringLiteral("PowerManager/ReloadActivityTimeouts")});

        // A long job afterwards gives back the user's choice, not the start-up value.
        {
            KeepAwake::Scope awake(device.session->keepAwake());
            EXPECT_EQ(device.registry().dword(Hive::LocalMachine, kTimeoutsKey, kTimeout), 0u);
        }
        EXPECT_EQ(device.registry().dword(Hive::LocalMachine, kTimeoutsKey, kTimeout),
                  quint32(seconds));
    }
}

TEST(DeviceRoutes, SwitchOffWithoutPowerManagerKeyOnlyKeepsTheValue)
{
    Device device;
    DeviceRoutes& routes = device.open();
    routes.setSwitchOff(180);
    EXPECT_FALSE(device.registry().keyExists(Hive::LocalMachine, kTimeoutsKey));
    EXPECT_EQ(routes.switchOff(), 180);
    EXPECT_EQ(device.session->keepAwake().saved(), 180u);
    EXPECT_TRUE(routes.signalledEvents().isEmpty());
}

// Without a hardware profile nothing leaves the root: the clock is the program's, reset counts.
TEST(DeviceRoutes, EmulatedDeviceRunsNoCommand)
{
    Device device;
    device.addLibraries({"getac"});
    DeviceRoutes& routes = device.open();
    const QDateTime when(QDate(2027, 2, 3), QTime(4, 5, 6));
    EXPECT_TRUE(routes.setDateTime(when));
    EXPECT_EQ(device.clock.now(), when);
    EXPECT_FALSE(routes.setDateTime(QDateTime()));
    EXPECT_EQ(device.clock.now(), when);
    routes.reset();
    routes.reset();
    EXPECT_EQ(routes.resetCount(), 2);
    routes.setVolume(3);
    routes.setBacklight(Mains, 1);
    routes.setSwitchOff(60);
    EXPECT_FALSE(routes.hardware().has_value());
    EXPECT_TRUE(device.commands.isEmpty());
}

TEST(DeviceRoutes, BatteryStateTexts)
{
    const std::pair<int, const char*> table[] = {
        {10, "Ladevorgang"},  {20, "gut"},    {30, "niedrig"},
        {40, "sehr niedrig"}, {100, "fehlt"}, {255, "unbekannt"},
    };
    for (const auto& [state, text] : table)
        EXPECT_EQ(BatteryStatus::stateText(state), QString::fromUtf8(text)) << state;
    for (const int state : {0, 11, 39, 41, 99, 101, 254, 256, -1})
        EXPECT_EQ(BatteryStatus::stateText(state), QStringLiteral("unidentifiziert")) << state;
}

// The state word comes from the uni1 file (a device path here); without an answer the power
// supply's capacity; without either, nothing is known.
TEST(DeviceRoutes, BatteryRoutes)
{
    const struct {
        const char* what;
        const char* conf; // nullptr: no hardware profile
        const char* stateFile;
        const char* capacity;
        bool hasState;
        int state;
        int percent;
    } cases[] = {
        {"no profile", nullptr, "20", "50", false, 255, -1},
        {"state word", "uni1=\\Windows\\uni1.state\npower_supply=\\sys\\BAT0\n", "20", "50", true,
         20, -1},
        {"state missing", "uni1=\\Windows\\uni1.state\npower_supply=\\sys\\BAT0\n", nullptr, "50",
         false, 255, 50},
        {"state unreadable", "uni1=\\Windows\\uni1.state\npower_supply=\\sys\\BAT0\n", "gut", "50",
         false, 255, 50},
        {"odd state", "uni1=\\Windows\\uni1.state\n", "41\n", nullptr, true, 41, -1},
        {"capacity only", "power_supply=\\sys\\BAT0\n", "20", "87\n", false, 255, 87},
        {"capacity over 100", "power_supply=\\sys\\BAT0\n", nullptr, "150", false, 255, 100},
        {"capacity missing", "power_supply=\\sys\\BAT0\n", nullptr, nullptr, false, 255, -1},
        {"profile without battery", "mixer=Master\n", "20", "50", false, 255, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Device device;
        if (c.conf)
            device.addHardware(c.conf);
        if (c.stateFile)
            device.root.writeFile("Windows/uni1.state", c.stateFile);
        if (c.capacity)
            device.root.writeFile("sys/BAT0/capacity", c.capacity);
        const BatteryStatus status = device.open().battery();
        EXPECT_EQ(status.hasState, c.hasState);
        EXPECT_EQ(status.state, c.state);
        EXPECT_EQ(status.percent, c.percent);
    }
}

TEST(DeviceRoutes, HardwareDescription)
{
    struct Case {
        const char* what;
        bool getac;
        const char* conf;
        const char* dmi;
        QString expected;
    };
    const QString kernel = QStringLiteral("Linux ") + QSysInfo::kernelVersion();
    const Case cases[] = {
        {"getac", true, "model=Feldgerät\n", "Laptop", QStringLiteral("Getac")},
        {"profile model", false, "model=Feldgerät 7\n", "Laptop", QStringLiteral("Feldgerät 7")},
        {"machine model", false, nullptr, " Laptop  X1 \n", QStringLiteral("Laptop X1")},
        {"profile without model", false, "mixer=Master\n", "Laptop", QStringLiteral("Laptop")},
        {"blank machine model", false, nullptr, "  \n", kernel},
        {"no machine model", false, nullptr, nullptr, kernel},
    };
    for (const Case& c : cases) {
        Device device;
        if (c.getac)
            device.addLibraries({"getac"});
        if (c.conf)
            device.addHardware(c.conf);
        test::TempRoot host;
        if (c.dmi)
            host.writeFile("product_name", c.dmi);
        EXPECT_EQ(hardwareDescription(DeviceRoot(device.root.path()), host.host("product_name")),
                  c.expected)
            << c.what;
    }
}

} // namespace
} // namespace brovant
