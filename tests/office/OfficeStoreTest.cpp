#include "OfficeFixture.h"

#include "office/ListReading.h"
#include "office/Passwords.h"

#include <QDir>

namespace brovant::test {
namespace {

using office::IntakeResult;
using Kind = IntakeResult::Kind;

TEST_P(OfficeStoreTest, SameBytesAreOneListOtherContentANewVersion)
{
    const QByteArray first = deviceFile("export_all_pairs.dat");
    const QByteArray second = QByteArray(first).replace("   0.59", "   0.61");
    ASSERT_NE(first, second);

    const IntakeResult a = take(first);
    const IntakeResult again = take(first, QStringLiteral("other name.DAT"));
    const IntakeResult b = take(second);
    EXPECT_EQ(a.kind, Kind::Imported);
    EXPECT_EQ(again.kind, Kind::Duplicate);
    EXPECT_EQ(again.id, a.id);
    EXPECT_EQ(b.kind, Kind::Imported);
    EXPECT_EQ(office::describe(a), QStringLiteral("imported HIEB01 %1").arg(a.id));
    EXPECT_EQ(office::describe(again), QStringLiteral("duplicate HIEB01 %1").arg(a.id));

    // The table shows the newest; the older stays as history.
    EXPECT_EQ(listCount(false), 1);
    const auto versions = store->versions(QStringLiteral("HIEB01"));
    ASSERT_EQ(versions.size(), 2u);
    EXPECT_EQ(versions[0].id, b.id);
    EXPECT_EQ(versions[0].version, 2);
    EXPECT_TRUE(versions[0].current);
    EXPECT_FALSE(versions[1].current);
    EXPECT_GT(versions[0].volume, versions[1].volume);
    EXPECT_EQ(store->fileBytes(a.id), first);
    EXPECT_EQ(store->fileBytes(b.id), second);

    // Reopened, the store keeps its schema and both versions.
    const int schema = store->schemaVersion();
    EXPECT_GE(schema, 1);
    store.reset();
    QString error;
    store = office::OfficeStore::open(location, &error);
    ASSERT_TRUE(store) << error.toStdString();
    EXPECT_EQ(store->schemaVersion(), schema);
    EXPECT_EQ(listCount(), 2);
}

TEST_P(OfficeStoreTest, RefusedFilesLeaveTheStoreAsItWas)
{
    const QByteArray good = deviceFile("export_all_pairs.dat");
    ASSERT_EQ(take(good).kind, Kind::Imported);
    struct Case {
        const char* what;
        QByteArray bytes;
        const char* reason;
    } cases[] = {
        {"empty", QByteArray(), "leere Datei"},
        {"text", "Hallo\r\n", "keine Listendatei"},
        {"cut inside a line", good.left(good.size() - 5), "Datei unvollständig"},
        {"no header record", good.left(good.indexOf("\r\n") + 2), "Datei unvollständig"},
        {"wrong tag", QByteArray(good).replace("T00300", "T00200"), "Falsche Struktur der Liste!"},
        {"no tag", deviceFile("export_no_trees.dat"), "Falsche Struktur der Liste!"},
        {"NUL byte", QByteArray(good).replace("Steilhang", QByteArray("Steil\0ang", 9)),
         "keine Listendatei"},
        {"too large", good + QByteArray(office::kMaxListFileBytes, 'x') + "\r\n", "Datei zu groß"},
    };
    for (const Case& c : cases) {
        const IntakeResult r = take(c.bytes, QStringLiteral("X.DAT"));
        EXPECT_EQ(r.kind, Kind::Rejected) << c.what;
        EXPECT_EQ(r.reason, QString::fromUtf8(c.reason)) << c.what;
        EXPECT_EQ(office::describe(r), QStringLiteral("rejected X.DAT: ") + QString::fromUtf8(c.reason));
    }
    EXPECT_EQ(listCount(), 1);
}

TEST_P(OfficeStoreTest, KeepsHeaderRegionsAndTreesAsTheDeviceWroteThem)
{
    const IntakeResult r = take(deviceFile("export_all_pairs.dat"));
    const auto content = store->content(r.id);
    ASSERT_TRUE(content);
    EXPECT_EQ(QStringList({content->listNumber, content->date, content->day, content->region}),
              QStringList({"HIEB01", "04.05.2026", "2026-05-04", "WR01"}));
    ASSERT_EQ(content->header.size(), 17u);
    EXPECT_EQ(content->header[0].label, QStringLiteral("Zusatz:"));
    EXPECT_EQ(content->header[0].text, QStringLiteral("Abt. 12 Süd, Steilhang"));
    EXPECT_EQ(content->header[1].label, QStringLiteral("Forstamt:"));
    EXPECT_EQ(content->header[1].text, QStringLiteral("Forstamt Grünwald"));
    EXPECT_EQ(content->header[2].label, QStringLiteral("Revier:"));
    ASSERT_EQ(content->regions.size(), 2u);
    EXPECT_EQ(content->regions[1].species, QStringLiteral("BU"));
    ASSERT_EQ(content->trees.size(), 3u);
    const office::StoredTree& t = content->trees[1];
    EXPECT_EQ(QStringList({QString::number(t.kind), t.parcel, QString::number(t.count), t.species,
                           QString::number(t.diameter), t.diameterClass, QString::number(t.volume),
                           t.na, t.ka, t.tariff})
                  .join(u'|'),
              QStringLiteral("2|12a|12|BU|140|99|123456|N1|K2|BU01"));

    // Texts that mean something to SQL or to an array literal come back as they went in.
    const IntakeResult quoted =
        take(deviceFile("export_all_pairs.dat").replace("12a  ", "\"\\,{'"));
    ASSERT_EQ(quoted.kind, Kind::Imported) << quoted.reason.toStdString();
    const auto back = store->content(quoted.id);
    ASSERT_TRUE(back);
    ASSERT_EQ(back->trees.size(), 3u);
    EXPECT_EQ(back->trees[1].parcel, QStringLiteral("\"\\,{'"));
}

TEST_P(OfficeStoreTest, FiltersSortsAndPages)
{
    const QByteArray base = deviceFile("export_all_pairs.dat");
    // Three lists: other numbers, dates and regions; one header text with SQL and wildcards.
    take(base);
    take(QByteArray(base).replace("HIEB01", "HIEB02").replace("04.05.2026", "20.06.2026"));
    take(QByteArray(base)
             .replace("HIEB01", "HIEB03")
             .replace("Steilhang", "'%_; --  ")
             .replace("WR01", "WR09"));
    struct Case {
        const char* what;
        office::ListQuery query;
        QStringList numbers;
    };
    const auto q = [](auto setup) {
        office::ListQuery query;
        query.sort = office::ListQuery::Column::Number;
        query.descending = false;
        setup(query);
        return query;
    };
    const Case cases[] = {
        {"all by number", q([](auto&) {}), {"HIEB01", "HIEB02", "HIEB03"}},
        {"descending", q([](auto& x) { x.descending = true; }), {"HIEB03", "HIEB02", "HIEB01"}},
        {"from June", q([](auto& x) { x.fromDay = "2026-06-01"; }), {"HIEB02"}},
        {"until May", q([](auto& x) { x.toDay = "2026-05-31"; }), {"HIEB01", "HIEB03"}},
        {"region", q([](auto& x) { x.region = "WR09"; }), {"HIEB03"}},
        {"header text, any case", q([](auto& x) { x.text = "steilHANG"; }), {"HIEB01", "HIEB02"}},
        {"wildcards are text", q([](auto& x) { x.text = "'%_"; }), {"HIEB03"}},
        {"percent alone", q([](auto& x) { x.text = "%"; }), {"HIEB03"}},
        {"list number", q([](auto& x) { x.text = "hieb02"; }), {"HIEB02"}},
        {"page two", q([](auto& x) { x.limit = 2, x.offset = 2; }), {"HIEB03"}},
    };
    for (const Case& c : cases) {
        QStringList got;
        for (const auto& list : store->lists(c.query))
            got << list.listNumber;
        EXPECT_EQ(got, c.numbers) << c.what;
        office::ListQuery counted = c.query;
        counted.limit = 0;
        EXPECT_EQ(store->count(counted), int(store->lists(counted).size())) << c.what;
    }
    EXPECT_EQ(store->regions(), (QStringList{"WR01", "WR09"}));
}

TEST_P(OfficeStoreTest, UsersAndPasswords)
{
    ASSERT_TRUE(store->addUser(office::hashedUser("anna", office::Role::Clerk, "Fichte 1", 1000)));
    ASSERT_TRUE(store->addUser(office::hashedUser("bert", office::Role::Reader, "x", 1000)));
    // Adding a name again replaces it.
    ASSERT_TRUE(store->addUser(office::hashedUser("bert", office::Role::Admin, "neu", 1000)));
    const auto anna = store->user("anna");
    const auto bert = store->user("bert");
    ASSERT_TRUE(anna && bert);
    EXPECT_EQ(anna->role, office::Role::Clerk);
    EXPECT_EQ(bert->role, office::Role::Admin);
    EXPECT_TRUE(office::passwordMatches(*anna, "Fichte 1"));
    EXPECT_FALSE(office::passwordMatches(*anna, "fichte 1"));
    EXPECT_FALSE(office::passwordMatches(*bert, "x"));
    EXPECT_NE(anna->salt, bert->salt);
    EXPECT_EQ(store->users().size(), 2u);
    EXPECT_FALSE(store->user("carl"));
}

INSTANTIATE_TEST_SUITE_P(Stores, OfficeStoreTest, ::testing::Values("sqlite", "postgresql"));

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
        ASSERT_TRUE(writeAll(inbox + u'/' + name, bytes));
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
    EXPECT_EQ(office::describe(results[1]),
              QStringLiteral("rejected KAPUTT.DAT: Datei unvollständig"));
    EXPECT_EQ(in(), QStringList());
    EXPECT_EQ(in(QStringLiteral("done")), QStringList{"HIEB01.DAT"});
    EXPECT_EQ(in(QStringLiteral("rejected")), (QStringList{"KAPUTT.DAT", "KAPUTT.DAT.reason"}));
    EXPECT_EQ(readAll(inbox + QStringLiteral("/rejected/KAPUTT.DAT.reason")),
              QByteArray("Datei unvollständig\n"));
    EXPECT_EQ(QDir(inbox).entryList(QDir::Hidden | QDir::Files),
              QStringList{".upload-in-progress"});

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
