// The backup commands: a day of backups, listing and restoring on one device root, and the
// device family told by its files.
#include "masterdata/DeviceSession.h"
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QDir>

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace brovant::test {
namespace {

QString trees(const QString& file)
{
    return sqlRows(file, "SELECT COUNT(*) FROM Brov_Holzdaten").join(u',');
}

void setTime(const QString& file, const QDateTime& time)
{
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadWrite));
    ASSERT_TRUE(f.setFileTime(time, QFileDevice::FileModificationTime));
}

// One device root through a sequence of commands; each step may change the root first.
TEST(ToolBackup, BackupListRestore)
{
    TempRoot root;
    const QString database = root.host(QStringLiteral("Brovant/Brovant.cdb"));
    const QString save = root.host(QStringLiteral("Brovant/Save/"));
    const auto addTree = [&] {
        EXPECT_EQ(sqlRows(database, "INSERT INTO Brov_Holzdaten (ID, ID_FILE) VALUES (1, 1)"),
                  QStringList());
    };
    const std::map<QString, std::function<void()>> before = {
        {"init",
         [&] {
             EXPECT_EQ(tool(root.path(), {"init"}).status, 0);
             addTree();
         }},
        {"tree", addTree},
        {"stamp",
         [&] {
             setTime(save + QStringLiteral("0001_Manu.cdb"),
                     QDateTime(QDate(2026, 5, 4), QTime(9, 7)));
             setTime(save + QStringLiteral("0002_Auto.cdb"),
                     QDateTime(QDate(2026, 5, 4), QTime(12, 30)));
         }},
        {"foreign",
         [&] {
             root.writeFile(QStringLiteral("Brovant/Save/0009_Manu.cdb"), "no database");
         }},
    };
    for (const Case& step : readCases(QStringLiteral("tool/data/backups.txt"))) {
        SCOPED_TRACE(step.where().toStdString());
        if (!step.text(0).isEmpty())
            before.at(step.text(0))();
        QStringList args;
        for (qsizetype i = 5; i < step.fields.size(); ++i)
            args << step.text(i);
        const ToolRun r = tool(root.path(), args);
        EXPECT_EQ(r.status, step.text(1).toInt()) << r.err.toStdString();
        EXPECT_TRUE(outputMatches(r.out, step.text(2))) << r.out.toStdString();
        EXPECT_TRUE(outputMatches(r.err, step.text(3))) << r.err.toStdString();
        EXPECT_EQ(trees(database), step.text(4));
    }
    // The restore kept the state before it as the next automatic backup.
    EXPECT_EQ(QDir(save).entryList(QDir::Files, QDir::Name),
              (QStringList{"0001_Manu.cdb", "0002_Auto.cdb", "0003_Auto.cdb", "0009_Manu.cdb"}));
    EXPECT_EQ(trees(save + QStringLiteral("0003_Auto.cdb")), QStringLiteral("2"));
}

// The device family comes from "\Windows\externapi.dll", as at start-up; without the card both
// commands end with the notice. Which folder each family and card setting gives is
// BackupFolder.TableForBothFamiliesAndBothKarteValues.
TEST(ToolBackup, FolderByDeviceFamilyAndCard)
{
    for (const bool card : {false, true}) {
        SCOPED_TRACE(card);
        TempRoot root;
        root.writeFile(QStringLiteral("Windows/externapi.dll"), "MZ");
        QDir().mkpath(root.host(QStringLiteral("Extended Storage")));
        DeviceSession(root.path()).store().writeInt(Setting::BackupKarte, 0, card ? 1 : 0);
        const ToolRun made = tool(root.path(), {"backup"});
        EXPECT_EQ(made.status, card ? 1 : 0);
        EXPECT_EQ(made.out, card ? "" : "\\Extended Storage\\Brovant_Save\\0001_Manu.cdb\n");
        const ToolRun listed = tool(root.path(), {"backups"});
        EXPECT_EQ(listed.status, card ? 1 : 0);
        EXPECT_EQ(listed.out.isEmpty(), card);
        for (const ToolRun& r : {made, listed})
            EXPECT_EQ(r.err,
                      card ? QString::fromUtf8("Kein Zugriff auf externe\nSpeicherkarte möglich!\n")
                           : QString());
    }
}

} // namespace
} // namespace brovant::test
