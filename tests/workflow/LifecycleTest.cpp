// The program's start and end on a device: the database, the configuration, a cold boot's
// recovery, the device's keys and registry values taken and given back, and the system kept awake
// for each long job.
#include "AppLogicFixture.h"
#include "device/BackupService.h"
#include "masterdata/ConfigImport.h"
#include "masterdata/MasterTables.h"
#include "platform/KeepAwake.h"
#include "transfer/SettingsChannels.h"
#include "workflow/ListSelectionLogic.h"
#include "workflow/OfficeChannel.h"

#include <QRegularExpression>
#include <optional>
#include <sqlite3.h>

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

constexpr Answer Yes = Answer::Yes;
constexpr Answer No = Answer::No;
const QString kWorking = "Brovant/Brovant.cdb";
const QString kQuestion =
    "Kam es zum Programmverlust|und wollen sie letzte Daten|wieder herstellen?";
const QString kFlash = "Built-in Storage";

QString backupIn(const QString& folder)
{
    return folder + "/Brovant.cdb";
}

QString asideIn(const QString& folder)
{
    return folder + "/Brovant.bak.cdb";
}

// REGION_A holds eight characters: a short tag per backup folder.
QString tagOf(const QString& folder)
{
    static const QStringList folders = {"Speicherkarte", "Speicherkarte2", "Storage Card",
                                        "Storage Card2", "Built-in Storage"};
    return QStringLiteral("BACKUP%1").arg(folders.indexOf(folder));
}

// A device whose clock shows the last second of `year`, with the flash folder or without.
void setUp(TestDevice& d, int year, bool flashFolder = true)
{
    d.clock.setNow(QDateTime(QDate(year, 12, 31), QTime(23, 59, 59)));
    if (flashFolder) {
        ASSERT_TRUE(QDir().mkpath(d.root.host(kFlash)));
    }
}

// One start a line of data/cold_boot.txt.
TEST(ColdBoot, RecoveryFollowsClockMediumAndAnswer)
{
    for (const Case& c : readCases("workflow/data/cold_boot.txt")) {
        SCOPED_TRACE(c.where().constData());
        const bool asked = c.text(2) != u"-";
        const QStringList backups = c.text(5).split(u',', Qt::SkipEmptyParts);
        TestDevice d;
        setUp(d, c.text(0).toInt(), c.text(3) == u"yes");
        d.profile().writeInt("Backup", "Karte", c.text(1).toInt());
        QList<QByteArray> backupBytes;
        for (const QString& folder : backups) {
            d.makeDatabase(backupIn(folder), tagOf(folder));
            backupBytes << d.root.readFile(backupIn(folder));
        }
        if (c.text(4) == u"yes")
            d.makeDatabase(kWorking, "WORK");
        // A folder where a backup would be set aside: that copy fails without a word.
        if (!c.text(8).isEmpty()) {
            ASSERT_TRUE(QDir().mkpath(d.root.host(asideIn(c.text(8)))));
        }
        d.dialogs.answerNext(c.text(2) == u"No" ? No : Yes);

        ASSERT_TRUE(d.app->start());
        EXPECT_EQ(d.dialogs.asked(), asked ? QStringList{kQuestion} : QStringList{});
        EXPECT_EQ(d.markerOf(kWorking), c.text(6) == u"WORK" ? c.text(6) : tagOf(c.text(6)));
        for (qsizetype i = 0; i < backups.size(); ++i) {
            const QString& folder = backups[i];
            EXPECT_EQ(d.root.readFile(backupIn(folder)), backupBytes[i]) << "backup untouched";
            EXPECT_EQ(d.root.readFile(asideIn(folder)),
                      folder == c.text(7) ? backupBytes[i] : QByteArray())
                << folder.toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(d.root.host(asideIn("Brovant"))));
        EXPECT_EQ(QFileInfo(d.root.host(asideIn(c.text(8)))).isDir(), !c.text(8).isEmpty());
        // The question is asked over the active main menu, before the structure check.
        EXPECT_EQ(d.inOrder({"host active 1", "yesNo ", "host active 0", "info 5 Datenbank"}),
                  asked)
            << d.eventText();
        EXPECT_EQ(d.eventIndex("host active 0") >= 0, asked);
    }
}

TEST(ColdBoot, RestoredDatabaseIsNotRolledBackByTheCrashedRunsJournal)
{
    TestDevice d;
    setUp(d, 2003);
    d.makeDatabase(backupIn(kFlash), "BACKUP");
    d.makeDatabase(kWorking, "WORK");
    // A crash mid-write leaves a hot journal; a tiny cache makes the write spill into the file.
    const QString file = d.root.host(kWorking), journal = file + "-journal";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(file).constData(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "PRAGMA journal_mode=DELETE; PRAGMA cache_size=2; BEGIN;"
                           "UPDATE Brov_Einstellungen SET REGION_A = 'CRASHED';"
                           "CREATE TABLE filler(t TEXT);"
                           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                           "WHERE i < 400) INSERT INTO filler SELECT printf('%0500d', i) FROM n;",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    ASSERT_TRUE(QFile::copy(journal, journal + ".kept"));
    sqlite3_exec(db, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    ASSERT_TRUE(QFile::rename(journal + ".kept", journal));
    d.dialogs.answerNext(Yes);

    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.dialogs.asked(), QStringList{kQuestion});
    EXPECT_EQ(d.markerOf(kWorking), "BACKUP");
    EXPECT_FALSE(QFileInfo::exists(journal));
}

// When the device's own backup paths hold nothing, the newest numbered backup the program wrote
// is offered.
TEST(ColdBootBackup, NewestNumberedBackupIsOffered)
{
    for (const Answer answer : {Answer::Yes, Answer::No}) {
        TestDevice device;
        device.root.writeFile("Built-in Storage/readme.txt", "");
        device.makeDatabase("Brovant/Save/0003_Auto.cdb", "older");
        device.makeDatabase("Brovant/Save/0004_Manu.cdb", "newest");
        device.makeDatabase("Brovant/Brovant.cdb", "working");
        device.clock.setNow(QDateTime(QDate(2003, 1, 1), QTime(0, 0)));
        device.dialogs.answerNext(answer);
        ASSERT_TRUE(device.app->start()) << device.eventText();
        EXPECT_GE(device.eventIndex("yesNo Kam es zum Programmverlust"), 0) << device.eventText();
        device.session->database().close();
        EXPECT_EQ(device.markerOf("Brovant/Brovant.cdb"),
                  answer == Answer::Yes ? "newest" : "working");
        EXPECT_EQ(device.markerOf("Brovant/Save/0004_Manu.bak.cdb"),
                  answer == Answer::Yes ? "-" : "newest");
    }
}

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

// Every long job keeps the system awake for exactly its own length: the inhibitor is taken before
// the job's first step and given back after its last.
// Logs into the device's events, with what the job has done so far.
class FakeInhibitor final : public SleepInhibitor {
public:
    FakeInhibitor(QStringList& events, std::function<QString()> progress)
        : m_events(events)
        , m_progress(std::move(progress))
    {
    }
    void hold() override { m_events << QStringLiteral("hold ") + m_progress(); }
    void release() override { m_events << QStringLiteral("release ") + m_progress(); }

private:
    QStringList& m_events;
    std::function<QString()> m_progress;
};

TEST(KeepAwake, EveryLongJobHoldsTheInhibitorForItsLength)
{
    struct Job {
        const char* what;
        std::function<void(TestDevice&)> prepare;
        std::function<void(TestDevice&)> run;
        // What the job has done, as the inhibitor sees it when taken and when given back.
        std::function<QString(TestDevice&)> progress;
        const char* before;
        const char* after;
    };
    const auto messages = [](TestDevice& d) {
        return QString::fromLatin1(d.dialogs.messages().empty() ? "silent" : "shown");
    };
    const auto backups = [](TestDevice& d) {
        return QString::number(BackupService(*d.session, d.dialogs, false).entries().size());
    };
    const auto channels = [](TestDevice& d) {
        return SettingsChannels(d.session->root(), d.session->store(), d.dialogs, d.clock,
                                &d.session->keepAwake());
    };
    // clang-format off
    const Job jobs[] = {
        {"configuration import", [](TestDevice& d) { d.stageConfig(); },
         [](TestDevice& d) {
             ConfigImport(d.session->root(), d.session->database(), d.session->store(), d.dialogs,
                          &d.session->keepAwake()).run();
         },
         [](TestDevice& d) { return QString::number(d.session->configurationLoaded()); }, "0", "1"},
        {"settings load", {},
         [](TestDevice& d) {
             loadSettings(d.session->store(), d.session->database(), &d.dialogs,
                          &d.session->keepAwake());
         },
         messages, "silent", "shown"},
        {"cable receive without a port",
         [](TestDevice& d) { d.session->store().writeInt(Setting::DuePort, 0, 1); },
         [&](TestDevice& d) { channels(d).receive(); },
         messages, "silent", "shown"},
        {"FTP fetch from a closed port",
         [](TestDevice& d) {
             d.session->store().writeText(Setting::FtpServer, 0, QStringLiteral("127.0.0.1:1"));
         },
         [&](TestDevice& d) { channels(d).fetchConfiguration(); }, messages, "silent", "shown"},
        {"receive and the list import after it", {},
         [](TestDevice& d) {
             OfficeChannel office(&d.session->root());
             office.held[QStringLiteral("4711.DAT")] = officeList("4711", 3);
             ListSelectionLogic(d.session->root(), d.session->database(), d.session->store(),
                                d.state, d.dialogs, d.clock)
                 .receive(office, &d.session->keepAwake());
         },
         [](TestDevice& d) {
             return QString::number(ListSelectionLogic::readRows(d.session->database()).size());
         },
         "0", "1"},
        {"manual backup", {},
         [](TestDevice& d) {
             BackupService(*d.session, d.dialogs, false).backup(BackupService::Kind::Manual);
         },
         backups, "0", "1"},
        {"restore, with the backup of the state before it",
         [](TestDevice& d) {
             BackupService(*d.session, d.dialogs, false).backup(BackupService::Kind::Manual);
         },
         [](TestDevice& d) {
             BackupService service(*d.session, d.dialogs, false);
             service.restore(service.entries().front().name);
         },
         backups, "1", "2"},
    };
    // clang-format on
    for (const Job& job : jobs) {
        SCOPED_TRACE(job.what);
        TestDevice device;
        ASSERT_NE(device.session->openDatabase(), DeviceSession::DatabaseState::Failed);
        if (job.prepare)
            job.prepare(device);
        device.dialogs.clear();
        device.events.clear();
        FakeInhibitor inhibitor(device.events, [&] { return job.progress(device); });
        device.session->keepAwake().setInhibitor(&inhibitor);
        job.run(device);
        device.session->keepAwake().setInhibitor(nullptr);
        if (device.events.size() < 2) {
            ADD_FAILURE() << "never held: " << device.eventText();
            continue;
        }
        EXPECT_EQ(device.events.front(), QStringLiteral("hold ") + QLatin1StringView(job.before));
        EXPECT_EQ(device.events.back(), QStringLiteral("release ") + QLatin1StringView(job.after));
        EXPECT_EQ(
            device.events.filter(QRegularExpression(QStringLiteral("^(hold|release) "))).size(), 2)
            << device.eventText();
    }
}

} // namespace
} // namespace brovant::test
