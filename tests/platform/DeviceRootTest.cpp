#include "platform/DeviceRoot.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

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

TEST(DeviceRootWildcard, MatchesLikeTheDeviceFindFile)
{
    // Pattern, names it matches, names it does not ('|' between names).
    const char* rows[][3] = {
        {"*", "anything.at.all", ""},
        {"*.*", "README|a.b|.profile", ""},
        {"file.*", "file", "files"},
        {"*.dat", "12345678.DAT|.dat", "a.data"},
        {"*.DAT", "x.dat", ""},
        {"*.cdb", "", "Brovant.cdb.bak"},
        {"????_Auto.cdb", "0001_Auto.cdb|0001_AUTO.CDB", "001_Auto.cdb|00001_Auto.cdb"},
        {"????_????.cdb", "0001_Manu.cdb", "0001_Au.cdb"},
        {"ä*", "Äpfel.txt", ""},
        {"ÉTÉ.DAT", "été.dat", ""},
        {"?", "é|\xF0\x9F\x98\x80", ""}, // one character outside the BMP
        {"??", "", "\xF0\x9F\x98\x80"},
        {"a.b", "", "axb"},
        {"[ab].dat", "[AB].DAT", "a.dat"},
        {"a+b(1).txt", "a+b(1).txt", "aab(1).txt"},
        {"^x$.dat", "^X$.dat", ""},
        {"x|y", "", "x"},
        {"\\d.dat", "", "1.dat"},
        {"*ab", "aab", ""},
        {"*a*a*b", "aaaab", "aaaa"},
        {"a**b", "ab", ""},
        {"a*b", "", "ab c"},
        {"abc", "", "ab"},
        {"ab", "", "abc"},
        {"", "", "a"}};
    for (const auto& row : rows) {
        const QString pattern = QString::fromUtf8(row[0]);
        for (int matches : {1, 2}) {
            for (const QString& name :
                 QString::fromUtf8(row[matches]).split(u'|', Qt::SkipEmptyParts))
                EXPECT_EQ(DeviceRoot::wildcardMatch(pattern, name), matches == 1)
                    << row[0] << " vs " << name.toStdString();
        }
    }
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
    // Host path (relative to the root) and the device paths that lead there ('|' between them).
    const char* rows[][2] = {
        {"", "|\\|/|..\\"},
        {"Brovant/Brovant.cdb",
         "\\Brovant\\Brovant.cdb|\\brovant\\BROVANT.CDB|brovant/brovant.cdb|/BROVANT\\brovant.Cdb"},
        {"Import/12345678.DAT", "\\\\Import\\\\.\\12345678.dat\\"},
        {"Import/Ä.DAT", "\\Import\\ä.dat"},
        {"Brovant", "\\Import\\..\\..\\..\\brovant"},
        {"etc/passwd", "\\..\\..\\etc\\passwd"},
        {"Case/abc", "\\Import\\x\\..\\..\\Case\\.\\abc|\\case\\abc"},
        {"Case/Abc", "\\case\\Abc"},
        {"Case/ABC", "\\case\\aBC"},
        {"Import/Missing/Sub/File.TXT", "\\import\\Missing\\Sub\\File.TXT"},
        {"Nothing/brovant", "\\Nothing\\brovant"},
        {"Brovant/Brovant.cdb/deeper", "\\Brovant\\Brovant.cdb\\deeper"},
        {"Mixed/Sub Dir/File.txt", "\\mixed\\SUB DIR\\file.txt"},
        {"Storage Card/Brovant_Save/x.cdb", "\\storage card\\brovant_save\\X.CDB"}};
    for (const auto& [host, paths] : rows) {
        for (const QString& path : QString::fromUtf8(paths).split(u'|'))
            EXPECT_EQ(device.hostPath(path), expectedHost(root, QString::fromUtf8(host)))
                << path.toStdString();
    }
    EXPECT_EQ(DeviceRoot(root.path() + "//").hostPath("\\brovant"), expectedHost(root, "Brovant"));

    // What each query says: "F" file of that size, "D" folder, "-" missing.
    const std::pair<const char*, const char*> queries[] = {
        {"", "D"},
        {"\\BROVANT\\brovant.CDB", "F5"},
        {"\\brovant", "D"},
        {"\\empty.DAT", "F0"},
        {"\\LINK.cdb", "F5"},
        {"\\storage card", "D"},
        {"\\Storage Card\\Brovant_Save\\x.CDB", "F0"},
        {"\\dangling", "-"},
        {"\\Missing.dat", "-"}};
    for (const auto& [path, says] : queries) {
        const QString answer = device.isFile(path) ? "F" + QString::number(device.fileSize(path))
                               : device.isFolder(path) ? "D"
                                                       : "-";
        EXPECT_EQ(answer, says) << path;
        EXPECT_EQ(device.exists(path), *says != '-') << path;
        EXPECT_EQ(device.fileSize(path) < 0, *says != 'F') << path;
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
    const QString dats = ".x.dat A.DAT a.dat b.dat c.DAT linkfile.dat";
    const std::tuple<const char*, Kind, QString> rows[] = {
        {"\\Import\\*.dat", Kind::Files, dats},
        {"\\import\\*.DAT", Kind::Folders, "Sub.dat"},
        {"/IMPORT/*.dat", Kind::Any, dats + " Sub.dat"},
        {"\\Import\\*.*", Kind::Files, dats + " note.txt README"},
        {"\\Import\\?.dat", Kind::Any, "A.DAT a.dat b.dat c.DAT"},
        {"\\Import\\B.DAT", Kind::Files, "b.dat"},
        {"\\Import\\B.DAT", Kind::Folders, ""},
        {"\\import", Kind::Folders, "Import"},
        {"*", Kind::Folders, "Export Import"},
        {"*", Kind::Files, ""},
        {"\\Import\\..\\..\\exp*", Kind::Any, "Export"},
        {"\\Export\\*.*", Kind::Any, ""},
        {"\\Missing\\*.*", Kind::Any, ""},
        {"\\Import\\note.txt\\*", Kind::Any, ""},
        {"\\Import\\", Kind::Any, ""}};
    for (const auto& [pattern, kind, names] : rows)
        EXPECT_EQ(device.find(pattern, kind).join(u' '), names) << pattern;
}

TEST(DeviceRoot, RemoveMatchingRemovesFilesOnly)
{
    const QString all = "Import/B.DAT= Import/Folder.dat/inner.dat= Import/a.dat= Import/keep.txt= "
                        "Import/long.dat=";
    const std::tuple<const char*, int, QString> rows[] = {
        {"\\Import\\*.dat", 3, "Import/Folder.dat/inner.dat= Import/keep.txt="},
        {"\\IMPORT\\?.DAT", 2, "Import/Folder.dat/inner.dat= Import/keep.txt= Import/long.dat="},
        {"\\Import\\*", 4, "Import/Folder.dat/inner.dat="},
        {"\\Import\\none.*", 0, all},
        {"\\Missing\\*.*", 0, all}};
    for (const auto& [pattern, removed, left] : rows) {
        TempRoot root;
        makeTree(root, all);
        EXPECT_EQ(DeviceRoot(root.path()).removeMatching(pattern), removed) << pattern;
        EXPECT_EQ(filesBelow(root.path()), left) << pattern;
    }
}

TEST(DeviceRoot, CopyAndMoveReplaceAtomicallyOrLeaveNothing)
{
    const QString tree = "Export/Folder/inner=I Export/old.dat=OLD Import/a.dat=AAA";
    // Copy ('C' replacing) or move ('m'), the files after it: "" fails, "=" succeeds unchanged.
    std::vector<std::tuple<char, const char*, const char*, const char*>> rows = {
        {'c', "\\Import\\a.dat", "\\Export\\a.dat",
         "Export/Folder/inner=I Export/a.dat=AAA Export/old.dat=OLD Import/a.dat=AAA"},
        {'c', "\\Import\\a.dat", "\\Export\\old.dat", ""},
        {'C', "\\import\\A.DAT", "\\EXPORT\\Old.DAT",
         "Export/Folder/inner=I Export/old.dat=AAA Import/a.dat=AAA"},
        {'C', "\\Import\\a.dat", "\\Import\\a.dat", "="},
        {'C', "\\Import\\a.dat", "\\IMPORT\\A.dat", "="},
        {'c', "\\Import\\a.dat", "\\Import\\a.dat", ""},
        {'m', "\\Import\\a.dat", "\\Export\\new.dat",
         "Export/Folder/inner=I Export/new.dat=AAA Export/old.dat=OLD"},
        {'m', "\\IMPORT\\A.DAT", "\\export\\OLD.dat", "Export/Folder/inner=I Export/old.dat=AAA"},
        {'m', "\\Import\\a.dat", "\\import\\A.DAT", "="}};
    for (const char op : {'C', 'm'}) {
        for (const auto& [from, to] : {std::pair("\\Import\\none.dat", "\\Export\\none.dat"),
                                       std::pair("\\Import\\a.dat", "\\Nowhere\\a.dat"),
                                       std::pair("\\Export\\Folder", "\\Import\\Folder"),
                                       std::pair("\\Import\\a.dat", "\\Export\\folder")})
            rows.emplace_back(op, from, to, "");
    }
    for (const auto& [op, from, to, after] : rows) {
        SCOPED_TRACE(std::string(1, op) + " " + from + " -> " + to);
        TempRoot root;
        makeTree(root, tree);
        const DeviceRoot device(root.path());
        EXPECT_EQ(op == 'm' ? device.moveFile(from, to) : device.copyFile(from, to, op == 'C'),
                  *after != 0);
        EXPECT_EQ(filesBelow(root.path()), *after && *after != '=' ? QString(after) : tree);
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
    // Folder to make, and the host folder it must give (nullptr: must fail).
    const std::pair<const char*, const char*> rows[] = {
        {"\\Brovant\\New\\Deep", "Brovant/New/Deep"},
        {"\\brovant", "Brovant"},
        {"\\import\\Sub", "Import/Sub"},
        {"\\Brovant\\Brovant.cdb", nullptr},
        {"\\Brovant\\Brovant.cdb\\x", nullptr}};
    for (const auto& [folder, hostFolder] : rows) {
        EXPECT_EQ(device.makeFolder(folder), hostFolder != nullptr) << folder;
        EXPECT_TRUE(!hostFolder || QFileInfo(root.host(hostFolder)).isDir()) << folder;
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
    const QString safe =
        QStringLiteral("12345678.DAT|0001_Auto.cdb|a b.txt|.hidden|...|Äpfel [1] (x).dat|")
        + QString(255, u'x');
    const QString unsafe = "..|.|a/b|a\\b|..\\x|C:x|a\tb|a\nb|a\x7f|a\x1f| lead|trail |"
                           + QString(256, u'x') + u'|' + QString(QChar(0xD800)) + "x|a"
                           + QChar(u'\0') + "b";
    for (const QString& name : safe.split(u'|'))
        EXPECT_TRUE(DeviceRoot::isSafeFileName(name)) << name.toStdString();
    for (const QString& name : unsafe.split(u'|') + QStringList{QString()})
        EXPECT_FALSE(DeviceRoot::isSafeFileName(name)) << name.toStdString();

    for (const auto& [folder, name, joined] :
         {std::tuple("\\Import", "a.dat", "\\Import\\a.dat"),
          std::tuple("\\Import\\", "a.dat", "\\Import\\a.dat"),
          std::tuple("\\Storage Card\\Brovant_Save", "x.cdb",
                     "\\Storage Card\\Brovant_Save\\x.cdb"),
          std::tuple("", "x", "\\x"), std::tuple("\\", "x", "\\x")})
        EXPECT_EQ(DeviceRoot::join(folder, name), QString::fromUtf8(joined));
}

} // namespace
} // namespace brovant
