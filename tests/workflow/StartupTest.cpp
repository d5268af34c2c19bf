#include "AppLogicFixture.h"

#include "platform/KeepAwake.h"

namespace brovant::test {
namespace {

// A fresh root gets its database and folders; a staged configuration is imported once, in the
// device's order, and from then on the tables come from the registry.
TEST(Startup, ConfigurationIsImportedOnlyWhenStagedAndNotYetLoaded)
{
    TestDevice d;
    ASSERT_TRUE(d.app->start());
    EXPECT_TRUE(QFileInfo(d.root.host("Brovant/Brovant.cdb")).isFile());
    EXPECT_TRUE(QFileInfo(d.root.host("Import")).isDir());
    EXPECT_TRUE(QFileInfo(d.root.host("Export")).isDir());
    EXPECT_EQ(d.session->store().readInt(Setting::KonfigLoaded), 0);
    EXPECT_EQ(d.eventIndex("info 5 Konfiguration wird eingelesen"), -1);
    EXPECT_TRUE(d.state.tables.species[0].isEmpty());

    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    d.registry().setDword(Hive::LocalMachine, key, value, 300);
    d.stageConfig();
    d.restartAfterCrash();
    d.events.clear();
    ASSERT_TRUE(d.app->start());
    EXPECT_TRUE(d.session->database().isOpen());
    EXPECT_EQ(d.session->store().readInt(Setting::KonfigLoaded), 1);
    EXPECT_TRUE(d.dialogs.asked().isEmpty()) << d.dialogs.asked().join(u'\n').toStdString();
    EXPECT_EQ(d.dialogs.unansweredQuestions(), 0);
    EXPECT_FALSE(d.state.tables.species[0].isEmpty()) << "tables are loaded after the import";
    EXPECT_FALSE(d.state.getac);
    // Import and load leave the suspend time-out as found.
    EXPECT_EQ(d.session->keepAwake().saved(), 300u);
    EXPECT_EQ(d.registry().dword(Hive::LocalMachine, key, value), 300u);
    EXPECT_TRUE(d.inOrder({"host showMainMenu", "info 5 Datenbank wird initialisiert...",
                           "progress 0", "progress 10", "progress 20", "progress 30",
                           "host createScreens", "progress 100", "info 0",
                           "info 5 Konfiguration wird eingelesen...", "host showMainMenu",
                           "info 5 Konfiguration wird initialisiert...", "host active 1"}))
        << d.eventText();
    EXPECT_EQ(d.events.back(), "host active 1");
    EXPECT_EQ(d.events.count("host createScreens"), 1);
    EXPECT_EQ(d.eventIndex("host cursor"), -1) << "no re-creation, no wait cursor";

    d.stageConfig();
    d.restartAfterCrash();
    d.events.clear();
    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.eventIndex("info 5 Konfiguration wird eingelesen"), -1);
    EXPECT_FALSE(d.state.tables.species[0].isEmpty()) << "tables come from the registry";
}

// Setting the file aside and the new empty database: StructureCheck's tests.
TEST(Startup, DatabaseOfAnotherVersionIsSetAsideAfterTheNotice)
{
    TestDevice d;
    const QString working = "Brovant/Brovant.cdb";
    d.makeDatabase(working, "OLD");
    {
        Database db(d.root.host(working));
        ASSERT_TRUE(db.open() && db.exec("UPDATE Struktur SET STRUKTUR = 'T00200'"));
    }
    Profile& profile = d.profile();
    profile.writeString("HOLZART", "Holzart01", "FI");
    profile.writeInt("KONFIG", "Loaded", 1);
    profile.writeInt("DUE", "Port", 3);

    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.dialogs.asked(), QStringList{"Datenbank und Stammdaten|werden gelöscht!|"});
    EXPECT_FALSE(profile.hasValue("HOLZART", "Holzart01"));
    EXPECT_EQ(profile.readInt("KONFIG", "Loaded", 0), 0);
    EXPECT_EQ(profile.readInt("DUE", "Port", 0), 3) << "settings outside the master data stay";
    // Notice, repaint and wait cursor in that order; the cursor is back before the screens.
    EXPECT_TRUE(d.inOrder({"notice Datenbank und Stammdaten", "host repaint", "host cursor 1",
                           "host cursor 0", "host createScreens"}))
        << d.eventText();
}

TEST(Startup, DatabaseThatCannotBeOpenedEndsStartUp)
{
    TestDevice d;
    // A file where the program's folder belongs: nothing can be created below it.
    d.root.writeFile("Brovant", "in the way");
    EXPECT_FALSE(d.app->start());
    EXPECT_EQ(d.dialogs.asked(), QStringList{"Datenbank kann nicht|geöffnet werden!|"});
    EXPECT_EQ(d.eventIndex("host createScreens"), -1);
    EXPECT_EQ(d.eventIndex("host active 1"), -1);
    EXPECT_EQ(d.eventIndex("host cursor 1"), -1);
}

TEST(Shutdown, TariffFlagsMarkWhetherTheTallyStillUsesTheAssignedTariff)
{
    using namespace schema;
    const QList<Case> rows = readCases("workflow/data/tariff_flags.txt");
    TestDevice d;
    ASSERT_TRUE(d.app->start());
    Dataset set(d.session->database(), Einstellungen);
    int id = 1;
    for (const Case& r : rows) {
        set.setInt(u"ID", id++);
        set.setInt(u"ID_TYPE", r.text(0) == u"assignment" ? TariffAssignmentRow
                               : r.text(0) == u"volume"   ? TariffVolumeRow
                                                          : SpeciesVolumeRow);
        set.setText(u"BAUMART", r.text(1));
        set.setText(u"TARIF", r.text(2));
        set.setInt(u"BHD", r.text(3).toInt());
        ASSERT_TRUE(set.insert());
    }
    d.state.tables.species[0] = "FIC";
    d.state.tables.species[17] = "BUC";
    d.state.speciesTariffs[0] = "T1";
    d.state.speciesTariffs[1] = "T2"; // a neighbouring slot must not count

    d.events.clear();
    d.app->shutdown();
    EXPECT_EQ(d.events, (QStringList{"host cursor 1", "host destroyScreens", "host cursor 0"}))
        << "screens go under the wait cursor";
    ASSERT_TRUE(set.reset(Filter::ordered("ID")));
    ASSERT_EQ(set.count(), rows.size());
    for (const Case& r : rows) {
        SCOPED_TRACE(r.where().constData());
        EXPECT_EQ(set.loadInt(u"BHD"), r.text(4).toInt());
        set.moveNext();
    }
}

TEST(Shutdown, WithoutAnOpenDatabaseOnlyTheDeviceIsRestored)
{
    TestDevice d;
    const QString key = QString::fromUtf16(AppLifecycle::kCommKey);
    d.registry().setDword(Hive::CurrentUser, key, "AutoCnct", 0);
    d.app->shutdown();
    EXPECT_FALSE(QFileInfo::exists(d.root.host("Brovant/Brovant.cdb")));
    EXPECT_EQ(d.registry().dword(Hive::CurrentUser, key, "AutoCnct"), 1u);
}

} // namespace
} // namespace brovant::test
