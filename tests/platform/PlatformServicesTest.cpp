#include "platform/Clock.h"
#include "platform/Cp1252.h"
#include "platform/KeepAwake.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "support/TempRoot.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

TEST(Cp1252, EveryByteSurvivesTheRoundTrip)
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    const QString text = cp1252::decode(all);
    ASSERT_EQ(text.size(), 256);
    EXPECT_EQ(cp1252::encode(text), all);
}

TEST(Cp1252, KnownCharacters)
{
    struct Case {
        const char* utf8;
        QByteArray bytes;
    };
    const Case cases[] = {
        {"LÄ", "L\xC4"},
        {"Schälholz", "Sch\xE4lholz"},
        {"ß", "\xDF"},
        {"€", "\x80"},
        {"„Zoll“", "\x84Zoll\x93"},
        {"Š", "\x8A"},
        {"Ÿ", "\x9F"},
        {"–", "\x96"},
        {"ő", "?"},
        {"日本", "??"},
        {"", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(cp1252::encode(QString::fromUtf8(c.utf8)), c.bytes) << c.utf8;
        if (!c.bytes.contains('?')) {
            EXPECT_EQ(cp1252::decode(c.bytes), QString::fromUtf8(c.utf8)) << c.utf8;
        }
    }
}

class ProfileTest : public ::testing::Test {
protected:
    TempRoot root;
    Registry registry{root.path()};
    Profile profile{registry};
};

TEST_F(ProfileTest, AbsentOrMistypedValuesReadAsDefault)
{
    EXPECT_EQ(profile.readInt(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), 0), 0);
    profile.writeString(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), QStringLiteral("1"));
    EXPECT_EQ(profile.readInt(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), 7), 7);
    profile.writeInt(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), 1);
    EXPECT_EQ(profile.readInt(QStringLiteral("konfig"), QStringLiteral("LOADED"), 0), 1);
    EXPECT_EQ(
        profile.readString(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), QStringLiteral("d")),
        QStringLiteral("d"));
    EXPECT_TRUE(
        registry.keyExists(Hive::CurrentUser, QStringLiteral("Software\\NORVA\\Brovant\\KONFIG")));
}

TEST_F(ProfileTest, DeletingSectionsAndTheWholeKey)
{
    profile.writeString(QStringLiteral("HOLZART"), QStringLiteral("Holzart01"),
                        QStringLiteral("FI "));
    profile.writeInt(QStringLiteral("Printer"), QStringLiteral("Type"), 3);
    profile.deleteSection(QStringLiteral("HOLZART"));
    profile.deleteSection(QStringLiteral("NOTHERE"));
    EXPECT_FALSE(profile.hasValue(QStringLiteral("HOLZART"), QStringLiteral("Holzart01")));
    EXPECT_EQ(profile.readInt(QStringLiteral("Printer"), QStringLiteral("Type"), 5), 3);
    profile.deleteAll();
    EXPECT_EQ(profile.readInt(QStringLiteral("Printer"), QStringLiteral("Type"), 5), 5);
    EXPECT_FALSE(registry.keyExists(Hive::CurrentUser, QString::fromUtf16(Profile::kAppKey)));
    EXPECT_TRUE(registry.keyExists(Hive::CurrentUser, QStringLiteral("Software\\NORVA")));
}

TEST_F(ProfileTest, KeepAwakeOnlyTouchesAnExistingPowerKey)
{
    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    KeepAwake keepAwake(registry);
    keepAwake.readSaved();
    {
        KeepAwake::Scope scope(keepAwake);
    }
    EXPECT_FALSE(registry.keyExists(Hive::LocalMachine, key));

    registry.setDword(Hive::LocalMachine, key, value, 300);
    keepAwake.readSaved();
    {
        KeepAwake::Scope scope(keepAwake);
        EXPECT_EQ(registry.dword(Hive::LocalMachine, key, value), 0u);
    }
    EXPECT_EQ(registry.dword(Hive::LocalMachine, key, value), 300u);
}

TEST(ManualClockTest, SleepingMovesTimeAtOnce)
{
    ManualClock clock(QDateTime(QDate(2004, 12, 31), QTime(23, 59, 30)));
    clock.sleepMs(60 * 1000);
    EXPECT_EQ(clock.now().date().year(), 2005);
    EXPECT_EQ(clock.sleptMs(), 60000);
    EXPECT_FALSE(clock.setNow(QDateTime()));
}

} // namespace
} // namespace brovant::test
