#include "AppLogicFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace brovant::test {
namespace {

constexpr int Yes = MessageDialogs::Yes;
constexpr int No = MessageDialogs::No;

const QString kWorking = QStringLiteral("Brovant/Brovant.cdb");
const QString kQuestion =
    QStringLiteral("Kam es zum Programmverlust|und wollen sie letzte Daten|wieder herstellen?");

void setYear(TestDevice& d, int year)
{
    d.clock.setNow(QDateTime(QDate(year, 12, 31), QTime(23, 59, 59)));
}

QString backupIn(const QString& folder)
{
    return folder + QStringLiteral("/Brovant.cdb");
}

QString asideIn(const QString& folder)
{
    return folder + QStringLiteral("/Brovant.bak.cdb");
}

// REGION_A holds eight characters: a short tag per backup folder.
QString tagOf(const QString& folder)
{
    static const QStringList folders = {
        QStringLiteral("Speicherkarte"),    QStringLiteral("Speicherkarte2"),
        QStringLiteral("Storage Card"),     QStringLiteral("Storage Card2"),
        QStringLiteral("Built-in Storage"),
    };
    return QStringLiteral("BACKUP%1").arg(folders.indexOf(folder));
}

TEST(ColdBoot, RecoveryFollowsClockMediumAndAnswer)
{
    const QString card = QStringLiteral("Speicherkarte");
    const QString flash = QStringLiteral("Built-in Storage");
    const QString card2 = QStringLiteral("Storage Card2");
    const QString sk2 = QStringLiteral("Speicherkarte2");
    const QString sc = QStringLiteral("Storage Card");
    struct Case {
        const char* name;
        int year;
        bool flashFolder;
        int karte;
        QStringList backups; // folders holding a backup whose marker is the folder's name
        bool working;        // a working database with marker "WORK" exists
        int answer;
        bool asked;
        QString workingAfter; // marker of the working database after start-up
        QString aside;        // folder that must get "Brovant.bak.cdb", or empty
    };
    const Case cases[] = {
        {"card, yes", 2004, true, 1, {card}, true, Yes, true, tagOf(card), {}},
        {"card, no", 2004, true, 1, {card}, true, No, true, "WORK", card},
        {"clock already set", 2005, true, 1, {card}, true, Yes, false, "WORK", {}},
        {"long after the reset year", 2026, true, 0, {flash}, true, Yes, false, "WORK", {}},
        {"no flash folder", 2004, false, 1, {card}, true, Yes, false, "WORK", {}},
        {"no backup anywhere", 2004, true, 1, {}, true, Yes, false, "WORK", {}},
        {"flash, yes", 2004, true, 0, {flash}, true, Yes, true, tagOf(flash), {}},
        {"flash, no", 2004, true, 0, {flash}, true, No, true, "WORK", flash},
        {"Karte 0 ignores the card", 2004, true, 0, {card}, true, Yes, false, "WORK", {}},
        {"Karte 1 ignores the flash", 2004, true, 1, {flash}, true, Yes, false, "WORK", {}},
        {"last card path, yes", 2004, true, 1, {card2}, true, Yes, true, tagOf(card2), {}},
        {"last card path, no", 2004, true, 1, {card2}, true, No, true, "WORK", card2},
        {"first card in table order", 2004, true, 1, {sc, sk2}, true, Yes, true, tagOf(sk2), {}},
        {"no working database yet", 2004, true, 1, {card}, false, Yes, true, tagOf(card), {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestDevice d;
        setYear(d, c.year);
        if (c.flashFolder) {
            ASSERT_TRUE(QDir().mkpath(d.root.host(flash)));
        }
        d.profile().writeInt(QStringLiteral("Backup"), QStringLiteral("Karte"), c.karte);
        for (const QString& folder : c.backups)
            d.makeDatabase(backupIn(folder), tagOf(folder));
        if (c.working)
            d.makeDatabase(kWorking, QStringLiteral("WORK"));
        QList<QByteArray> backupBytes;
        for (const QString& folder : c.backups)
            backupBytes << d.root.readFile(backupIn(folder));
        d.dialogs.answerNext(c.answer);

        ASSERT_TRUE(d.app->start());

        EXPECT_EQ(d.dialogs.asked(), c.asked ? QStringList{kQuestion} : QStringList{});
        EXPECT_EQ(d.markerOf(kWorking), c.workingAfter);
        for (qsizetype i = 0; i < c.backups.size(); ++i) {
            const QString& folder = c.backups[i];
            EXPECT_EQ(d.root.readFile(backupIn(folder)), backupBytes[i]) << "backup untouched";
            const QByteArray aside = folder == c.aside ? backupBytes[i] : QByteArray();
            EXPECT_EQ(d.root.readFile(asideIn(folder)), aside) << folder.toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(d.root.host(QStringLiteral("Brovant/Brovant.bak.cdb"))));

        if (c.asked) {
            // The question is asked over the active main menu, before the structure check.
            const qsizetype active = d.eventIndex(QStringLiteral("host active 1"));
            const qsizetype question = d.eventIndex(QStringLiteral("yesNo "), active + 1);
            const qsizetype cleared = d.eventIndex(QStringLiteral("host active 0"), question + 1);
            const qsizetype info = d.eventIndex(QStringLiteral("info 5 Datenbank"), cleared + 1);
            EXPECT_TRUE(active >= 0 && question > active && cleared > question && info > cleared)
                << d.eventText();
        } else {
            EXPECT_EQ(d.eventIndex(QStringLiteral("host active 0")), -1);
        }
    }
}

// What a crash in the middle of a write leaves: the database file with a hot rollback journal
// beside it, holding the pages from before the write.
void leaveHotJournal(const QString& hostFile)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(hostFile).constData(), &db), SQLITE_OK);
    // A tiny cache makes the transaction spill pages into the file before it commits.
    ASSERT_EQ(sqlite3_exec(db,
                           "PRAGMA journal_mode=DELETE; PRAGMA cache_size=2; BEGIN;"
                           "UPDATE Brov_Einstellungen SET REGION_A = 'CRASHED';"
                           "CREATE TABLE filler(t TEXT);"
                           "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                           "WHERE i < 400) INSERT INTO filler SELECT printf('%0500d', i) FROM n;",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    const QString journal = hostFile + QStringLiteral("-journal");
    ASSERT_TRUE(QFile::copy(journal, journal + QStringLiteral(".kept")));
    sqlite3_exec(db, "ROLLBACK;", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    ASSERT_TRUE(QFile::rename(journal + QStringLiteral(".kept"), journal));
}

TEST(ColdBoot, RestoredDatabaseIsNotRolledBackByTheCrashedRunsJournal)
{
    TestDevice d;
    setYear(d, 2003);
    ASSERT_TRUE(QDir().mkpath(d.root.host(QStringLiteral("Built-in Storage"))));
    d.makeDatabase(backupIn(QStringLiteral("Built-in Storage")), QStringLiteral("BACKUP"));
    d.makeDatabase(kWorking, QStringLiteral("WORK"));
    leaveHotJournal(d.root.host(kWorking));
    d.dialogs.answerNext(Yes);

    ASSERT_TRUE(d.app->start());

    EXPECT_EQ(d.dialogs.asked(), QStringList{kQuestion});
    EXPECT_EQ(d.markerOf(kWorking), QStringLiteral("BACKUP"));
    EXPECT_FALSE(QFileInfo::exists(d.root.host(kWorking + QStringLiteral("-journal"))));
}

TEST(ColdBoot, DeclinedCopyMovesOnToTheNextCardWhenOneFails)
{
    TestDevice d;
    setYear(d, 2004);
    ASSERT_TRUE(QDir().mkpath(d.root.host(QStringLiteral("Built-in Storage"))));
    d.profile().writeInt(QStringLiteral("Backup"), QStringLiteral("Karte"), 1);
    d.makeDatabase(backupIn(QStringLiteral("Speicherkarte")), QStringLiteral("ONE"));
    d.makeDatabase(backupIn(QStringLiteral("Storage Card")), QStringLiteral("TWO"));
    // The first card's aside name is taken by a folder: that copy fails without a word.
    ASSERT_TRUE(QDir().mkpath(d.root.host(asideIn(QStringLiteral("Speicherkarte")))));
    d.makeDatabase(kWorking, QStringLiteral("WORK"));
    d.dialogs.answerNext(No);

    ASSERT_TRUE(d.app->start());

    EXPECT_EQ(d.dialogs.asked(), QStringList{kQuestion});
    EXPECT_EQ(d.markerOf(asideIn(QStringLiteral("Storage Card"))), QStringLiteral("TWO"));
    EXPECT_TRUE(QFileInfo(d.root.host(asideIn(QStringLiteral("Speicherkarte")))).isDir());
    EXPECT_EQ(d.markerOf(kWorking), QStringLiteral("WORK"));
}

} // namespace
} // namespace brovant::test
