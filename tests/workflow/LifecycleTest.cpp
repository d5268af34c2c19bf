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

// Starts, crashes and ends of the program on a device, one step a line of
// data/lifecycle_steps.txt.
TEST(Lifecycle, Steps)
{
    const QString timeouts = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString timeoutsValue = QString::fromUtf16(KeepAwake::kValue);
    const QString comm = QString::fromUtf16(AppLifecycle::kCommKey);
    std::unique_ptr<TestDevice> d;
    for (const Case& c : readCases("workflow/data/lifecycle_steps.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString action = c.text(0), arg = c.text(1);
        const QString path = arg.section(u'=', 0, 0), value = arg.section(u'=', 1);
        if (action == u"device")
            d = std::make_unique<TestDevice>();
        ASSERT_TRUE(d != nullptr) << "no device yet";
        // A query looks at what the step before it left.
        if (!action.endsWith(u'?')) {
            d->dialogs.clear();
            d->events.clear();
        }
        answerNext(d->dialogs, c.text(2));
        bool number = false;
        value.toInt(&number);
        QString result;
        if (action == u"start") {
            result = truth(d->app->start());
        } else if (action == u"restart") {
            d->restartAfterCrash();
        } else if (action == u"shutdown") {
            d->app->shutdown();
        } else if (action == u"stage") {
            d->stageConfig();
        } else if (action == u"file") {
            d->root.writeFile(path, value.toUtf8());
        } else if (action == u"database") {
            d->makeDatabase(path, value);
        } else if (action == u"old structure") {
            Database db(d->root.host(arg));
            ASSERT_TRUE(db.open() && db.exec("UPDATE Struktur SET STRUKTUR = 'T00200'"));
        } else if (action == u"profile" && number) {
            d->profile().writeInt(path.section(u'/', 0, 0), path.section(u'/', 1), value.toInt());
        } else if (action == u"profile") {
            d->profile().writeString(path.section(u'/', 0, 0), path.section(u'/', 1), value);
        } else if (action == u"clock") {
            d->clock.setNow(QDateTime(QDate::fromString(arg, u"dd.MM.yyyy"), QTime(0, 0)));
        } else if (action == u"timeouts") {
            d->registry().setDword(HKLM, timeouts, timeoutsValue, arg.toUInt());
        } else if (action == u"autoconnect") {
            d->registry().setDword(HKCU, comm, "AutoCnct", arg.toUInt());
        } else if (action == u"close") {
            d->session->database().close();
        } else if (action == u"event?") {
            result = truth(d->eventIndex(arg) >= 0);
        } else if (action == u"order?") {
            result = truth(d->inOrder(arg.split(u';')));
        } else if (action == u"count?") {
            result = QString::number(d->events.count(arg));
        } else if (action == u"last event?") {
            result = d->events.value(d->events.size() - 1);
        } else if (action == u"file?") {
            const QFileInfo info(d->root.host(arg));
            result = info.isDir() ? "folder" : info.isFile() ? "file" : "-";
        } else if (action == u"marker?") {
            result = d->markerOf(arg);
        } else if (action == u"profile has?") {
            result = truth(d->profile().hasValue(path.section(u'/', 0, 0), path.section(u'/', 1)));
        } else if (action == u"profile number?") {
            result = QString::number(
                d->profile().readInt(path.section(u'/', 0, 0), path.section(u'/', 1), 0));
        } else if (action == u"configured?") {
            result = QString::number(d->session->store().readInt(Setting::KonfigLoaded));
        } else if (action == u"open?") {
            result = truth(d->session->database().isOpen());
        } else if (action == u"unanswered?") {
            result = QString::number(d->dialogs.unansweredQuestions());
        } else if (action == u"species?") {
            result = d->state.tables.species[0];
        } else if (action == u"getac?") {
            result = truth(d->state.getac);
        } else if (action == u"timeouts?") {
            result = QString::number(d->session->keepAwake().saved()) + u' '
                     + dword(d->registry(), HKLM, timeouts, timeoutsValue);
        } else if (action == u"autoconnect?") {
            result = dword(d->registry(), HKCU, comm, "AutoCnct");
        } else if (action != u"device") {
            FAIL() << "unknown step " << str(action);
        }
        test::expectStep(c, result, d->dialogs.asked());
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
