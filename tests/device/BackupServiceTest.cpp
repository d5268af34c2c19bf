#include "device/BackupService.h"
#include "data/DataTestSupport.h"
#include "data/StructureCheck.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>
#include <ostream>

namespace brovant {
namespace {

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

class Device {
public:
    Device()
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
        for (const QFileInfo& info :
             dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name)) {
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

    test::TempRoot root;
    ScriptedDialogs dialogs;
    std::unique_ptr<DeviceSession> session;
    std::unique_ptr<BackupService> service;
};

QStringList numbered(const char* kind, int first, int last)
{
    QStringList out;
    for (int n = first; n <= last; ++n)
        out << QStringLiteral("%1_%2.cdb").arg(n, 4, 10, QChar(u'0')).arg(QLatin1StringView(kind));
    return out;
}

// File names separated by blanks, where "0001_Auto.cdb..0030_Auto.cdb" stands for the thirty.
QStringList names(const QString& text)
{
    QStringList out;
    for (const QString& name : text.split(u' ', Qt::SkipEmptyParts)) {
        if (!name.contains(QStringLiteral("..")))
            out << name;
        else
            out << numbered(name.mid(5, 4).toLatin1().constData(), name.left(4).toInt(),
                            name.section(QStringLiteral(".."), 1).left(4).toInt());
    }
    return out;
}

// The numbering runs over both kinds; each kind's limit is tested for equality only; 9999 clears.
// One case a line of data/backup_numbering.txt.
TEST(BackupNumbering, NextNameLimitsAndRestart)
{
    for (const test::Case& c : test::readCases("device/data/backup_numbering.txt")) {
        SCOPED_TRACE(c.where().constData());
        Device device;
        device.addTrees(3);
        for (const QString& name : names(c.text(0)))
            device.touch(QStringLiteral("Brovant/Save/") + name);
        EXPECT_TRUE(device.backups().backup(c.text(1) == u"Auto" ? Kind::Automatic : Kind::Manual));
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
        Device device;
        for (const QString& folder : c.text(2).split(u',', Qt::SkipEmptyParts))
            QDir().mkpath(device.root.host(folder));
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
            EXPECT_TRUE(service.entries().empty());
            continue;
        }
        EXPECT_EQ(device.listing(c.text(4)), QStringList{"0001_Manu.cdb"});
        ASSERT_EQ(service.entries().size(), 1u);
        EXPECT_EQ(service.entries().front().name, QStringLiteral("0001_Manu.cdb"));
    }
}

// A card is usually a link to where the system mounts it; a link whose card is gone is no card.
TEST(BackupFolder, CardBehindASymbolicLink)
{
    for (const bool mounted : {true, false}) {
        SCOPED_TRACE(mounted ? "mounted" : "removed");
        Device device;
        QTemporaryDir media;
        const QString mountPoint = media.path() + QStringLiteral("/sdcard");
        if (mounted)
            QDir().mkpath(mountPoint);
        ASSERT_TRUE(QFile::link(mountPoint, device.root.host(QStringLiteral("Storage Card"))));
        device.setCard(true);
        device.addTrees(2);
        const bool made = device.backups().backup(Kind::Automatic);
        EXPECT_EQ(made, mounted);
        EXPECT_TRUE(device.session->database().isOpen());
        if (mounted) {
            EXPECT_EQ(treesIn(mountPoint + QStringLiteral("/Brovant_Save/0001_Auto.cdb")), 2);
            EXPECT_TRUE(device.dialogs.asked().isEmpty());
        } else {
            EXPECT_EQ(device.dialogs.asked(), QStringList{kNoCard});
            EXPECT_FALSE(QFileInfo::exists(mountPoint));
        }
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
        Device device;
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

// A backup taken while a transaction is open holds what was committed, nothing of the rest.
TEST(BackupSnapshot, HoldsOnlyWhatWasCommitted)
{
    Device device;
    device.addTrees(4);
    Database& db = device.session->database();
    {
        Database::Transaction open(db);
        auto insert =
            db.query(QStringLiteral("INSERT INTO Brov_Holzdaten (ID, ID_FILE) VALUES (99, 1)"));
        ASSERT_TRUE(insert.run());
        EXPECT_TRUE(device.backups().backup(Kind::Manual));
        EXPECT_TRUE(open.commit());
    }
    EXPECT_EQ(treesIn(device.root.host(QStringLiteral("Brovant/Save/0001_Manu.cdb"))), 4);
    EXPECT_EQ(device.trees(), 5);
    EXPECT_FALSE(QFile::exists(device.root.host(QStringLiteral("Brovant/Brovant.cdb-journal"))));
}

TEST(BackupService, AutomaticOnlyWhenSwitchedOn)
{
    for (const int autoOn : {0, 1}) {
        Device device;
        device.session->store().writeInt(Setting::BackupAuto, 0, autoOn);
        EXPECT_EQ(device.backups().automaticIfEnabled(), autoOn == 1);
        EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")),
                  autoOn ? QStringList{"0001_Auto.cdb"} : QStringList{});
    }
}

// Only files of the backups' shape are listed, sorted, each with the program's time when it was
// made: that clock may run apart from the system's.
TEST(BackupService, EntriesAreSortedBackupsWithTheProgramsTime)
{
    Device device;
    ManualClock clock(QDateTime(QDate(2026, 5, 4), QTime(18, 0, 59)));
    BackupService& service = device.backups();
    service.setClock(&clock);
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
}

// Backup 0001_Manu.cdb holds 3 trees; 5 more have been tallied since.
struct RestoreDevice : Device {
    RestoreDevice()
    {
        addTrees(3);
        EXPECT_TRUE(backups().backup(Kind::Manual));
        addTrees(5);
        dialogs.clear();
    }
    QByteArray backupBytes() const
    {
        return root.readFile(QStringLiteral("Brovant/Save/0001_Manu.cdb"));
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
    EXPECT_TRUE(device.dialogs.asked().isEmpty());
    EXPECT_TRUE(device.session->database().isOpen());
    EXPECT_EQ(device.trees(), 3);
    // The state just before the restore is kept, whatever Auto says.
    EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")),
              (QStringList{"0001_Manu.cdb", "0002_Auto.cdb"}));
    EXPECT_EQ(treesIn(device.root.host(QStringLiteral("Brovant/Save/0002_Auto.cdb"))), 8);
    EXPECT_EQ(device.listing(QStringLiteral("Brovant")), (QStringList{"Brovant.cdb", "Save/"}));
    EXPECT_EQ(stagedMode, 0600u);
    for (const char* file :
         {"Brovant/Brovant.cdb", "Brovant/Save/0001_Manu.cdb", "Brovant/Save/0002_Auto.cdb"})
        EXPECT_EQ(modeOf(device.root.host(QLatin1StringView(file))), 0600u) << file;
    // Start-up accepts what was restored.
    device.session->database().close();
    EXPECT_EQ(StructureCheck::inspect(device.root.host(QStringLiteral("Brovant/Brovant.cdb"))),
              StructureCheck::Verdict::Accepted);
}

// The chosen backup is the oldest of 30, which the automatic backup before the restore deletes.
TEST(Restore, OldestOfThirtyIsRestoredThoughItsFileGoes)
{
    RestoreDevice device;
    for (int n = 2; n <= 30; ++n)
        EXPECT_TRUE(device.service->backup(Kind::Automatic));
    QFile::rename(device.root.host(QStringLiteral("Brovant/Save/0001_Manu.cdb")),
                  device.root.host(QStringLiteral("Brovant/Save/0001_Auto.cdb")));
    EXPECT_TRUE(device.service->restore(QStringLiteral("0001_Auto.cdb")));
    EXPECT_TRUE(device.dialogs.asked().isEmpty());
    EXPECT_EQ(device.trees(), 3);
    EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")), numbered("Auto", 2, 31));
}

// One refused restore a line of data/restore_refusals.txt.
TEST(Restore, RefusedFilesLeaveTheDatabaseAlone)
{
    for (const test::Case& c : test::readCases("device/data/restore_refusals.txt")) {
        SCOPED_TRACE(c.where().constData());
        const QString content = c.text(1);
        RestoreDevice device;
        const QString target = QStringLiteral("Brovant/Save/") + c.text(0);
        if (content == u"cut in half") {
            device.root.writeFile(target,
                                  device.backupBytes().left(device.backupBytes().size() / 2));
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
        const QStringList before = device.listing(QStringLiteral("Brovant/Save"));
        const QByteArray database = device.root.readFile(QStringLiteral("Brovant/Brovant.cdb"));
        const int trees = device.trees();
        EXPECT_FALSE(device.service->restore(c.text(0)));
        EXPECT_EQ(device.dialogs.asked(), QStringList{c.text(2)});
        EXPECT_TRUE(device.session->database().isOpen());
        EXPECT_EQ(device.trees(), trees);
        EXPECT_EQ(device.root.readFile(QStringLiteral("Brovant/Brovant.cdb")), database);
        // No automatic backup for a refused restore, and nothing staged is left.
        EXPECT_EQ(device.listing(QStringLiteral("Brovant/Save")), before);
        EXPECT_EQ(device.listing(QStringLiteral("Brovant")), (QStringList{"Brovant.cdb", "Save/"}));
    }
}

} // namespace
} // namespace brovant
