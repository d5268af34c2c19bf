#include "AppLogicFixture.h"

#include "platform/KeepAwake.h"

#include <QFileInfo>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

TEST(Startup, FreshRootWithStagedConfigurationCreatesImportsAndLoads)
{
    TestDevice d;
    d.stageConfig();
    ASSERT_TRUE(d.app->start());

    EXPECT_TRUE(QFileInfo(d.root.host(QStringLiteral("Brovant/Brovant.cdb"))).isFile());
    EXPECT_TRUE(d.session->database().isOpen());
    EXPECT_EQ(d.session->store().readInt(Setting::KonfigLoaded), 1);
    EXPECT_TRUE(d.dialogs.asked().isEmpty()) << d.dialogs.asked().join(u'\n').toStdString();
    EXPECT_EQ(d.dialogs.unansweredQuestions(), 0);
    EXPECT_FALSE(d.state.tables.species[0].isEmpty()) << "tables are loaded after the import";
    for (const char* folder : {"Import", "Export"})
        EXPECT_TRUE(QFileInfo(d.root.host(QLatin1StringView(folder))).isDir()) << folder;
    EXPECT_FALSE(d.state.getac);
}

TEST(Startup, StepsRunInTheDevicesOrder)
{
    TestDevice d;
    d.stageConfig();
    ASSERT_TRUE(d.app->start());

    // Each entry must follow the previous one.
    const char* order[] = {
        "host showMainMenu",
        "info 5 Datenbank wird initialisiert...",
        "progress 0",
        "progress 10",
        "progress 20",
        "progress 30",
        "host createScreens",
        "progress 100",
        "info 0",
        "info 5 Konfiguration wird eingelesen...",
        "host showMainMenu",
        "info 5 Konfiguration wird initialisiert...",
        "host active 1",
    };
    qsizetype at = 0;
    for (const char* step : order) {
        const qsizetype found = d.eventIndex(QLatin1StringView(step), at);
        ASSERT_GE(found, 0) << step << "\n" << d.eventText();
        at = found + 1;
    }
    EXPECT_EQ(d.events.back(), QStringLiteral("host active 1"));
    EXPECT_EQ(d.events.count(QStringLiteral("host createScreens")), 1);
    EXPECT_EQ(d.eventIndex(QStringLiteral("host cursor")), -1) << "no re-creation, no wait cursor";
}

TEST(Startup, WithoutStagedConfigurationMasterDataStaysMissing)
{
    TestDevice d;
    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.session->store().readInt(Setting::KonfigLoaded), 0);
    EXPECT_TRUE(d.dialogs.asked().isEmpty());
    EXPECT_EQ(d.eventIndex(QStringLiteral("info 5 Konfiguration wird eingelesen")), -1);
    EXPECT_TRUE(d.state.tables.species[0].isEmpty());
}

TEST(Startup, LoadedConfigurationIsNotImportedAgain)
{
    TestDevice d;
    d.stageConfig();
    ASSERT_TRUE(d.app->start());
    d.restartAfterCrash();
    d.stageConfig();
    d.events.clear();
    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.eventIndex(QStringLiteral("info 5 Konfiguration wird eingelesen")), -1);
    EXPECT_FALSE(d.state.tables.species[0].isEmpty()) << "tables come from the registry";
}

TEST(Startup, ImportAndLoadLeaveTheSuspendTimeoutAsFound)
{
    TestDevice d;
    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    d.registry().setDword(Hive::LocalMachine, key, value, 300);
    d.stageConfig();
    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.session->keepAwake().saved(), 300u);
    EXPECT_EQ(d.registry().dword(Hive::LocalMachine, key, value), 300u);
}

TEST(Startup, ForeignDatabaseIsSetAsideAfterTheNotice)
{
    struct Case {
        const char* name;
        const char* version; // null: not a database at all
    };
    const Case cases[] = {{"older version", "T00200"}, {"not a database", nullptr}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        const QString working = QStringLiteral("Brovant/Brovant.cdb");
        if (c.version) {
            d.makeDatabase(working, QStringLiteral("OLD"));
            Database db(d.root.host(working));
            ASSERT_TRUE(db.open());
            auto q = db.query(QStringLiteral("UPDATE Struktur SET STRUKTUR = ?"));
            ASSERT_TRUE(q.bind(1, QString::fromLatin1(c.version)).run());
            db.close();
        } else {
            d.root.writeFile(working, "no database here");
        }
        const QByteArray original = d.root.readFile(working);
        Profile& profile = d.profile();
        profile.writeString(QStringLiteral("HOLZART"), QStringLiteral("Holzart01"),
                            QStringLiteral("FI"));
        profile.writeInt(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), 1);
        profile.writeInt(QStringLiteral("DUE"), QStringLiteral("Port"), 3);

        ASSERT_TRUE(d.app->start());

        EXPECT_EQ(d.dialogs.asked(),
                  QStringList{QStringLiteral("Datenbank und Stammdaten|werden gelöscht!|")});
        EXPECT_EQ(d.root.readFile(QStringLiteral("Brovant/Brovant.cdb.alt")), original);
        EXPECT_EQ(d.markerOf(working), QStringLiteral("-")) << "the new database is empty";
        EXPECT_FALSE(profile.hasValue(QStringLiteral("HOLZART"), QStringLiteral("Holzart01")));
        EXPECT_EQ(profile.readInt(QStringLiteral("KONFIG"), QStringLiteral("Loaded"), 0), 0);
        EXPECT_EQ(profile.readInt(QStringLiteral("DUE"), QStringLiteral("Port"), 0), 3)
            << "settings outside the master data stay";

        // Notice, repaint and wait cursor in that order; the cursor is back before the screens.
        const qsizetype notice = d.eventIndex(QStringLiteral("notice Datenbank und Stammdaten"));
        const qsizetype repaint = d.eventIndex(QStringLiteral("host repaint"), notice + 1);
        const qsizetype wait = d.eventIndex(QStringLiteral("host cursor 1"), repaint + 1);
        const qsizetype normal = d.eventIndex(QStringLiteral("host cursor 0"), wait + 1);
        const qsizetype screens = d.eventIndex(QStringLiteral("host createScreens"), normal + 1);
        EXPECT_TRUE(notice >= 0 && repaint > notice && wait > repaint && normal > wait
                    && screens > normal)
            << d.eventText();
    }
}

TEST(Startup, DatabaseThatCannotBeOpenedEndsStartUp)
{
    TestDevice d;
    // A file where the program's folder belongs: nothing can be created below it.
    d.root.writeFile(QStringLiteral("Brovant"), "in the way");
    EXPECT_FALSE(d.app->start());
    EXPECT_EQ(d.dialogs.asked(),
              QStringList{QStringLiteral("Datenbank kann nicht|geöffnet werden!|")});
    EXPECT_EQ(d.eventIndex(QStringLiteral("host createScreens")), -1);
    EXPECT_EQ(d.eventIndex(QStringLiteral("host active 1")), -1);
    EXPECT_EQ(d.eventIndex(QStringLiteral("host cursor 1")), -1);
}

} // namespace
} // namespace brovant::test
