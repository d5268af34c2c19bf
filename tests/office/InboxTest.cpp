#include "OfficeFixture.h"

#include <QDir>
#include <QFile>

namespace brovant::test {
namespace {

class InboxTest : public OfficeStoreTest {
protected:
    void SetUp() override
    {
        OfficeStoreTest::SetUp();
        inbox = dir.filePath(QStringLiteral("inbox"));
        QDir().mkpath(inbox);
    }
    void drop(const QString& name, const QByteArray& bytes)
    {
        QFile f(inbox + u'/' + name);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    // Names in a folder below the inbox ("" for the inbox itself).
    QStringList in(const QString& folder = {})
    {
        return QDir(inbox + u'/' + folder).entryList(QDir::Files, QDir::Name);
    }
    std::vector<office::IntakeResult> scanAt(qint64 msAfterNow)
    {
        const QDateTime at = QDateTime::currentDateTimeUtc().addMSecs(msAfterNow);
        office::Inbox box(*store, inbox, [at] { return at; });
        return box.scan();
    }

    QString inbox;
};

TEST_P(InboxTest, TakesSettledFilesAndMovesThemByOutcome)
{
    const QByteArray list = deviceFile("export_all_pairs.dat");
    drop(QStringLiteral("HIEB01.DAT"), list);
    drop(QStringLiteral("KAPUTT.DAT"), list.left(300));
    drop(QStringLiteral(".upload-in-progress"), list);

    // Just written: it may still be uploading.
    EXPECT_TRUE(scanAt(0).empty());
    EXPECT_EQ(in().size(), 2);

    const auto results = scanAt(office::Inbox::kSettleMs + 1000);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(office::describe(results[0]), QStringLiteral("imported HIEB01 1"));
    EXPECT_EQ(office::describe(results[1]), QStringLiteral("rejected KAPUTT.DAT: Datei unvollständig"));
    EXPECT_EQ(in(), QStringList());
    EXPECT_EQ(in(QStringLiteral("done")), QStringList{"HIEB01.DAT"});
    EXPECT_EQ(in(QStringLiteral("rejected")), (QStringList{"KAPUTT.DAT", "KAPUTT.DAT.reason"}));
    QFile reason(inbox + QStringLiteral("/rejected/KAPUTT.DAT.reason"));
    ASSERT_TRUE(reason.open(QIODevice::ReadOnly));
    EXPECT_EQ(reason.readAll(), QByteArray("Datei unvollständig\n"));
    EXPECT_EQ(QDir(inbox).entryList(QDir::Hidden | QDir::Files), QStringList{".upload-in-progress"});

    // The same list again (a device sending twice, or a kill between the commit and the move) is a
    // duplicate, kept beside the first.
    drop(QStringLiteral("HIEB01.DAT"), list);
    const auto again = scanAt(office::Inbox::kSettleMs + 1000);
    ASSERT_EQ(again.size(), 1u);
    EXPECT_EQ(office::describe(again[0]), QStringLiteral("duplicate HIEB01 1"));
    EXPECT_EQ(in(QStringLiteral("done")), (QStringList{"HIEB01.DAT", "HIEB01_2.DAT"}));
    EXPECT_EQ(in(), QStringList());
    EXPECT_EQ(listCount(), 1);
}

INSTANTIATE_TEST_SUITE_P(Stores, InboxTest, ::testing::Values("sqlite"));

} // namespace
} // namespace brovant::test
