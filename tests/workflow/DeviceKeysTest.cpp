#include "AppLogicFixture.h"

#include <optional>

namespace brovant::test {
namespace {

constexpr Hive HKLM = Hive::LocalMachine;
constexpr Hive HKCU = Hive::CurrentUser;

QString buttonKey(int n)
{
    return QString::fromUtf16(AppLifecycle::kButtonKeyPrefix) + QString::number(n);
}

// A DWORD value as text, "-" when it is missing.
QString dword(Registry& reg, Hive hive, const QString& key, const QString& name)
{
    const auto v = reg.dword(hive, key, name);
    return v ? QString::number(*v) : "-";
}

TEST(HardwareButtons, StartRoutesExistingKeysAndShutdownGivesThemBack)
{
    // Found: default value, "Old", Flags; then "Old" after start-up, Flags after shutdown.
    struct Key {
        bool exists;
        QString routed;
        std::optional<QString> before, old;
        std::optional<quint32> flags;
        QString oldAfterStart;
        std::optional<quint32> flagsAfterShutdown;
    };
    const QString calc = "\\Windows\\calc.exe", first = "\\Windows\\first.exe",
                  notes = "\\Windows\\notes.exe", cam = "\\Windows\\cam.exe",
                  plain = "\\Brovant\\Messenger.exe", up = plain + " U", down = plain + " D";
    const Key keys[AppLifecycle::kButtonKeys] = {
        {true, up, calc, {}, 8u, calc, 8u},
        {false, down, {}, {}, {}, {}, {}},
        // Left by a crashed run: our command in place, the original in "Old", Flags already 0.
        {true, up, up, first, 0u, first, 0u},
        // No Flags: Flags is set to 0 and nothing is written back.
        {true, down, notes, {}, {}, notes, 0u},
        {true, plain, cam, "stale", 3u, cam, 3u},
        // A key without values: its empty default value is kept as "Old".
        {true, plain, {}, {}, {}, QString(), 0u}};
    TestDevice d;
    Registry& reg = d.registry();
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        const Key& k = keys[n - 1];
        if (k.exists)
            reg.setString(HKLM, buttonKey(n), "WndCls", "Wnd");
        if (k.before)
            reg.setString(HKLM, buttonKey(n), QString(), *k.before);
        if (k.flags)
            reg.setDword(HKLM, buttonKey(n), "Flags", *k.flags);
        if (k.old)
            reg.setString(HKLM, buttonKey(n), "Old", *k.old);
    }
    ASSERT_TRUE(d.app->start());
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Key& k = keys[n - 1];
        EXPECT_EQ(d.app->savedButtonFlags()[size_t(n - 1)], k.flags);
        EXPECT_EQ(AppLifecycle::buttonCommand(n), k.routed);
        ASSERT_EQ(reg.keyExists(HKLM, buttonKey(n)), k.exists);
        if (k.exists) {
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), QString()), k.routed);
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), "Old"), k.oldAfterStart);
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), "WndCls"), QString());
            EXPECT_EQ(reg.dword(HKLM, buttonKey(n), "Flags"), 0u);
        }
    }
    d.app->shutdown();
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Key& k = keys[n - 1];
        ASSERT_EQ(reg.keyExists(HKLM, buttonKey(n)), k.exists) << "a missing key is never created";
        if (k.exists) {
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), QString()), k.oldAfterStart);
            EXPECT_EQ(reg.dword(HKLM, buttonKey(n), "Flags"), k.flagsAfterShutdown);
        }
    }
}

TEST(GetacDevice, ValuesAreSwitchedOnlyInKeysThatExist)
{
    const std::tuple<Hive, QString, QString> values[] = {
        {HKCU, "Security\\Software\\Getac\\CamFunc", "CameraEnabled"},
        {HKLM, "Security\\Policies\\Policies", "0000101a"},
        {HKCU, "ControlPanel\\Sip", "SuggWords"}};
    // The probe: 0 none, 1 the library as a file, 2 a folder of that name. Which of the three
    // keys exist, each holding 7 before start-up; then the values after start-up and shutdown.
    const struct {
        const char* name;
        int probe;
        bool getac;
        const char *keys, *afterStart, *afterShutdown;
    } cases[] = {{"Getac, all keys", 1, true, "111", "0 1 0", "1 0 4"},
                 {"Getac, input panel", 1, true, "001", "- - 0", "- - 4"},
                 {"Getac, camera", 1, true, "100", "0 - -", "1 - -"},
                 {"other device", 0, false, "111", "7 7 7", "7 7 7"},
                 {"a folder is no library", 2, false, "111", "7 7 7", "7 7 7"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        if (c.probe == 1)
            d.root.writeFile("Windows/externapi.dll", "MZ");
        if (c.probe == 2) {
            ASSERT_TRUE(QDir().mkpath(d.root.host("Windows/externapi.dll")));
        }
        for (size_t i = 0; i < 3; ++i) {
            const auto& [hive, key, name] = values[i];
            if (c.keys[i] == '1')
                d.registry().setDword(hive, key, name, 7);
        }
        // Which keys exist, then the values: "110 0 1 -".
        const auto state = [&] {
            QStringList keys, dwords;
            for (const auto& [hive, key, name] : values) {
                keys << (d.registry().keyExists(hive, key) ? "1" : "0");
                dwords << dword(d.registry(), hive, key, name);
            }
            return keys.join(QString()) + u' ' + dwords.join(u' ');
        };
        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(d.state.getac, c.getac);
        EXPECT_EQ(state(), c.keys + QString(" ") + c.afterStart);
        d.app->shutdown();
        EXPECT_EQ(state(), c.keys + QString(" ") + c.afterShutdown);
    }
}

TEST(ActiveSync, AutoConnectIsSwitchedOffUnlessTheCableUsesPortTen)
{
    const QString comm = QString::fromUtf16(AppLifecycle::kCommKey);
    // DUE/Port (0: unset, which reads as 10), whether the key exists, whether start-up saw
    // auto-connect on; the value found ("-": none), after start-up and after shutdown.
    const struct {
        const char* name;
        int port;
        bool key, wasOn;
        const char *found, *afterStart, *afterShutdown;
    } cases[] = {{"port unset", 0, true, false, "1", "1", "1"},
                 {"port 10", 10, true, false, "1", "1", "1"},
                 {"port 3, on", 3, true, true, "1", "0", "1"},
                 {"port 3, off", 3, true, false, "0", "0", "1"},
                 {"port 10, off: exit switches it on", 10, true, false, "0", "0", "1"},
                 {"port 3, no value", 3, true, false, "-", "-", "1"},
                 {"port 3, no key", 3, false, false, "-", "-", "-"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        if (c.port)
            d.profile().writeInt("DUE", "Port", c.port);
        if (c.key)
            d.registry().createKey(HKCU, comm);
        if (*c.found != '-')
            d.registry().setDword(HKCU, comm, "AutoCnct", *c.found - '0');
        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(dword(d.registry(), HKCU, comm, "AutoCnct"), c.afterStart);
        EXPECT_EQ(d.app->autoConnectWasOn(), c.wasOn);
        d.app->shutdown();
        EXPECT_EQ(dword(d.registry(), HKCU, comm, "AutoCnct"), c.afterShutdown);
        EXPECT_EQ(d.registry().keyExists(HKCU, comm), c.key);
    }
}

} // namespace
} // namespace brovant::test
