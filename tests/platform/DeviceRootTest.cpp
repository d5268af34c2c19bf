#include "platform/DeviceRoot.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <optional>
#include <vector>

namespace brovant {
namespace {

using test::TempRoot;
using Files = QMap<QString, QByteArray>;

// Every file below `dir` (relative path -> contents), so stray temporary files show up.
Files filesBelow(const QString& dir)
{
    Files files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile f(path);
        files.insert(QDir(dir).relativeFilePath(path),
                     f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>"));
    }
    return files;
}

void makeTree(const TempRoot& root, const Files& files, const QStringList& folders = {})
{
    for (const QString& folder : folders)
        ASSERT_TRUE(QDir().mkpath(root.host(folder)));
    for (auto it = files.cbegin(); it != files.cend(); ++it)
        root.writeFile(it.key(), it.value());
}

QString expectedHost(const TempRoot& root, const QString& relative)
{
    const QString base = QDir::cleanPath(root.path());
    return relative.isEmpty() ? base : base + u'/' + relative;
}

TEST(DeviceRootWildcard, MatchesLikeTheDeviceFindFile)
{
    struct Row {
        const char* pattern;
        const char* name;
        bool matches;
    };
    const Row rows[] = {
        {"*", "anything.at.all", true},
        {"*.*", "README", true},
        {"*.*", "a.b", true},
        {"*.*", ".profile", true},
        {"file.*", "file", true},
        {"file.*", "files", false},
        {"*.dat", "12345678.DAT", true},
        {"*.DAT", "x.dat", true},
        {"*.dat", ".dat", true},
        {"*.dat", "a.data", false},
        {"*.cdb", "Brovant.cdb.bak", false},
        {"????_Auto.cdb", "0001_Auto.cdb", true},
        {"????_Auto.cdb", "0001_AUTO.CDB", true},
        {"????_Auto.cdb", "001_Auto.cdb", false},
        {"????_Auto.cdb", "00001_Auto.cdb", false},
        {"????_????.cdb", "0001_Manu.cdb", true},
        {"????_????.cdb", "0001_Au.cdb", false},
        {"ä*", "Äpfel.txt", true},
        {"ÉTÉ.DAT", "été.dat", true},
        {"?", "é", true},
        {"?", "\xF0\x9F\x98\x80", true}, // one character outside the BMP
        {"??", "\xF0\x9F\x98\x80", false},
        {"a.b", "axb", false},
        {"[ab].dat", "a.dat", false},
        {"[ab].dat", "[AB].DAT", true},
        {"a+b(1).txt", "a+b(1).txt", true},
        {"a+b(1).txt", "aab(1).txt", false},
        {"^x$.dat", "^X$.dat", true},
        {"x|y", "x", false},
        {"\\d.dat", "1.dat", false},
        {"*ab", "aab", true},
        {"*a*a*b", "aaaab", true},
        {"*a*a*b", "aaaa", false},
        {"a**b", "ab", true},
        {"a*b", "ab c", false},
        {"abc", "ab", false},
        {"ab", "abc", false},
        {"", "a", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.pattern) + " vs " + row.name);
        EXPECT_EQ(
            DeviceRoot::wildcardMatch(QString::fromUtf8(row.pattern), QString::fromUtf8(row.name)),
            row.matches);
    }
}

TEST(DeviceRootWildcard, ManyStarsOnALongNameStayFast)
{
    const QString pattern = QStringLiteral("*a").repeated(30) + QStringLiteral("*b");
    const QString miss(20000, u'a');
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(DeviceRoot::wildcardMatch(pattern, miss));
    EXPECT_TRUE(DeviceRoot::wildcardMatch(pattern, miss + u'b'));
    EXPECT_LT(timer.elapsed(), 5000);
}

TEST(DeviceRoot, HostPathResolvesCaseAndStaysInsideTheRoot)
{
    TempRoot root;
    QTemporaryDir card; // stands in for the card's mount point
    ASSERT_TRUE(card.isValid());
    ASSERT_TRUE(QDir().mkpath(card.path() + "/Brovant_Save"));
    ASSERT_TRUE(QFile(card.path() + "/Brovant_Save/x.cdb").open(QIODevice::WriteOnly));
    makeTree(root, {{"Brovant/Brovant.cdb", "cdb"},
                    {"Import/12345678.DAT", "d"},
                    {QStringLiteral("Import/Ä.DAT"), "u"},
                    {"Case/ABC", "1"},
                    {"Case/Abc", "2"},
                    {"Case/abc", "3"},
                    {"Mixed/Sub Dir/File.txt", "t"}});
    ASSERT_TRUE(QFile::link(card.path(), root.host("Storage Card")));
    const DeviceRoot device(root.path());

    struct Row {
        const char* device;
        const char* host; // relative to the root, "" for the root itself
    };
    const Row rows[] = {
        {"", ""},
        {"\\", ""},
        {"/", ""},
        {"..\\", ""},
        {"\\Brovant\\Brovant.cdb", "Brovant/Brovant.cdb"},
        {"\\brovant\\BROVANT.CDB", "Brovant/Brovant.cdb"},
        {"brovant/brovant.cdb", "Brovant/Brovant.cdb"},
        {"/BROVANT\\brovant.Cdb", "Brovant/Brovant.cdb"},
        {"\\\\Import\\\\.\\12345678.dat\\", "Import/12345678.DAT"},
        {"\\Import\\ä.dat", "Import/Ä.DAT"},
        {"\\Import\\..\\..\\..\\brovant", "Brovant"},
        {"\\..\\..\\etc\\passwd", "etc/passwd"},
        {"\\Import\\x\\..\\..\\Case\\.\\abc", "Case/abc"},
        {"\\import\\Missing\\Sub\\File.TXT", "Import/Missing/Sub/File.TXT"},
        {"\\Nothing\\brovant", "Nothing/brovant"},
        {"\\Brovant\\Brovant.cdb\\deeper", "Brovant/Brovant.cdb/deeper"},
        {"\\case\\abc", "Case/abc"},
        {"\\case\\Abc", "Case/Abc"},
        {"\\case\\aBC", "Case/ABC"},
        {"\\mixed\\SUB DIR\\file.txt", "Mixed/Sub Dir/File.txt"},
        {"\\storage card\\brovant_save\\X.CDB", "Storage Card/Brovant_Save/x.cdb"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.device);
        EXPECT_EQ(device.hostPath(QString::fromUtf8(row.device)),
                  expectedHost(root, QString::fromUtf8(row.host)));
    }
    EXPECT_EQ(DeviceRoot(root.path() + "//").hostPath("\\brovant"), expectedHost(root, "Brovant"));
}

TEST(DeviceRoot, QueriesFollowLinksAndIgnoreCase)
{
    TempRoot root;
    makeTree(root, {{"Brovant/Brovant.cdb", "12345"}, {"Empty.dat", ""}});
    ASSERT_TRUE(QFile::link(root.host("Brovant/Brovant.cdb"), root.host("link.cdb")));
    ASSERT_TRUE(QFile::link(root.host("Brovant"), root.host("Storage Card")));
    ASSERT_TRUE(QFile::link(root.host("gone"), root.host("dangling")));
    const DeviceRoot device(root.path());

    struct Row {
        const char* device;
        bool exists;
        bool file;
        bool folder;
        qint64 size;
    };
    const Row rows[] = {
        {"", true, false, true, -1},
        {"\\BROVANT\\brovant.CDB", true, true, false, 5},
        {"\\brovant", true, false, true, -1},
        {"\\empty.DAT", true, true, false, 0},
        {"\\LINK.cdb", true, true, false, 5},
        {"\\storage card", true, false, true, -1},
        {"\\Storage Card\\Brovant.cdb", true, true, false, 5},
        {"\\dangling", false, false, false, -1},
        {"\\Missing.dat", false, false, false, -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.device);
        EXPECT_EQ(device.exists(row.device), row.exists);
        EXPECT_EQ(device.isFile(row.device), row.file);
        EXPECT_EQ(device.isFolder(row.device), row.folder);
        EXPECT_EQ(device.fileSize(row.device), row.size);
    }
}

TEST(DeviceRoot, FindFiltersByKindAndSortsByName)
{
    TempRoot root;
    makeTree(root,
             {{"Import/b.dat", "b"},
              {"Import/A.DAT", "A"},
              {"Import/a.dat", "a"},
              {"Import/c.DAT", "c"},
              {"Import/.x.dat", "x"},
              {"Import/note.txt", "n"},
              {"Import/README", "r"}},
             {"Import/Sub.dat", "Export"});
    ASSERT_TRUE(QFile::link(root.host("Import/b.dat"), root.host("Import/linkfile.dat")));
    ASSERT_TRUE(QFile::link(root.host("Import/gone"), root.host("Import/dangling.dat")));
    ASSERT_EQ(mkfifo(QFile::encodeName(root.host("Import/pipe.dat")).constData(), 0600), 0);
    const DeviceRoot device(root.path());

    using Kind = DeviceRoot::Kind;
    struct Row {
        const char* pattern;
        Kind kind;
        QStringList names;
    };
    const std::vector<Row> rows = {
        {"\\Import\\*.dat",
         Kind::Files,
         {".x.dat", "A.DAT", "a.dat", "b.dat", "c.DAT", "linkfile.dat"}},
        {"\\import\\*.DAT", Kind::Folders, {"Sub.dat"}},
        {"/IMPORT/*.dat",
         Kind::Any,
         {".x.dat", "A.DAT", "a.dat", "b.dat", "c.DAT", "linkfile.dat", "Sub.dat"}},
        {"\\Import\\*.*",
         Kind::Files,
         {".x.dat", "A.DAT", "a.dat", "b.dat", "c.DAT", "linkfile.dat", "note.txt", "README"}},
        {"\\Import\\?.dat", Kind::Any, {"A.DAT", "a.dat", "b.dat", "c.DAT"}},
        {"\\Import\\B.DAT", Kind::Files, {"b.dat"}},
        {"\\Import\\B.DAT", Kind::Folders, {}},
        {"\\import", Kind::Folders, {"Import"}},
        {"*", Kind::Folders, {"Export", "Import"}},
        {"*", Kind::Files, {}},
        {"\\Import\\..\\..\\exp*", Kind::Any, {"Export"}},
        {"\\Export\\*.*", Kind::Any, {}},
        {"\\Missing\\*.*", Kind::Any, {}},
        {"\\Import\\note.txt\\*", Kind::Any, {}},
        {"\\Import\\", Kind::Any, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.pattern);
        EXPECT_EQ(device.find(row.pattern, row.kind), row.names);
    }
}

TEST(DeviceRoot, RemoveMatchingRemovesFilesOnly)
{
    struct Row {
        const char* pattern;
        int removed;
        QStringList left;
    };
    const QStringList all = {"Import/a.dat", "Import/B.DAT", "Import/long.dat", "Import/keep.txt"};
    const std::vector<Row> rows = {
        {"\\Import\\*.dat", 3, {"Import/keep.txt"}},
        {"\\IMPORT\\?.DAT", 2, {"Import/long.dat", "Import/keep.txt"}},
        {"\\Import\\*", 4, {}},
        {"\\Import\\none.*", 0, all},
        {"\\Missing\\*.*", 0, all},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.pattern);
        TempRoot root;
        makeTree(root, {{"Import/a.dat", ""},
                        {"Import/B.DAT", ""},
                        {"Import/long.dat", ""},
                        {"Import/keep.txt", ""},
                        {"Import/Folder.dat/inner.dat", ""}});
        EXPECT_EQ(DeviceRoot(root.path()).removeMatching(row.pattern), row.removed);
        QStringList expected = row.left;
        expected.append("Import/Folder.dat/inner.dat");
        expected.sort();
        QStringList left = filesBelow(root.path()).keys();
        left.sort();
        EXPECT_EQ(left, expected);
    }
}

struct TransferRow {
    const char* what;
    const char* from;
    const char* to;
    bool overwrite; // copy only
    bool ok;
    Files after;
};

const Files transferTree = {
    {"Import/a.dat", "AAA"},
    {"Export/old.dat", "OLD"},
    {"Export/Folder/inner", "I"},
};

void runTransfers(const std::vector<TransferRow>& rows, bool move)
{
    for (const TransferRow& row : rows) {
        SCOPED_TRACE(row.what);
        TempRoot root;
        makeTree(root, transferTree);
        const DeviceRoot device(root.path());
        const bool ok = move ? device.moveFile(row.from, row.to)
                             : device.copyFile(row.from, row.to, row.overwrite);
        EXPECT_EQ(ok, row.ok);
        EXPECT_EQ(filesBelow(root.path()), row.after);
    }
}

TEST(DeviceRoot, CopyFileReplacesAtomicallyOrLeavesNothing)
{
    const Files unchanged = transferTree;
    const std::vector<TransferRow> rows = {
        {"new target",
         "\\Import\\a.dat",
         "\\Export\\a.dat",
         false,
         true,
         {{"Import/a.dat", "AAA"},
          {"Export/a.dat", "AAA"},
          {"Export/old.dat", "OLD"},
          {"Export/Folder/inner", "I"}}},
        {"existing target kept", "\\Import\\a.dat", "\\Export\\old.dat", false, false, unchanged},
        {"existing target replaced, on-disk spelling",
         "\\import\\A.DAT",
         "\\EXPORT\\Old.DAT",
         true,
         true,
         {{"Import/a.dat", "AAA"}, {"Export/old.dat", "AAA"}, {"Export/Folder/inner", "I"}}},
        {"missing source", "\\Import\\none.dat", "\\Export\\none.dat", true, false, unchanged},
        {"missing target folder", "\\Import\\a.dat", "\\Nowhere\\a.dat", true, false, unchanged},
        {"source is a folder", "\\Export\\Folder", "\\Import\\Folder", true, false, unchanged},
        {"target is a folder", "\\Import\\a.dat", "\\Export\\folder", true, false, unchanged},
        {"onto itself", "\\Import\\a.dat", "\\Import\\a.dat", true, true, unchanged},
        {"onto itself, other case", "\\Import\\a.dat", "\\IMPORT\\A.dat", true, true, unchanged},
        {"onto itself, no overwrite", "\\Import\\a.dat", "\\Import\\a.dat", false, false,
         unchanged},
    };
    runTransfers(rows, false);
}

TEST(DeviceRoot, CopyFileCopiesLargeAndEmptyFilesExactly)
{
    TempRoot root;
    QByteArray big(300 * 1024 + 7, Qt::Uninitialized);
    for (qsizetype i = 0; i < big.size(); ++i)
        big[i] = char((i * 131) % 251);
    makeTree(root, {{"big.bin", big}, {"empty.bin", ""}, {"Export/empty.bin", "not empty"}});
    const DeviceRoot device(root.path());
    ASSERT_TRUE(device.copyFile("\\big.bin", "\\Export\\big.bin", false));
    ASSERT_TRUE(device.copyFile("\\empty.bin", "\\Export\\empty.bin", true));
    EXPECT_EQ(root.readFile("Export/big.bin"), big);
    EXPECT_EQ(filesBelow(root.path()), (Files{{"big.bin", big},
                                              {"empty.bin", ""},
                                              {"Export/big.bin", big},
                                              {"Export/empty.bin", ""}}));
}

TEST(DeviceRoot, CopyFileWithFailingReadsLeavesNothing)
{
    // Reading this file's first page fails with EIO: a source that breaks mid-copy.
    const QString failing = QStringLiteral("/proc/self/mem");
    if (!QFileInfo(failing).isFile())
        GTEST_SKIP() << "no file with failing reads";
    TempRoot root;
    makeTree(root, {{"Export/old.dat", "OLD"}});
    ASSERT_TRUE(QFile::link(failing, root.host("broken.dat")));
    const DeviceRoot device(root.path());
    EXPECT_FALSE(device.copyFile("\\broken.dat", "\\Export\\new.dat", false));
    EXPECT_FALSE(device.copyFile("\\broken.dat", "\\Export\\old.dat", true));
    EXPECT_EQ(
        QDir(root.host("Export")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{"old.dat"});
    EXPECT_EQ(root.readFile("Export/old.dat"), "OLD");
}

TEST(DeviceRoot, MoveFileRenamesAndReplaces)
{
    const Files unchanged = transferTree;
    const std::vector<TransferRow> rows = {
        {"into another folder",
         "\\Import\\a.dat",
         "\\Export\\new.dat",
         false,
         true,
         {{"Export/new.dat", "AAA"}, {"Export/old.dat", "OLD"}, {"Export/Folder/inner", "I"}}},
        {"replaces target",
         "\\IMPORT\\A.DAT",
         "\\export\\OLD.dat",
         false,
         true,
         {{"Export/old.dat", "AAA"}, {"Export/Folder/inner", "I"}}},
        {"missing source", "\\Import\\none.dat", "\\Export\\x.dat", false, false, unchanged},
        {"missing target folder", "\\Import\\a.dat", "\\Nowhere\\a.dat", false, false, unchanged},
        {"source is a folder", "\\Export\\Folder", "\\Import\\Folder", false, false, unchanged},
        {"target is a folder", "\\Import\\a.dat", "\\Export\\Folder", false, false, unchanged},
        {"onto itself, other case", "\\Import\\a.dat", "\\import\\A.DAT", false, true, unchanged},
    };
    runTransfers(rows, true);
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
    makeTree(root, {{"Import/a.dat", "AAA"}});
    ASSERT_TRUE(QFile::link(card.path(), root.host("Storage Card")));
    ASSERT_TRUE(QFile(card.path() + "/a.dat").open(QIODevice::WriteOnly));
    const DeviceRoot device(root.path());

    EXPECT_TRUE(device.moveFile("\\Import\\a.dat", "\\storage card\\A.DAT"));
    EXPECT_TRUE(filesBelow(root.path()).isEmpty());
    EXPECT_EQ(filesBelow(card.path()), (Files{{"a.dat", "AAA"}}));
}

TEST(DeviceRoot, MakeFolderAndRemoveFile)
{
    TempRoot root;
    makeTree(root, {{"Brovant/Brovant.cdb", "c"}}, {"Import"});
    const DeviceRoot device(root.path());

    struct Row {
        const char* folder;
        bool ok;
        const char* hostFolder;
    };
    const Row rows[] = {
        {"\\Brovant\\New\\Deep", true, "Brovant/New/Deep"},
        {"\\brovant", true, "Brovant"},
        {"\\import\\Sub", true, "Import/Sub"},
        {"\\Brovant\\Brovant.cdb", false, nullptr},
        {"\\Brovant\\Brovant.cdb\\x", false, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.folder);
        EXPECT_EQ(device.makeFolder(row.folder), row.ok);
        if (row.hostFolder) {
            EXPECT_TRUE(QFileInfo(root.host(row.hostFolder)).isDir());
        }
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

TEST(DeviceRoot, TwoRootsDoNotInterfere)
{
    TempRoot first;
    TempRoot second;
    makeTree(first, {{"Import/a.dat", "1"}});
    makeTree(second, {{"import/A.DAT", "2"}});
    const DeviceRoot one(first.path());
    const DeviceRoot two(second.path());
    EXPECT_EQ(one.hostPath("\\Import\\A.dat"), expectedHost(first, "Import/a.dat"));
    EXPECT_EQ(two.hostPath("\\Import\\A.dat"), expectedHost(second, "import/A.DAT"));
    EXPECT_EQ(one.removeMatching("\\Import\\*.*"), 1);
    EXPECT_EQ(two.find("\\Import\\*.*"), QStringList{"A.DAT"});
    EXPECT_EQ(second.readFile("import/A.DAT"), "2");
}

TEST(DeviceRoot, SafeFileNames)
{
    struct Row {
        QString name;
        bool safe;
    };
    const std::vector<Row> rows = {
        {"12345678.DAT", true},
        {"0001_Auto.cdb", true},
        {"a b.txt", true},
        {".hidden", true},
        {"...", true},
        {QStringLiteral("Äpfel [1] (x).dat"), true},
        {QString(255, u'x'), true},
        {QString(256, u'x'), false},
        {"", false},
        {".", false},
        {"..", false},
        {"a/b", false},
        {"a\\b", false},
        {"..\\x", false},
        {"C:x", false},
        {QString("a") + QChar(u'\0') + "b", false},
        {"a\tb", false},
        {"a\nb", false},
        {QString("a") + QChar(0x7F), false},
        {QString("a") + QChar(0x1F), false},
        {" lead", false},
        {"trail ", false},
        {QString(QChar(0xD800)) + "x", false}, // lone surrogate cannot be a host name
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        EXPECT_EQ(DeviceRoot::isSafeFileName(row.name), row.safe);
    }
}

TEST(DeviceRoot, JoinUsesOneBackslash)
{
    struct Row {
        const char* folder;
        const char* name;
        const char* joined;
    };
    const Row rows[] = {
        {"\\Import", "a.dat", "\\Import\\a.dat"},
        {"\\Import\\", "a.dat", "\\Import\\a.dat"},
        {"\\Storage Card\\Brovant_Save", "x.cdb", "\\Storage Card\\Brovant_Save\\x.cdb"},
        {"", "x", "\\x"},
        {"\\", "x", "\\x"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.joined);
        EXPECT_EQ(DeviceRoot::join(row.folder, row.name), QString::fromUtf8(row.joined));
    }
}

} // namespace
} // namespace brovant
