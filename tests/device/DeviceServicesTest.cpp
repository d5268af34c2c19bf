// The device layer on a staged device root: the routes to the hardware and the registry, and the
// backups and restores.
#include "data/DataTestSupport.h"
#include "data/StructureCheck.h"
#include "device/BackupService.h"
#include "device/DeviceRoutes.h"
#include "device/HardwareProfile.h"
#include "device/LinuxHardware.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QSysInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>
#include <sys/stat.h>

namespace brovant {
namespace {

const QString kBacklightKey = QStringLiteral("ControlPanel\\Backlight");
const QString kTimeoutsKey = QString::fromUtf16(KeepAwake::kTimeoutsKey);
const QString kTimeout = QString::fromUtf16(KeepAwake::kValue);

// A device root staged with library files and registry values, then opened with a runner that
// only records the commands it is given.
class Device {
public:
    // "getac", "ipaq", "ppcutil" become their library files in "\Windows".
    void addLibraries(const QStringList& families)
    {
        for (const QString& family : families) {
            const char* file = family == u"getac"  ? "externapi.dll"
                               : family == u"ipaq" ? "iPAQUtil.dll"
                                                   : "ppcutil.dll";
            root.writeFile(QStringLiteral("Windows/") + QLatin1StringView(file), "MZ");
        }
    }
    void addHardware(const QString& conf)
    {
        root.writeFile("Windows/hardware.conf", conf.toUtf8());
    }

    DeviceRoutes& open()
    {
        session = std::make_unique<DeviceSession>(root.path());
        routes = std::make_unique<DeviceRoutes>(
            *session, clock, [this](const QString& program, const QStringList& arguments) {
                commands << program + u' ' + arguments.join(u' ');
                return true;
            });
        return *routes;
    }
    Registry& registry() { return session->registry(); }

    // The key's values as "Name=value", sorted; "-" for a key without values, "<no key>".
    QString keyState(Hive hive, const QString& key)
    {
        if (!registry().keyExists(hive, key))
            return QStringLiteral("<no key>");
        QStringList values;
        for (const QString& name : registry().valueNames(hive, key))
            values << name + u'=' + QString::number(registry().dword(hive, key, name).value_or(0));
        values.sort(Qt::CaseInsensitive);
        return values.isEmpty() ? QStringLiteral("-") : values.join(u' ');
    }
    // Creates the key and its values from keyState()'s text.
    void stageKey(Hive hive, const QString& key, const QString& values)
    {
        if (values == u"<no key>")
            return;
        registry().createKey(hive, key);
        if (values == u"-")
            return;
        for (const QString& pair : values.split(u' ', Qt::SkipEmptyParts))
            registry().setDword(hive, key, pair.section(u'=', 0, 0),
                                pair.section(u'=', 1).toUInt());
    }

    test::TempRoot root;
    ManualClock clock;
    QStringList commands;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<DeviceRoutes> routes;
};

// sysfs-like folders below a temporary directory, and a runner that records.
class Sysfs {
public:
    Sysfs()
    {
        dir.writeFile("backlight/panel/max_brightness", "255\n");
        dir.writeFile("backlight/panel/brightness", "100\n");
        dir.writeFile("power_supply/BAT0/capacity", "64\n");
        dir.writeFile("power_supply/BAT0/status", "Charging\n");
    }
    // "%1" in a profile stands for the temporary folder.
    QString withDir(QString conf) const { return conf.replace(QStringLiteral("%1"), dir.path()); }
    CommandRunner recorder()
    {
        return [this](const QString& program, const QStringList& arguments) {
            commands << program + u' ' + arguments.join(u' ');
            return accept;
        };
    }
    QByteArray brightness() const { return dir.readFile("backlight/panel/brightness"); }

    test::TempRoot dir;
    QStringList commands;
    bool accept = true; // false: every command is missing or refused, which is no error
};

constexpr PowerSource Mains = PowerSource::Mains;

// A number of a case file, "-" for none.
std::optional<int> optionalInt(const QString& text)
{
    return text == u"-" ? std::nullopt : std::optional(text.toInt());
}

// One device family and backlight key a line of data/backlight_routes.txt; where a power supply's
// status is given, on a profile with a sysfs backlight.
TEST(BacklightRoutes, WritesTheRouteOfTheDeviceFamilyAndThePanelFollows)
{
    for (const test::Case& c : test::readCases("device/data/backlight_routes.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device device;
        Sysfs sysfs;
        if (c.text(0) != u"-")
            device.addLibraries(c.text(0).split(u','));
        if (c.fields.size() > 7) {
            sysfs.dir.writeFile("power_supply/BAT0/status", c.fields[7]);
            device.addHardware(
                sysfs.withDir("backlight=%1/backlight/panel\npower_supply=%1/power_supply/BAT0\n"));
        }
        DeviceRoutes& routes = device.open();
        // Staged as another device spells the key: it is the same key.
        device.stageKey(Hive::CurrentUser, QStringLiteral("ControlPanel\\BackLight"), c.text(1));
        const PowerSource source = c.text(2) == u"battery" ? PowerSource::Battery : Mains;
        EXPECT_EQ(routes.setBacklight(source, c.text(3).toInt()), c.text(4) == u"yes");
        EXPECT_EQ(device.keyState(Hive::CurrentUser, kBacklightKey), c.text(5));
        // The driver is told whenever the key was written.
        EXPECT_EQ(routes.signalledEvents(),
                  c.text(5) != c.text(1) ? QStringList{QStringLiteral("BackLightChangeEvent")}
                                         : QStringList{});
        EXPECT_EQ(routes.backlight(source), optionalInt(c.text(6)));
        EXPECT_EQ(sysfs.brightness(), c.fields.value(8, "100\n"));
        EXPECT_TRUE(device.commands.isEmpty());
    }
}

// One device a line of data/device_info.txt, and the texts of the battery's states.
TEST(DeviceRoutes, BatteryAndHardwareDescription)
{
    const QString kernel = QStringLiteral("Linux ") + QSysInfo::kernelVersion();
    for (const test::Case& c : test::readCases("device/data/device_info.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device device;
        if (c.text(0) == u"getac")
            device.addLibraries({"getac"});
        if (c.text(1) != u"-")
            device.addHardware(c.text(1));
        if (c.text(2) != u"-")
            device.root.writeFile("Windows/uni1.state", c.fields[2]);
        if (c.text(3) != u"-")
            device.root.writeFile("sys/BAT0/capacity", c.fields[3]);
        test::TempRoot host;
        if (c.text(4) != u"-")
            host.writeFile("product_name", c.fields[4]);
        const BatteryStatus status = device.open().battery();
        EXPECT_EQ(status.hasState, c.text(5) == u"yes");
        EXPECT_EQ(status.state, c.text(6).toInt());
        EXPECT_EQ(status.percent, c.text(7).toInt());
        EXPECT_EQ(hardwareDescription(DeviceRoot(device.root.path()), host.host("product_name")),
                  c.text(8) == u"<kernel>" ? kernel : c.text(8));
    }
    for (const test::Case& c : test::readCases("device/data/battery_states.txt"))
        EXPECT_EQ(BatteryStatus::stateText(c.text(0).toInt()), c.text(1)) << c.where().constData();
}

// One profile a line of data/hardware_profiles.txt.
TEST(HardwareProfile, ParsesKeysCommentsPathsAndDefaults)
{
    const DeviceRoot root(QStringLiteral("/devices/one"));
    const auto shown = [](const QString& text) {
        return text.isEmpty() ? QStringLiteral("-") : text;
    };
    for (const test::Case& c : test::readCases("device/data/hardware_profiles.txt")) {
        const HardwareProfile p = HardwareProfile::parse(c.text(0), &root);
        const QStringList read = {shown(p.backlight),      QString::number(p.backlightLevels),
                                  shown(p.powerSupply),    shown(p.uni1),
                                  shown(p.mixer),          shown(p.model),
                                  p.reboot ? "yes" : "no", p.clock ? "yes" : "no"};
        EXPECT_EQ(read, QString::fromUtf8(c.fields.mid(1).join('\t')).split(u'\t'))
            << c.where().constData();
    }
}

// One profile a line of data/linux_hardware.txt, with a runner that finds every program and with
// one that finds none. Profiles that reboot or set the clock only ever get a runner that records:
// no test may reach the machine's own reboot or clock.
TEST(LinuxHardware, SysfsAndCommandsAsTheProfileSays)
{
    const QDateTime when(QDate(2026, 5, 4), QTime(7, 30, 5));
    for (const test::Case& c : test::readCases("device/data/linux_hardware.txt")) {
        for (const bool accept : {true, false}) {
            SCOPED_TRACE(c.where().constData());
            Sysfs sysfs;
            sysfs.accept = accept;
            sysfs.dir.writeFile("backlight/panel/max_brightness", c.fields[1]);
            sysfs.dir.writeFile("power_supply/BAT0/status", c.fields[2]);
            const HardwareProfile profile = HardwareProfile::parse(sysfs.withDir(c.text(0)));
            LinuxHardware hw(profile, sysfs.recorder());
            EXPECT_EQ(hw.setBacklight(c.text(3).toInt()), c.text(4) == u"yes");
            EXPECT_EQ(sysfs.brightness(), c.fields[5]);
            EXPECT_EQ(hw.backlight(), optionalInt(c.text(6)));
            EXPECT_EQ(hw.batteryPercent(), optionalInt(c.text(7)));
            EXPECT_EQ(hw.powerSource(), c.text(8) == u"battery" ? PowerSource::Battery : Mains);
            // Nothing is made where the profile points to nothing.
            EXPECT_FALSE(QFileInfo::exists(sysfs.dir.host("backlight/gone")));
            EXPECT_EQ(hw.setVolumePercent(60), accept && !profile.mixer.isEmpty());
            EXPECT_EQ(hw.setDateTime(when), accept && profile.clock);
            EXPECT_FALSE(hw.setDateTime(QDateTime()));
            EXPECT_EQ(hw.reboot(), accept && profile.reboot);
            EXPECT_EQ(sysfs.commands, c.text(9).split(u';', Qt::SkipEmptyParts));
        }
    }
}

TEST(LinuxHardware, RealRunnerReportsMissingProgramsAndExitStatus)
{
    EXPECT_FALSE(runSystemCommand(QStringLiteral("brovant-no-such-program"), {}));
    if (QStandardPaths::findExecutable(QStringLiteral("true")).isEmpty())
        GTEST_SKIP() << "no true/false on this machine";
    EXPECT_TRUE(runSystemCommand(QStringLiteral("true"), {}));
    EXPECT_FALSE(runSystemCommand(QStringLiteral("false"), {}));
}

// Without hardware nothing leaves the root: the clock is the program's, reset counts. With it the
// same calls also reach the system's commands.
TEST(DeviceRoutesOnHardware, ClockResetAndVolumeReachTheCommandsOnlyOnHardware)
{
    for (const bool onHardware : {false, true}) {
        SCOPED_TRACE(onHardware ? "on hardware" : "emulated");
        Device device;
        device.addLibraries({"getac"});
        device.open();
        Sysfs sysfs;
        if (onHardware) {
            device.routes = std::make_unique<DeviceRoutes>(
                *device.session, device.clock,
                LinuxHardware(HardwareProfile::parse("mixer=Master\nreboot=yes\nclock=yes"),
                              sysfs.recorder()));
        }
        DeviceRoutes& routes = *device.routes;
        const QDateTime when(QDate(2026, 12, 24), QTime(18, 0, 0));
        EXPECT_TRUE(routes.setDateTime(when));
        EXPECT_EQ(device.clock.now(), when);
        EXPECT_FALSE(routes.setDateTime(QDateTime()));
        EXPECT_EQ(device.clock.now(), when);
        routes.reset();
        routes.reset();
        EXPECT_EQ(routes.resetCount(), 2);
        const auto onlyOnHardware = [&](const QStringList& commands) {
            return onHardware ? commands : QStringList{};
        };
        EXPECT_EQ(sysfs.commands,
                  onlyOnHardware({"timedatectl --no-ask-password set-time 2026-12-24 18:00:00",
                                  "systemctl --no-ask-password reboot",
                                  "systemctl --no-ask-password reboot"}));
        for (const test::Case& c : test::readCases("device/data/volumes.txt")) {
            SCOPED_TRACE(c.where().constData());
            sysfs.commands.clear();
            routes.setVolume(6);
            routes.setVolume(c.text(0).toInt());
            EXPECT_EQ(routes.waveOutVolume(), c.text(1).toUInt(nullptr, 16));
            EXPECT_EQ(DeviceControls::volumeValue(c.text(0).toInt()),
                      c.text(1).toUInt(nullptr, 16));
            EXPECT_EQ(sysfs.commands, onlyOnHardware({"amixer -q set Master 100%",
                                                      "amixer -q set Master " + c.text(2) + u'%'}));
        }
        sysfs.commands.clear();
        routes.setBacklight(Mains, 1);
        routes.setSwitchOff(60);
        EXPECT_EQ(routes.hardware().has_value(), onHardware);
        EXPECT_TRUE(device.commands.isEmpty());
        EXPECT_TRUE(sysfs.commands.isEmpty());
    }
}

// With the power manager's key the timeout is written there; without it only kept. With the
// profile's drop-in it also becomes logind's idle action, which logind is told to read again;
// without a drop-in the system's own setting stays.
TEST(DeviceRoutes, SwitchOffWritesTheTimeoutAndBecomesTheKeepAwakeValueAndTheIdleTime)
{
    for (const bool key : {true, false}) {
        for (const int seconds : {0, 60, 120, 180, 240, 300}) {
            SCOPED_TRACE(seconds);
            Sysfs sysfs;
            Device device;
            device.addHardware(key ? sysfs.withDir("idle_conf=%1/brovant.conf\n")
                                   : "mixer=Master\n");
            DeviceRoutes& routes = device.open();
            if (key) {
                device.stageKey(Hive::LocalMachine, kTimeoutsKey, "BattSuspendTimeout=600");
                device.session->keepAwake().readSaved();
                EXPECT_EQ(routes.switchOff(), 600);
            }
            const auto timeout = [&] {
                return device.registry().dword(Hive::LocalMachine, kTimeoutsKey, kTimeout);
            };
            const auto written = [key](quint32 value) {
                return key ? std::optional(value) : std::nullopt;
            };
            EXPECT_EQ(routes.setSwitchOff(seconds), key);
            EXPECT_EQ(timeout(), written(seconds));
            EXPECT_EQ(routes.switchOff(), seconds);
            EXPECT_EQ(device.session->keepAwake().saved(), quint32(seconds));
            EXPECT_EQ(routes.signalledEvents(),
                      key ? QStringList{QStringLiteral("PowerManager/ReloadActivityTimeouts")}
                          : QStringList{});
            const QString dropIn = seconds == 0 ? QStringLiteral("[Login]\nIdleAction=ignore\n")
                                                : QStringLiteral("[Login]\nIdleAction=suspend\n"
                                                                 "IdleActionSec=%1s\n")
                                                      .arg(seconds);
            EXPECT_EQ(sysfs.dir.readFile("brovant.conf"), key ? dropIn.toUtf8() : QByteArray());
            EXPECT_EQ(device.commands,
                      key ? QStringList{QStringLiteral("systemctl --no-ask-password kill "
                                                       "--kill-whom=main --signal=SIGHUP "
                                                       "systemd-logind")}
                          : QStringList{});
            // A long job afterwards gives back the user's choice, not the start-up value.
            {
                KeepAwake::Scope awake(device.session->keepAwake());
                EXPECT_EQ(timeout(), written(0));
            }
            EXPECT_EQ(timeout(), written(seconds));
        }
    }
}

using Kind = BackupService::Kind;

const QString kNoCard = QStringLiteral("Kein Zugriff auf externe|Speicherkarte möglich!|");
const QString kBackupFailed = QStringLiteral("Fehler bei der Datensicherung!||");

// Trees in the database file, read on a connection of its own; -1 when it cannot be read.
int treesIn(const QString& file)
{
    const test::Rows rows =
        test::rawRows(file, QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten"));
    return rows.size() == 1 && rows[0].size() == 1 ? rows[0][0].toInt() : -1;
}

// The device with its database open, for backups and restores.
class BackupDevice : public Device {
public:
    BackupDevice()
    {
        session = std::make_unique<DeviceSession>(root.path());
        EXPECT_NE(session->openDatabase(), DeviceSession::DatabaseState::Failed);
    }

    BackupService& backups(bool getac = false)
    {
        service = std::make_unique<BackupService>(*session, dialogs, getac);
        return *service;
    }

    void setCard(bool card) { session->store().writeInt(Setting::BackupKarte, 0, card ? 1 : 0); }

    void addTrees(int count, int textLength = 0)
    {
        Database& db = session->database();
        Database::Transaction tx(db);
        const QString text(textLength, QChar(u'x'));
        for (int i = 0; i < count; ++i) {
            auto insert = db.query(QStringLiteral(
                "INSERT INTO Brov_Holzdaten (ID, ID_FILE, BAUMART) VALUES (?, 1, ?)"));
            insert.bind(1, std::int64_t(i + 1)).bind(2, text);
            EXPECT_TRUE(insert.run());
        }
        EXPECT_TRUE(tx.commit());
    }

    int trees()
    {
        auto q = session->database().query(QStringLiteral("SELECT COUNT(*) FROM Brov_Holzdaten"));
        return q.next() ? int(q.integer(0)) : -1;
    }

    // The folder's entries, sorted; folders end in "/".
    QStringList listing(const QString& relative) const
    {
        QStringList out;
        const QDir dir(root.host(relative));
        const bool live = session && session->database().isOpen();
        for (const QFileInfo& info : dir.entryInfoList(
                 QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name)) {
            // The open connection's write-ahead log; closing folds it in (see the data tests).
            if (live && info.absoluteFilePath().startsWith(session->database().file())
                && (info.fileName().endsWith(QStringLiteral(".cdb-wal"))
                    || info.fileName().endsWith(QStringLiteral(".cdb-shm"))))
                continue;
            out << info.fileName() + (info.isDir() ? QStringLiteral("/") : QString());
        }
        return out;
    }

    void touch(const QString& relative) const { root.writeFile(relative, "old backup"); }

    ScriptedDialogs dialogs;
    std::unique_ptr<BackupService> service;
};

// File names separated by blanks, where "0001_Auto.cdb..0030_Auto.cdb" stands for the thirty.
QStringList names(const QString& text)
{
    QStringList out;
    for (const QString& name : text.split(u' ', Qt::SkipEmptyParts)) {
        const QString last = name.section(QStringLiteral(".."), -1);
        // A range: the numbers before its last name, of the last name's kind.
        for (int n = name.left(4).toInt(); name != last && n < last.left(4).toInt(); ++n)
            out << QStringLiteral("%1").arg(n, 4, 10, QChar(u'0')) + last.mid(4);
        out << last;
    }
    return out;
}

// The numbering runs over both kinds; each kind's limit is tested for equality only; 9999 clears.
// One case a line of data/backup_numbering.txt.
TEST(BackupNumbering, NextNameLimitsAndRestart)
{
    for (const test::Case& c : test::readCases("device/data/backup_numbering.txt")) {
        SCOPED_TRACE(c.where().constData());
        BackupDevice device;
        device.addTrees(3);
        for (const QString& name : names(c.text(0)))
            device.touch(QStringLiteral("Brovant/Save/") + name);
        // Taken while a transaction is open, a backup holds what was committed, not the rest.
        Database& db = device.session->database();
        Database::Transaction open(db);
        ASSERT_TRUE(
            db.query(QStringLiteral("INSERT INTO Brov_Holzdaten (ID, ID_FILE) VALUES (99, 1)"))
                .run());
        EXPECT_TRUE(device.backups().backup(c.text(1) == u"Auto" ? Kind::Automatic : Kind::Manual));
        EXPECT_TRUE(open.commit());
        EXPECT_EQ(device.trees(), 4);
        EXPECT_FALSE(
            QFile::exists(device.root.host(QStringLiteral("Brovant/Brovant.cdb-journal"))));
        EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")), names(c.text(2)));
        EXPECT_TRUE(device.dialogs.asked().isEmpty());
        // The new backup is a copy of the database, not one of the old files.
        const QString made = device.service->lastBackup();
        EXPECT_EQ(treesIn(device.root.host(QStringLiteral("Brovant/Save/") + made)), 3)
            << made.toStdString();
        EXPECT_TRUE(device.session->database().isOpen());
    }
}

// Which folder each device family takes for each Karte value, and what the card's absence does:
// one case a line of data/backup_folders.txt.
TEST(BackupFolder, TableForBothFamiliesAndBothKarteValues)
{
    for (const test::Case& c : test::readCases("device/data/backup_folders.txt")) {
        SCOPED_TRACE(c.where().constData());
        BackupDevice device;
        QTemporaryDir media; // where the system mounts the card a link leads to
        const QString mountPoint = media.path() + QStringLiteral("/sdcard");
        for (const QString& folder : c.text(2).split(u',', Qt::SkipEmptyParts)) {
            if (folder.endsWith(u"->mounted"))
                QDir().mkpath(mountPoint);
            if (folder.contains(u"->"))
                ASSERT_TRUE(QFile::link(
                    mountPoint, device.root.host(folder.section(QStringLiteral("->"), 0, 0))));
            else
                QDir().mkpath(device.root.host(folder));
        }
        device.setCard(c.text(1) == u"1");
        BackupService& service = device.backups(c.text(0) == u"getac");
        const bool found = c.text(3) != u"-";
        EXPECT_EQ(service.folder(), found ? c.text(3) : QString());
        const bool made = service.backup(Kind::Manual);
        EXPECT_TRUE(device.session->database().isOpen());
        EXPECT_EQ(made, found);
        EXPECT_EQ(device.dialogs.asked(), found ? QStringList{} : QStringList{kNoCard});
        if (!found) {
            EXPECT_FALSE(QDir(device.root.host(QStringLiteral("Brovant/Save"))).exists());
            EXPECT_FALSE(QFileInfo::exists(mountPoint));
            EXPECT_TRUE(service.entries().empty());
            continue;
        }
        EXPECT_EQ(device.listing(c.text(4)), QStringList{"0001_Manu.cdb"});
        EXPECT_EQ(QFileInfo::exists(mountPoint + QStringLiteral("/Brovant_Save/0001_Manu.cdb")),
                  c.text(2).contains(u"->mounted"));
        ASSERT_EQ(service.entries().size(), 1u);
        EXPECT_EQ(service.entries().front().name, QStringLiteral("0001_Manu.cdb"));
    }
}

// Faults on the way: a card that cannot be written, a backup folder that is a file, a target name
// taken by a folder, a copy broken off halfway. None leaves a file with a backup's name.
TEST(BackupFaults, NothingHalfWrittenLooksLikeABackup)
{
    for (const test::Case& c : test::readCases("device/data/backup_faults.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString fault = c.text(0), folder = c.text(1);
        const bool brokenOff = fault == u"broken off halfway";
        BackupDevice device;
        int calls = 0;
        bool brokeOffEarly = false;
        QStringList duringCopy; // what a crash at that moment would leave
        if (fault == u"card not writable") {
            device.root.writeFile(QStringLiteral("Storage Card"), "a card mounted read-only");
            device.setCard(true);
        }
        if (fault == u"save folder is a file")
            device.root.writeFile(QStringLiteral("Brovant/Save"), "in the way");
        if (fault == u"target is a folder" || brokenOff)
            device.touch(QStringLiteral("Brovant/Save/0001_Auto.cdb"));
        if (fault == u"target is a folder")
            QDir().mkpath(device.root.host(QStringLiteral("Brovant/Save/0002_Auto.cdb")));
        if (brokenOff) // long enough for several steps of the copy
            device.addTrees(1500, 2000);
        BackupService& service = device.backups();
        if (brokenOff) {
            service.setCopyProgress([&](int done, int total) {
                ++calls;
                brokeOffEarly = done < total;
                duringCopy = device.listing(folder);
                return false;
            });
        }
        EXPECT_FALSE(service.backup(Kind::Automatic));
        EXPECT_EQ(device.dialogs.asked(), QStringList{kBackupFailed});
        EXPECT_EQ(device.listing(folder), c.text(2).split(u' ', Qt::SkipEmptyParts));
        EXPECT_TRUE(device.session->database().isOpen());
        EXPECT_GE(device.trees(), 0);
        if (brokenOff) {
            EXPECT_EQ(calls, 1);
            EXPECT_TRUE(brokeOffEarly);
            EXPECT_EQ(duringCopy, (QStringList{"0001_Auto.cdb", "0002_Auto.cdb.tmp"}));
            // Without the fault the same backup goes through.
            service.setCopyProgress({});
            EXPECT_TRUE(service.backup(Kind::Automatic));
            EXPECT_EQ(treesIn(device.root.host(QStringLiteral("Brovant/Save/0002_Auto.cdb"))),
                      1500);
        }
    }
}

// Only files of the backups' shape are listed, sorted, each with the program's time when it was
// made: that clock may run apart from the system's. The automatic backup runs only when switched
// on.
TEST(BackupService, EntriesAreSortedBackupsWithTheProgramsTimeAndAutomaticOnlyWhenSwitchedOn)
{
    BackupDevice device;
    ManualClock clock(QDateTime(QDate(2026, 5, 4), QTime(18, 0, 59)));
    BackupService& service = device.backups();
    service.setClock(&clock);
    device.session->store().writeInt(Setting::BackupAuto, 0, 0);
    EXPECT_FALSE(service.automaticIfEnabled());
    EXPECT_EQ(device.listing(QStringLiteral("Brovant")), QStringList{"Brovant.cdb"});
    device.touch(QStringLiteral("Brovant/Save/0007_Manu.cdb"));
    ASSERT_TRUE(service.backup(Kind::Manual));
    clock.setNow(QDateTime(QDate(2004, 1, 1), QTime(0, 1, 30)));
    ASSERT_TRUE(service.backup(Kind::Automatic));
    device.touch(QStringLiteral("Brovant/Save/Brovant.cdb"));
    device.touch(QStringLiteral("Brovant/Save/0004_Auto.cdb.tmp"));
    QDir().mkpath(device.root.host(QStringLiteral("Brovant/Save/0005_Auto.cdb")));
    QStringList shown;
    for (const BackupService::Entry& entry : service.entries())
        shown << (entry.name == u"0007_Manu.cdb" ? entry.name : entry.display());
    EXPECT_EQ(shown, (QStringList{"0007_Manu.cdb", "0008_Manu.cdb 04.05.2026, 18:00",
                                  "0009_Auto.cdb 01.01.2004, 00:01"}));
    device.session->store().writeInt(Setting::BackupAuto, 0, 1);
    EXPECT_TRUE(service.automaticIfEnabled());
    EXPECT_EQ(service.entries().back().name, QStringLiteral("0010_Auto.cdb"));
}

// Backup 0001_Manu.cdb holds 3 trees; 5 more have been tallied since.
struct RestoreDevice : BackupDevice {
    RestoreDevice()
    {
        addTrees(3);
        EXPECT_TRUE(backups().backup(Kind::Manual));
        addTrees(5);
        dialogs.clear();
    }
};

// With a umask that lets everybody read: the database, the backups of both kinds and the copy a
// restore stages (looked at while the backup before the restore runs) are the owner's only.
TEST(Restore, GoodBackupComesBackAfterAnAutomaticBackup)
{
    const mode_t umaskBefore = ::umask(022);
    const auto modeOf = [](const QString& file) {
        struct stat info {};
        return ::stat(QFile::encodeName(file).constData(), &info) == 0 ? info.st_mode & 0777 : 0u;
    };
    RestoreDevice device;
    const QString staged =
        device.session->root().hostPath(QString::fromUtf16(BackupService::kRestoreStaging));
    mode_t stagedMode = 0;
    device.service->setCopyProgress([&](int, int) {
        stagedMode = modeOf(staged);
        return true;
    });
    EXPECT_TRUE(device.service->restore(QStringLiteral("0001_Manu.cdb")));
    ::umask(umaskBefore);
    // The state just before the restore is kept, whatever Auto says.
    EXPECT_EQ(treesIn(device.root.host(QStringLiteral("Brovant/Save/0002_Auto.cdb"))), 8);
    EXPECT_EQ(stagedMode, 0600u);
    for (const char* file :
         {"Brovant/Brovant.cdb", "Brovant/Save/0001_Manu.cdb", "Brovant/Save/0002_Auto.cdb"})
        EXPECT_EQ(modeOf(device.root.host(QLatin1StringView(file))), 0600u) << file;
    // Start-up accepts what was restored.
    device.session->database().close();
    EXPECT_EQ(StructureCheck::inspect(device.root.host(QStringLiteral("Brovant/Brovant.cdb"))),
              StructureCheck::Verdict::Accepted);
}

// One restore a line of data/restores.txt.
TEST(Restore, GoodBackupsComeBackAndRefusedFilesLeaveTheDatabaseAlone)
{
    for (const test::Case& c : test::readCases("device/data/restores.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString content = c.text(1);
        RestoreDevice device;
        const QString target = QStringLiteral("Brovant/Save/") + c.text(0);
        if (content == u"cut in half") {
            const QByteArray backup = device.root.readFile("Brovant/Save/0001_Manu.cdb");
            device.root.writeFile(target, backup.left(backup.size() / 2));
        }
        if (content == u"last pages cut" || content == u"a page damaged") {
            device.addTrees(2000, 100);
            ASSERT_TRUE(device.service->backup(Kind::Manual));
            QByteArray whole = device.root.readFile(target);
            const qsizetype page = whole.size() / 4096 / 2 * 4096;
            if (content == u"last pages cut")
                whole.chop(3 * 4096);
            else
                whole.replace(page, 4096, QByteArray(4096, '\x5a'));
            device.root.writeFile(target, whole);
        }
        if (content == u"other structure") {
            Database other(device.root.host(target));
            ASSERT_TRUE(other.open());
            auto insert =
                other.query(QStringLiteral("INSERT INTO Struktur (STRUKTUR) VALUES ('T00200')"));
            ASSERT_TRUE(insert.run());
        }
        if (content == u"backup blocked")
            QDir().mkpath(device.root.host(QStringLiteral("Brovant/Save/0002_Auto.cdb")));
        if (content == u"oldest of thirty") {
            for (int n = 2; n <= 30; ++n)
                EXPECT_TRUE(device.service->backup(Kind::Automatic));
            QFile::rename(device.root.host(QStringLiteral("Brovant/Save/0001_Manu.cdb")),
                          device.root.host(QStringLiteral("Brovant/Save/0001_Auto.cdb")));
        }
        const QStringList before = device.listing(QStringLiteral("Brovant/Save"));
        const QByteArray database = device.root.readFile(QStringLiteral("Brovant/Brovant.cdb"));
        const int trees = device.trees();
        const bool restored = c.text(2) == u"-";
        EXPECT_EQ(device.service->restore(c.text(0)), restored);
        EXPECT_EQ(device.dialogs.asked(), restored ? QStringList{} : QStringList{c.text(2)});
        EXPECT_TRUE(device.session->database().isOpen());
        EXPECT_EQ(device.trees(), restored ? 3 : trees);
        if (!restored) {
            EXPECT_EQ(device.root.readFile(QStringLiteral("Brovant/Brovant.cdb")), database);
        }
        // No automatic backup for a refused restore, and nothing staged is left.
        EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")),
                  c.text(3) == u"-" ? before : names(c.text(3)));
        EXPECT_EQ(device.listing(QStringLiteral("Brovant")), (QStringList{"Brovant.cdb", "Save/"}));
    }
}

} // namespace
} // namespace brovant
