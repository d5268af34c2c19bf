#include "AppLogicFixture.h"

#include <QDir>

#include <gtest/gtest.h>

#include <optional>

namespace brovant::test {
namespace {

constexpr Hive HKLM = Hive::LocalMachine;
constexpr Hive HKCU = Hive::CurrentUser;

QString buttonKey(int n)
{
    return QString::fromUtf16(AppLifecycle::kButtonKeyPrefix) + QString::number(n);
}

TEST(HardwareButtons, StartRoutesExistingKeysAndShutdownGivesThemBack)
{
    struct Key {
        bool exists;
        QString routed;                // the default value while the program runs
        std::optional<QString> before; // default value found
        std::optional<quint32> flags;  // Flags found
        std::optional<QString> old;    // "Old" left by an earlier run
        QString oldAfterStart;
        std::optional<quint32> flagsAfterShutdown;
    };
    const QString calc = QStringLiteral("\\Windows\\calc.exe");
    const QString first = QStringLiteral("\\Windows\\first.exe");
    const QString notes = QStringLiteral("\\Windows\\notes.exe");
    const QString cam = QStringLiteral("\\Windows\\cam.exe");
    const QString up = QStringLiteral("\\Brovant\\Messenger.exe U");
    const QString down = QStringLiteral("\\Brovant\\Messenger.exe D");
    const QString plain = QStringLiteral("\\Brovant\\Messenger.exe");
    const Key keys[AppLifecycle::kButtonKeys] = {
        {true, up, calc, 8u, {}, calc, 8u},
        {false, down, {}, {}, {}, {}, {}},
        // Left by a crashed run: our command in place, the original in "Old", Flags already 0.
        {true, up, up, 0u, first, first, 0u},
        // No Flags: Flags is set to 0 and nothing is written back.
        {true, down, notes, {}, {}, notes, 0u},
        {true, plain, cam, 3u, QStringLiteral("stale"), cam, 3u},
        // A key without values: its empty default value is kept as "Old".
        {true, plain, {}, {}, {}, QString(), 0u},
    };
    TestDevice d;
    Registry& reg = d.registry();
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        const Key& k = keys[n - 1];
        if (!k.exists)
            continue;
        reg.createKey(HKLM, buttonKey(n));
        if (k.before)
            reg.setString(HKLM, buttonKey(n), QString(), *k.before);
        if (k.flags)
            reg.setDword(HKLM, buttonKey(n), QStringLiteral("Flags"), *k.flags);
        if (k.old)
            reg.setString(HKLM, buttonKey(n), QStringLiteral("Old"), *k.old);
        reg.setString(HKLM, buttonKey(n), QStringLiteral("WndCls"), QStringLiteral("Wnd"));
    }

    ASSERT_TRUE(d.app->start());

    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Key& k = keys[n - 1];
        const QString key = buttonKey(n);
        ASSERT_EQ(reg.keyExists(HKLM, key), k.exists);
        EXPECT_EQ(d.app->savedButtonFlags()[size_t(n - 1)], k.flags);
        if (!k.exists)
            continue;
        EXPECT_EQ(reg.string(HKLM, key, QString()), k.routed);
        EXPECT_EQ(AppLifecycle::buttonCommand(n), k.routed);
        EXPECT_EQ(reg.string(HKLM, key, QStringLiteral("Old")), k.oldAfterStart);
        EXPECT_EQ(reg.string(HKLM, key, QStringLiteral("WndCls")), QString());
        EXPECT_EQ(reg.dword(HKLM, key, QStringLiteral("Flags")), 0u);
    }

    d.app->shutdown();

    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Key& k = keys[n - 1];
        const QString key = buttonKey(n);
        ASSERT_EQ(reg.keyExists(HKLM, key), k.exists) << "a missing key is never created";
        if (!k.exists)
            continue;
        EXPECT_EQ(reg.string(HKLM, key, QString()), k.oldAfterStart);
        EXPECT_EQ(reg.dword(HKLM, key, QStringLiteral("Flags")), k.flagsAfterShutdown);
    }
}

TEST(HardwareButtons, StartingTwiceAfterACrashKeepsTheFirstOldValue)
{
    TestDevice d;
    const QString key = buttonKey(2);
    const QString original = QStringLiteral("\\Windows\\voice.exe");
    d.registry().setString(HKLM, key, QString(), original);
    ASSERT_TRUE(d.app->start());

    d.restartAfterCrash();
    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.registry().string(HKLM, key, QStringLiteral("Old")), original);
    EXPECT_EQ(d.registry().string(HKLM, key, QString()), AppLifecycle::buttonCommand(2));

    d.app->shutdown();
    EXPECT_EQ(d.registry().string(HKLM, key, QString()), original);
}

TEST(GetacDevice, ValuesAreSwitchedOnlyInKeysThatExist)
{
    struct Value {
        Hive hive;
        const char* key;
        const char* name;
    };
    const Value values[] = {
        {HKCU, "Security\\Software\\Getac\\CamFunc", "CameraEnabled"},
        {HKLM, "Security\\Policies\\Policies", "0000101a"},
        {HKCU, "ControlPanel\\Sip", "SuggWords"},
    };
    using Triple = std::array<std::optional<quint32>, 3>;
    constexpr quint32 k = 7; // found before start-up
    constexpr std::nullopt_t none = std::nullopt;
    struct Case {
        const char* name;
        int probe; // 0: none, 1: the library as a file, 2: a folder of that name
        std::array<bool, 3> keys;
        bool getac;
        Triple afterStart;
        Triple afterShutdown;
    };
    const Case cases[] = {
        {"Getac, all keys", 1, {true, true, true}, true, {0u, 1u, 0u}, {1u, 0u, 4u}},
        {"Getac, input panel", 1, {false, false, true}, true, {none, none, 0u}, {none, none, 4u}},
        {"Getac, camera", 1, {true, false, false}, true, {0u, none, none}, {1u, none, none}},
        {"other device", 0, {true, true, true}, false, {k, k, k}, {k, k, k}},
        {"a folder is no library", 2, {true, true, true}, false, {k, k, k}, {k, k, k}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        if (c.probe == 1)
            d.root.writeFile(QStringLiteral("Windows/externapi.dll"), "MZ");
        if (c.probe == 2) {
            ASSERT_TRUE(QDir().mkpath(d.root.host(QStringLiteral("Windows/externapi.dll"))));
        }
        for (size_t i = 0; i < 3; ++i) {
            if (c.keys[i])
                d.registry().setDword(values[i].hive, QLatin1StringView(values[i].key),
                                      QLatin1StringView(values[i].name), k);
        }
        auto read = [&d, &values, &c] {
            Triple out;
            for (size_t i = 0; i < 3; ++i) {
                const QString key = QLatin1StringView(values[i].key);
                EXPECT_EQ(d.registry().keyExists(values[i].hive, key), c.keys[i])
                    << key.toStdString();
                out[i] = d.registry().dword(values[i].hive, key, QLatin1StringView(values[i].name));
            }
            return out;
        };

        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(d.state.getac, c.getac);
        EXPECT_EQ(read(), c.afterStart);
        d.app->shutdown();
        EXPECT_EQ(read(), c.afterShutdown);
    }
}

TEST(ActiveSync, AutoConnectIsSwitchedOffUnlessTheCableUsesPortTen)
{
    const QString comm = QString::fromUtf16(AppLifecycle::kCommKey);
    const QString value = QStringLiteral("AutoCnct");
    struct Case {
        const char* name;
        std::optional<int> port; // DUE/Port; unset reads as 10
        bool key;
        std::optional<quint32> found;
        std::optional<quint32> afterStart;
        bool wasOn;
        std::optional<quint32> afterShutdown;
    };
    const Case cases[] = {
        {"port unset", {}, true, 1u, 1u, false, 1u},
        {"port 10", 10, true, 1u, 1u, false, 1u},
        {"port 3, on", 3, true, 1u, 0u, true, 1u},
        {"port 3, off", 3, true, 0u, 0u, false, 1u},
        {"port 10, off: exit switches it on", 10, true, 0u, 0u, false, 1u},
        {"port 3, no value", 3, true, {}, {}, false, 1u},
        {"port 3, no key", 3, false, {}, {}, false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        if (c.port)
            d.profile().writeInt(QStringLiteral("DUE"), QStringLiteral("Port"), *c.port);
        if (c.key)
            d.registry().createKey(HKCU, comm);
        if (c.found)
            d.registry().setDword(HKCU, comm, value, *c.found);

        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(d.registry().dword(HKCU, comm, value), c.afterStart);
        EXPECT_EQ(d.app->autoConnectWasOn(), c.wasOn);
        d.app->shutdown();
        EXPECT_EQ(d.registry().dword(HKCU, comm, value), c.afterShutdown);
        EXPECT_EQ(d.registry().keyExists(HKCU, comm), c.key);
    }
}

} // namespace
} // namespace brovant::test
