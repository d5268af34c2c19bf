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

// A number from a case file, "-" for none.
std::optional<quint32> maybeNumber(const QString& field)
{
    return field == u"-" ? std::nullopt : std::optional(field.toUInt());
}

// One button key a line of data/hardware_buttons.txt.
TEST(HardwareButtons, StartRoutesExistingKeysAndShutdownGivesThemBack)
{
    const QList<Case> keys = readCases("workflow/data/hardware_buttons.txt");
    ASSERT_EQ(keys.size(), AppLifecycle::kButtonKeys);
    TestDevice d;
    Registry& reg = d.registry();
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        const Case& k = keys[n - 1];
        if (k.text(0) == u"yes")
            reg.setString(HKLM, buttonKey(n), "WndCls", "Wnd");
        if (k.text(1) != u"-")
            reg.setString(HKLM, buttonKey(n), QString(), k.text(1));
        if (k.text(2) != u"-")
            reg.setString(HKLM, buttonKey(n), "Old", k.text(2));
        if (maybeNumber(k.text(3)))
            reg.setDword(HKLM, buttonKey(n), "Flags", k.text(3).toUInt());
    }
    ASSERT_TRUE(d.app->start());
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Case& k = keys[n - 1];
        EXPECT_EQ(d.app->savedButtonFlags()[size_t(n - 1)], maybeNumber(k.text(3)));
        EXPECT_EQ(AppLifecycle::buttonCommand(n), k.text(4));
        ASSERT_EQ(reg.keyExists(HKLM, buttonKey(n)), k.text(0) == u"yes");
        if (k.text(0) == u"yes") {
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), QString()), k.text(4));
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), "Old"), k.text(5));
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), "WndCls"), QString());
            EXPECT_EQ(reg.dword(HKLM, buttonKey(n), "Flags"), 0u);
        }
    }
    d.app->shutdown();
    for (int n = 1; n <= AppLifecycle::kButtonKeys; ++n) {
        SCOPED_TRACE(n);
        const Case& k = keys[n - 1];
        ASSERT_EQ(reg.keyExists(HKLM, buttonKey(n)), k.text(0) == u"yes")
            << "a missing key is never created";
        if (k.text(0) == u"yes") {
            EXPECT_EQ(reg.string(HKLM, buttonKey(n), QString()), k.text(5));
            EXPECT_EQ(reg.dword(HKLM, buttonKey(n), "Flags"), maybeNumber(k.text(6)));
        }
    }
}

TEST(GetacDevice, ValuesAreSwitchedOnlyInKeysThatExist)
{
    const std::tuple<Hive, QString, QString> values[] = {
        {HKCU, "Security\\Software\\Getac\\CamFunc", "CameraEnabled"},
        {HKLM, "Security\\Policies\\Policies", "0000101a"},
        {HKCU, "ControlPanel\\Sip", "SuggWords"}};
    // One device a line of data/getac_keys.txt.
    for (const Case& c : readCases("workflow/data/getac_keys.txt")) {
        SCOPED_TRACE(c.where().constData());
        TestDevice d;
        if (c.text(0) == u"library")
            d.root.writeFile("Windows/externapi.dll", "MZ");
        if (c.text(0) == u"folder") {
            ASSERT_TRUE(QDir().mkpath(d.root.host("Windows/externapi.dll")));
        }
        for (size_t i = 0; i < 3; ++i) {
            const auto& [hive, key, name] = values[i];
            if (c.text(2)[i] == u'1')
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
        EXPECT_EQ(d.state.getac, c.text(1) == u"yes");
        EXPECT_EQ(state(), c.text(2) + u' ' + c.text(3));
        d.app->shutdown();
        EXPECT_EQ(state(), c.text(2) + u' ' + c.text(4));
    }
}

TEST(ActiveSync, AutoConnectIsSwitchedOffUnlessTheCableUsesPortTen)
{
    const QString comm = QString::fromUtf16(AppLifecycle::kCommKey);
    // One start a line of data/active_sync.txt.
    for (const Case& c : readCases("workflow/data/active_sync.txt")) {
        SCOPED_TRACE(c.where().constData());
        TestDevice d;
        if (c.text(0) != u"-")
            d.profile().writeInt("DUE", "Port", c.text(0).toInt());
        if (c.text(1) == u"yes")
            d.registry().createKey(HKCU, comm);
        if (maybeNumber(c.text(3)))
            d.registry().setDword(HKCU, comm, "AutoCnct", c.text(3).toUInt());
        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(dword(d.registry(), HKCU, comm, "AutoCnct"), c.text(4));
        EXPECT_EQ(d.app->autoConnectWasOn(), c.text(2) == u"yes");
        d.app->shutdown();
        EXPECT_EQ(dword(d.registry(), HKCU, comm, "AutoCnct"), c.text(5));
        EXPECT_EQ(d.registry().keyExists(HKCU, comm), c.text(1) == u"yes");
    }
}

} // namespace
} // namespace brovant::test
