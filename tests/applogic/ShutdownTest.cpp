#include "AppLogicFixture.h"

#include "data/Dataset.h"
#include "data/Schema.h"

#include <QFileInfo>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

TEST(Shutdown, TariffFlagsMarkWhetherTheTallyStillUsesTheAssignedTariff)
{
    struct Row {
        int type;
        const char* species;
        const char* tariff;
        int bhdBefore;
        int bhdAfter;
    };
    const Row rows[] = {
        {schema::TariffAssignmentRow, "FIC", "T1", 0, 1}, // the slot's tariff
        {schema::TariffAssignmentRow, "FIC", "T2", 1, 0}, // another tariff
        {schema::TariffAssignmentRow, "BUC", "T9", 1, 0}, // the slot has no tariff yet
        {schema::TariffAssignmentRow, "BUC", "", 0, 1},   // ... which an empty one equals
        {schema::TariffAssignmentRow, "XXX", "T1", 5, 5}, // not a tally species
        {schema::TariffAssignmentRow, "", "", 5, 5},      // no species at all
        {schema::TariffVolumeRow, "FIC", "T1", 7, 7},     // other record kinds stay
        {schema::SpeciesVolumeRow, "FIC", "T2", 7, 7},
    };
    TestDevice d;
    ASSERT_TRUE(d.app->start());
    Database& db = d.session->database();
    Dataset set(db, schema::Einstellungen);
    std::int64_t id = 1;
    for (const Row& r : rows) {
        set.clearFields();
        set.setInt(u"ID", id++);
        set.setInt(u"ID_TYPE", r.type);
        set.setText(u"BAUMART", QLatin1StringView(r.species));
        set.setText(u"TARIF", QLatin1StringView(r.tariff));
        set.setInt(u"BHD", r.bhdBefore);
        ASSERT_TRUE(set.insert());
    }
    d.state.tables.species[0] = QStringLiteral("FIC");
    d.state.tables.species[17] = QStringLiteral("BUC");
    d.state.speciesTariffs[0] = QStringLiteral("T1");
    d.state.speciesTariffs[1] = QStringLiteral("T2"); // a neighbouring slot must not count

    d.app->shutdown();

    ASSERT_TRUE(set.reset(Filter::ordered(QStringLiteral("ID"))));
    ASSERT_EQ(set.count(), int(std::size(rows)));
    for (const Row& r : rows) {
        SCOPED_TRACE(set.loadInt(u"ID"));
        EXPECT_EQ(set.loadInt(u"BHD"), r.bhdAfter);
        set.moveNext();
    }
}

TEST(Shutdown, ScreensGoUnderTheWaitCursor)
{
    TestDevice d;
    ASSERT_TRUE(d.app->start());
    d.events.clear();
    d.app->shutdown();
    EXPECT_EQ(d.events,
              (QStringList{QStringLiteral("host cursor 1"), QStringLiteral("host destroyScreens"),
                           QStringLiteral("host cursor 0")}));
}

TEST(Shutdown, WithoutAnOpenDatabaseOnlyTheDeviceIsRestored)
{
    TestDevice d;
    const QString key = QString::fromUtf16(AppLifecycle::kCommKey);
    d.registry().setDword(Hive::CurrentUser, key, QStringLiteral("AutoCnct"), 0);
    d.app->shutdown();
    EXPECT_FALSE(QFileInfo::exists(d.root.host(QStringLiteral("Brovant/Brovant.cdb"))));
    EXPECT_EQ(d.registry().dword(Hive::CurrentUser, key, QStringLiteral("AutoCnct")), 1u);
}

} // namespace
} // namespace brovant::test
