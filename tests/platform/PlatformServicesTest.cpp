#include "platform/Cp1252.h"
#include "platform/KeepAwake.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "support/CaseKinds.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

using namespace Qt::StringLiterals;

TEST(Cp1252, EveryByteRoundTripsAndKnownCharactersMap)
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    ASSERT_EQ(cp1252::decode(all).size(), 256);
    EXPECT_EQ(cp1252::encode(cp1252::decode(all)), all);

    for (const Case& c : casesOf(QStringLiteral("platform/data/registry.txt"), "cp1252")) {
        EXPECT_EQ(cp1252::encode(c.text(1)), c.fields[2]) << c.where().constData();
        EXPECT_TRUE(c.fields[2].contains('?') || cp1252::decode(c.fields[2]) == c.text(1))
            << c.where().constData();
    }
}

TEST(Profile, ReadsDefaultsForAbsentOrMistypedValuesAndDeletesSections)
{
    TempRoot root;
    Registry registry(root.path());
    Profile profile(registry);
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 0), 0);
    profile.writeString(u"KONFIG"_s, u"Loaded"_s, u"1"_s);
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 7), 7);
    profile.writeInt(u"KONFIG"_s, u"Loaded"_s, 1);
    EXPECT_EQ(profile.readInt(u"konfig"_s, u"LOADED"_s, 0), 1);
    EXPECT_EQ(profile.readString(u"KONFIG"_s, u"Loaded"_s, u"d"_s), u"d"_s);
    EXPECT_TRUE(registry.keyExists(Hive::CurrentUser, u"Software\\NORVA\\Brovant\\KONFIG"_s));

    profile.writeString(u"HOLZART"_s, u"Holzart01"_s, u"FI "_s);
    profile.deleteSection(u"HOLZART"_s);
    profile.deleteSection(u"NOTHERE"_s);
    EXPECT_FALSE(profile.hasValue(u"HOLZART"_s, u"Holzart01"_s));
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 5), 1);
    profile.deleteAll();
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 5), 5);
    EXPECT_FALSE(registry.keyExists(Hive::CurrentUser, QString::fromUtf16(Profile::kAppKey)));
    EXPECT_TRUE(registry.keyExists(Hive::CurrentUser, u"Software\\NORVA"_s));
}

TEST(KeepAwake, OnlyTouchesAnExistingPowerKeyAndRestoresIt)
{
    TempRoot root;
    Registry registry(root.path());
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

} // namespace
} // namespace brovant::test
