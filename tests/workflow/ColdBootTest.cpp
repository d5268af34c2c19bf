#include "AppLogicFixture.h"

#include <sqlite3.h>

namespace brovant::test {
namespace {

constexpr Answer Yes = Answer::Yes;
constexpr Answer No = Answer::No;
const QString kWorking = "Brovant/Brovant.cdb";
const QString kQuestion =
    "Kam es zum Programmverlust|und wollen sie letzte Daten|wieder herstellen?";
const QString kFlash = "Built-in Storage";
const QString kCard = "Speicherkarte";

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

TEST(ColdBoot, DeclinedCopyMovesOnToTheNextCardWhenOneFails)
{
    TestDevice d;
    setUp(d, 2004);
    d.profile().writeInt("Backup", "Karte", 1);
    d.makeDatabase(backupIn(kCard), "ONE");
    d.makeDatabase(backupIn("Storage Card"), "TWO");
    // The first card's aside name is taken by a folder: that copy fails without a word.
    ASSERT_TRUE(QDir().mkpath(d.root.host(asideIn(kCard))));
    d.makeDatabase(kWorking, "WORK");
    d.dialogs.answerNext(No);

    ASSERT_TRUE(d.app->start());
    EXPECT_EQ(d.dialogs.asked(), QStringList{kQuestion});
    EXPECT_EQ(d.markerOf(asideIn("Storage Card")), "TWO");
    EXPECT_TRUE(QFileInfo(d.root.host(asideIn(kCard))).isDir());
    EXPECT_EQ(d.markerOf(kWorking), "WORK");
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

} // namespace
} // namespace brovant::test
