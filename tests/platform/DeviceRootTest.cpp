#include "platform/DeviceRoot.h"
#include "support/CaseKinds.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <map>

namespace brovant {
namespace {

using test::TempRoot;
using Kind = DeviceRoot::Kind;

// Every file below `dir` as "path=contents", sorted, so stray temporary files show up.
QString filesBelow(const QString& dir)
{
    QStringList files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile f(it.next());
        files << QDir(dir).relativeFilePath(f.fileName()) + u'='
                     + (f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>"));
    }
    files.sort();
    return files.join(u' ');
}

// Files given as "path=contents" separated by blanks (no blanks inside), then the folders.
void makeTree(const TempRoot& root, const QString& files, const QStringList& folders = {})
{
    for (const QString& folder : folders)
        ASSERT_TRUE(QDir().mkpath(root.host(folder)));
    for (const QString& file : files.split(u' ', Qt::SkipEmptyParts))
        root.writeFile(file.section(u'=', 0, 0), file.section(u'=', 1).toUtf8());
}

QString expectedHost(const TempRoot& root, const QString& relative)
{
    const QString base = QDir::cleanPath(root.path());
    return relative.isEmpty() ? base : base + u'/' + relative;
}

const QString kCases = QStringLiteral("platform/data/device_root.txt");

TEST(DeviceRootWildcard, MatchesLikeTheDeviceFindFile)
{
    for (const test::Case& c : test::casesOf(kCases, "wildcard"))
        EXPECT_EQ(DeviceRoot::wildcardMatch(c.text(1), c.text(2)), c.fields[3] == "yes")
            << c.where().constData();
    // Many stars on a long name must not backtrack for ever.
    const QString pattern = QStringLiteral("*a").repeated(30) + QStringLiteral("*b");
    const QString miss(20000, u'a');
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(DeviceRoot::wildcardMatch(pattern, miss));
    EXPECT_TRUE(DeviceRoot::wildcardMatch(pattern, miss + u'b'));
    EXPECT_LT(timer.elapsed(), 5000);
}

TEST(DeviceRoot, PathsResolveCaseStayInsideTheRootAndFollowLinks)
{
    TempRoot root;
    QTemporaryDir card; // stands in for the card's mount point
    ASSERT_TRUE(card.isValid());
    ASSERT_TRUE(QDir().mkpath(card.path() + "/Brovant_Save"));
    ASSERT_TRUE(QFile(card.path() + "/Brovant_Save/x.cdb").open(QIODevice::WriteOnly));
    makeTree(root,
             "Brovant/Brovant.cdb=12345 Import/12345678.DAT=d Import/Ä.DAT=u Case/ABC=1 "
             "Case/Abc=2 Case/abc=3 Empty.dat=",
             {"Mixed/Sub Dir"});
    root.writeFile("Mixed/Sub Dir/File.txt", "t");
    ASSERT_TRUE(QFile::link(card.path(), root.host("Storage Card")));
    ASSERT_TRUE(QFile::link(root.host("Brovant/Brovant.cdb"), root.host("link.cdb")));
    ASSERT_TRUE(QFile::link(root.host("gone"), root.host("dangling")));
    const DeviceRoot device(root.path());
    for (const test::Case& c : test::casesOf(kCases, "path"))
        EXPECT_EQ(device.hostPath(c.text(1)), expectedHost(root, c.text(2)))
            << c.where().constData();
    EXPECT_EQ(DeviceRoot(root.path() + "//").hostPath("\\brovant"), expectedHost(root, "Brovant"));

    for (const test::Case& c : test::casesOf(kCases, "query")) {
        const QString path = c.text(1);
        const QByteArray says = c.fields[2];
        const QString answer = device.isFile(path) ? "F" + QString::number(device.fileSize(path))
                               : device.isFolder(path) ? "D"
                                                       : "-";
        EXPECT_EQ(answer, says) << c.where().constData();
        EXPECT_EQ(device.exists(path), says != "-") << c.where().constData();
        EXPECT_EQ(device.fileSize(path) < 0, !says.startsWith('F')) << c.where().constData();
    }
}

TEST(DeviceRoot, FindFiltersByKindAndSortsByName)
{
    TempRoot root;
    makeTree(root,
             "Import/b.dat=b Import/A.DAT=A Import/a.dat=a Import/c.DAT=c Import/.x.dat=x "
             "Import/note.txt=n Import/README=r",
             {"Import/Sub.dat", "Export"});
    ASSERT_TRUE(QFile::link(root.host("Import/b.dat"), root.host("Import/linkfile.dat")));
    ASSERT_TRUE(QFile::link(root.host("Import/gone"), root.host("Import/dangling.dat")));
    ASSERT_EQ(mkfifo(QFile::encodeName(root.host("Import/pipe.dat")).constData(), 0600), 0);
    const DeviceRoot device(root.path());
    const std::map<QByteArray, Kind> kinds = {
        {"files", Kind::Files}, {"folders", Kind::Folders}, {"any", Kind::Any}};
    for (const test::Case& c : test::casesOf(kCases, "find"))
        EXPECT_EQ(device.find(c.text(1), kinds.at(c.fields[2])).join(u' '), c.text(3))
            << c.where().constData();
}

TEST(DeviceRoot, RemoveMatchingRemovesFilesOnly)
{
    for (const test::Case& c : test::casesOf(kCases, "remove")) {
        SCOPED_TRACE(c.where().constData());
        TempRoot root;
        makeTree(root, "Import/B.DAT= Import/Folder.dat/inner.dat= Import/a.dat= Import/keep.txt= "
                       "Import/long.dat=");
        EXPECT_EQ(DeviceRoot(root.path()).removeMatching(c.text(1)), c.text(2).toInt());
        EXPECT_EQ(filesBelow(root.path()), c.text(3));
    }
}

TEST(DeviceRoot, CopyAndMoveReplaceAtomicallyOrLeaveNothing)
{
    const QString tree = "Export/Folder/inner=I Export/old.dat=OLD Import/a.dat=AAA";
    for (const test::Case& c : test::casesOf(kCases, "transfer")) {
        SCOPED_TRACE(c.where().constData());
        TempRoot root;
        makeTree(root, tree);
        const DeviceRoot device(root.path());
        const QString from = c.text(2), to = c.text(3), after = c.text(4);
        EXPECT_EQ(c.fields[1] == "move" ? device.moveFile(from, to)
                                        : device.copyFile(from, to, c.fields[1] == "replace"),
                  after != u"fails");
        EXPECT_EQ(filesBelow(root.path()), after == u"fails" || after == u"same" ? tree : after);
    }
}

TEST(DeviceRoot, CopyFileCopiesLargeAndEmptyFilesExactlyOrLeavesNothing)
{
    TempRoot root;
    QByteArray big(300 * 1024 + 7, Qt::Uninitialized);
    for (qsizetype i = 0; i < big.size(); ++i)
        big[i] = char((i * 131) % 251);
    root.writeFile("big.bin", big);
    makeTree(root, "empty.bin= Export/empty.bin=not-empty Export/old.dat=OLD");
    const DeviceRoot device(root.path());
    ASSERT_TRUE(device.copyFile("\\big.bin", "\\Export\\big.bin", false));
    ASSERT_TRUE(device.copyFile("\\empty.bin", "\\Export\\empty.bin", true));
    EXPECT_EQ(root.readFile("Export/big.bin"), big);
    // Reading this file's first page fails with EIO: a source that breaks mid-copy.
    if (QFileInfo(QStringLiteral("/proc/self/mem")).isFile()) {
        ASSERT_TRUE(QFile::link(QStringLiteral("/proc/self/mem"), root.host("broken.dat")));
        EXPECT_FALSE(device.copyFile("\\broken.dat", "\\Export\\new.dat", false));
        EXPECT_FALSE(device.copyFile("\\broken.dat", "\\Export\\old.dat", true));
    }
    EXPECT_EQ(
        QDir(root.host("Export")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        (QStringList{"big.bin", "empty.bin", "old.dat"}));
    EXPECT_EQ(root.readFile("Export/empty.bin") + root.readFile("Export/old.dat"), "OLD");
}

TEST(DeviceRoot, MoveFileCrossesFileSystems)
{
    TempRoot root;
    QTemporaryDir card(QStringLiteral("/dev/shm/brovant-card-XXXXXX"));
    struct stat rootStat {};
    struct stat cardStat {};
    if (!card.isValid() || stat(QFile::encodeName(root.path()).constData(), &rootStat) != 0
        || stat(QFile::encodeName(card.path()).constData(), &cardStat) != 0
        || rootStat.st_dev == cardStat.st_dev)
        GTEST_SKIP() << "no second file system to move across";
    makeTree(root, "Import/a.dat=AAA");
    ASSERT_TRUE(QFile::link(card.path(), root.host("Storage Card")));
    ASSERT_TRUE(QFile(card.path() + "/a.dat").open(QIODevice::WriteOnly));
    EXPECT_TRUE(DeviceRoot(root.path()).moveFile("\\Import\\a.dat", "\\storage card\\A.DAT"));
    EXPECT_EQ(filesBelow(root.path()), "");
    EXPECT_EQ(filesBelow(card.path()), "a.dat=AAA");
}

TEST(DeviceRoot, MakeFolderAndRemoveFile)
{
    TempRoot root;
    makeTree(root, "Brovant/Brovant.cdb=c", {"Import"});
    const DeviceRoot device(root.path());
    for (const test::Case& c : test::casesOf(kCases, "folder")) {
        const bool made = c.text(2) != u"-";
        EXPECT_EQ(device.makeFolder(c.text(1)), made) << c.where().constData();
        EXPECT_TRUE(!made || QFileInfo(root.host(c.text(2))).isDir()) << c.where().constData();
    }
    EXPECT_EQ(QDir(root.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              (QStringList{"Brovant", "Import"}));
    ASSERT_TRUE(QFile::link(root.host("Import"), root.host("Storage Card")));
    EXPECT_FALSE(device.removeFile("\\Brovant\\New"));
    EXPECT_FALSE(device.removeFile("\\storage card"));
    EXPECT_TRUE(QFileInfo(root.host("Storage Card")).isSymLink());
    EXPECT_FALSE(device.removeFile("\\Brovant\\missing.cdb"));
    EXPECT_TRUE(device.removeFile("\\BROVANT\\brovant.CDB"));
    EXPECT_FALSE(QFileInfo::exists(root.host("Brovant/Brovant.cdb")));
    EXPECT_TRUE(QFileInfo(root.host("Brovant/New")).isDir());
}

TEST(DeviceRoot, SafeFileNamesAndJoin)
{
    for (const test::Case& c : test::casesOf(kCases, "safe"))
        EXPECT_EQ(DeviceRoot::isSafeFileName(c.text(1)), c.fields[2] == "yes")
            << c.where().constData();
    // Lengths and a lone surrogate, which the case file cannot hold.
    EXPECT_TRUE(DeviceRoot::isSafeFileName(QString(255, u'x')));
    for (const QString& name : {QString(256, u'x'), QString(QChar(0xD800)) + u'x', QString()})
        EXPECT_FALSE(DeviceRoot::isSafeFileName(name)) << name.size();
    for (const test::Case& c : test::casesOf(kCases, "join"))
        EXPECT_EQ(DeviceRoot::join(c.text(1), c.text(2)), c.text(3)) << c.where().constData();
}

} // namespace
} // namespace brovant
