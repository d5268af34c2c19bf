#include "platform/Cp1252.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "platform/logind/LogindInhibitor.h"
#include "support/CaseKinds.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;
using test::Case;
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

const QString kCases = QStringLiteral("platform/data/device_root.txt");

TEST(DeviceRootNames, WildcardsMatchLikeFindFileSafeFileNamesAndJoin)
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
        EXPECT_EQ(device.hostPath(c.text(1)), QDir::cleanPath(root.path() + u'/' + c.text(2)))
            << c.where().constData();
    EXPECT_EQ(DeviceRoot(root.path() + "//").hostPath("\\brovant"), root.host("Brovant"));

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

constexpr Hive HKCU = Hive::CurrentUser;
constexpr Hive HKLM = Hive::LocalMachine;
const QString kUserFile = QStringLiteral("HKEY_CURRENT_USER.reg");
const QString kMachineFile = QStringLiteral("HKEY_LOCAL_MACHINE.reg");
const QByteArray kHeader = "Windows Registry Editor Version 5.00\n";
const QString kApp = QStringLiteral("Software\\NORVA\\Brovant");

const QString kRegistryCases = QStringLiteral("platform/data/registry.txt");

QByteArray golden(const char* name)
{
    QFile file(QStringLiteral(BROVANT_SOURCE_DIR "/tests/platform/data/") + QLatin1String(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

TEST(Registry, ValuesSurviveSaveAndReload)
{
    QList<std::pair<QString, QString>> values;
    for (const Case& c : test::casesOf(kRegistryCases, "value"))
        values.append({c.text(1), c.text(2)});
    values.append({"S", QString(QChar(0xd800)) + "x"}); // a lone surrogate
    for (const auto& [name, value] : values) {
        SCOPED_TRACE(value.toStdString());
        TempRoot root;
        Registry writer(root.path());
        ASSERT_TRUE(writer.setString(HKCU, kApp, name, value));
        // The writer is still alive: the change must already be on disk.
        Registry reader(root.path());
        EXPECT_TRUE(reader.setAside().isEmpty());
        EXPECT_EQ(reader.string(HKCU, kApp, name), value);
        EXPECT_EQ(reader.valueNames(HKCU, kApp), QStringList{name});
        EXPECT_EQ(reader.exportText(), writer.exportText());
    }
    TempRoot root;
    const quint32 dwords[] = {0u, 1u, 0xabcdu, 0x80000000u, 0xffffffffu};
    Registry writer(root.path());
    for (const quint32 v : dwords)
        ASSERT_TRUE(writer.setDword(HKLM, "Power", QString::number(v), v));
    Registry reader(root.path());
    for (const quint32 v : dwords)
        EXPECT_EQ(reader.dword(HKLM, "Power", QString::number(v)), v);
}

TEST(Registry, ExportMatchesExpectedTextAndFiles)
{
    TempRoot root;
    Registry reg(root.path());
    ASSERT_TRUE(reg.createKey(HKCU, "Software\\NORVA\\Leer"));
    const QString kopf = kApp + "\\HDL_KOPF";
    ASSERT_TRUE(reg.setString(HKCU, kopf, "X", "X\n"));
    ASSERT_TRUE(reg.setString(HKCU, kopf, "Pfad", "C:\\Daten\\\"x\""));
    ASSERT_TRUE(reg.setDword(HKCU, kopf, "Loaded", 1));
    ASSERT_TRUE(reg.setString(HKCU, kopf, "KOPF00", QString::fromUtf8("Zusätzlich:  ")));
    ASSERT_TRUE(reg.setString(HKCU, kopf, "", "default value"));
    ASSERT_TRUE(reg.setDword(HKLM, "ControlPanel\\Comm", "Cnct", 0xABCD));

    const QByteArray user = golden("export_user.reg");
    const QByteArray machine = golden("export_machine.reg");
    EXPECT_EQ(reg.exportText().toUtf8(), user + machine.mid(kHeader.size()));
    EXPECT_EQ(reg.exportHive(HKCU).toUtf8(), user);
    EXPECT_EQ(root.readFile(kUserFile), user);
    EXPECT_EQ(root.readFile(kMachineFile), machine);

    ASSERT_TRUE(reg.deleteKey(HKLM, "ControlPanel"));
    EXPECT_EQ(reg.exportHive(HKLM).toUtf8(), kHeader);
    EXPECT_EQ(root.readFile(kMachineFile), kHeader);
    // Saving leaves only the hive files behind, no temporary files.
    EXPECT_EQ(QDir(root.path()).entryList(QDir::Files), (QStringList{kUserFile, kMachineFile}));
}

TEST(Registry, NamesIgnoreCaseAndStrayBackslashesValuesHaveOneTypeAndKeysGoWithTheirSubtree)
{
    TempRoot root;
    {
        Registry reg(root.path());
        ASSERT_TRUE(reg.setString(HKCU, kApp, "Baumart", "Fichte"));
        ASSERT_TRUE(reg.setString(HKCU, "SOFTWARE\\norva\\BROVANT", "BAUMART", "Kiefer"));
        ASSERT_TRUE(reg.setDword(HKCU, QString::fromUtf8("software\\Äpfel"), "n", 3));
    }
    Registry reg(root.path());
    for (const Case& c : test::casesOf(kRegistryCases, "key")) {
        const QString path = c.text(1);
        SCOPED_TRACE(c.where().constData());
        EXPECT_TRUE(reg.keyExists(HKCU, path));
        EXPECT_EQ(reg.string(HKCU, path, "baumART"), "Kiefer");
    }
    EXPECT_EQ(reg.valueNames(HKCU, kApp), QStringList{"Baumart"});
    EXPECT_EQ(reg.subkeys(HKCU, "SOFTWARE"), (QStringList{"NORVA", QString::fromUtf8("Äpfel")}));
    EXPECT_EQ(reg.subkeys(HKCU, "\\"), QStringList{"Software"});
    EXPECT_EQ(reg.subkeys(HKCU, "Software\\NORVA\\"), QStringList{"Brovant"});
    EXPECT_EQ(reg.dword(HKCU, QString::fromUtf8("SOFTWARE\\äPFEL"), "N"), 3u);
    EXPECT_FALSE(reg.keyExists(HKLM, "Software"));

    // A value has one type at a time.
    ASSERT_TRUE(reg.setDword(HKCU, "K", "n", 7));
    EXPECT_EQ(reg.string(HKCU, "K", "n"), std::nullopt);
    EXPECT_EQ(reg.dword(HKCU, "K", "n"), 7u);
    ASSERT_TRUE(reg.setString(HKCU, "K", "N", "7"));
    EXPECT_EQ(reg.dword(HKCU, "K", "n"), std::nullopt);
    EXPECT_EQ(reg.string(HKCU, "K", "n"), "7");
    EXPECT_EQ(reg.valueNames(HKCU, "K"), QStringList{"n"});

    EXPECT_EQ(reg.dword(HKCU, "K", "missing"), std::nullopt);
    EXPECT_EQ(reg.string(HKCU, "Missing", "n"), std::nullopt);
    EXPECT_TRUE(reg.deleteValue(HKCU, "k", "N"));
    EXPECT_FALSE(reg.deleteValue(HKCU, "K", "n"));
    EXPECT_TRUE(reg.keyExists(HKCU, "K"));

    ASSERT_TRUE(reg.setString(HKCU, "A", "keep", "1"));
    ASSERT_TRUE(reg.setString(HKCU, "A\\B", "x", "2"));
    ASSERT_TRUE(reg.setDword(HKCU, "A\\B\\C", "y", 3));
    ASSERT_TRUE(reg.createKey(HKCU, "A\\B\\C\\D"));
    ASSERT_TRUE(reg.createKey(HKCU, "A\\B2"));

    EXPECT_TRUE(reg.deleteKey(HKCU, "a\\b"));
    EXPECT_FALSE(reg.deleteKey(HKCU, "A\\B"));
    EXPECT_FALSE(reg.deleteKey(HKCU, "Nope\\B"));
    EXPECT_FALSE(reg.deleteKey(HKCU, "\\")); // the hive itself stays
    Registry fresh(root.path());
    for (const Registry* r : {&reg, &fresh}) {
        EXPECT_FALSE(r->keyExists(HKCU, "A\\B"));
        EXPECT_FALSE(r->keyExists(HKCU, "A\\B\\C\\D"));
        EXPECT_EQ(r->subkeys(HKCU, "A"), QStringList{"B2"});
        EXPECT_EQ(r->string(HKCU, "A", "keep"), "1");
    }
    // A key made again under the same name starts without the old values.
    ASSERT_TRUE(reg.createKey(HKCU, "A\\B"));
    EXPECT_EQ(reg.string(HKCU, "A\\B", "x"), std::nullopt);
    EXPECT_TRUE(reg.subkeys(HKCU, "A\\B").isEmpty());
}

// Writes that must fail and leave both the registry and the folder untouched.
TEST(Registry, RejectedWritesChangeNothing)
{
    const auto no = Registry::Create::No, ifMissing = Registry::Create::IfMissing;
    // Key, name, value, how the key is made, whether a DWORD there fails too.
    const std::tuple<QString, QString, QString, Registry::Create, bool> cases[] = {
        {"Software\\Missing", "v", "x", no, true},
        {"Soft\nware", "v", "x", ifMissing, true},
        {"A\\" + QString(256, 'k'), "v", "x", ifMissing, true},
        {"Software", "a\tb", "x", ifMissing, true},
        {"Software", QString(QChar(0xdc00)), "x", ifMissing, true},
        {"Software", "v", QString((1 << 20) + 1, 'x'), ifMissing, false}};
    for (const auto& [key, name, value, create, dwordFailsToo] : cases) {
        SCOPED_TRACE(key.left(20).toStdString() + " " + name.toStdString());
        TempRoot root;
        Registry reg(root.path());
        EXPECT_FALSE(reg.setString(HKCU, key, name, value, create));
        EXPECT_TRUE(!dwordFailsToo || !reg.setDword(HKCU, key, name, 1, create));
        EXPECT_TRUE(reg.subkeys(HKCU, "").isEmpty());
        EXPECT_TRUE(QDir(root.path()).isEmpty());
    }
    TempRoot root;
    Registry reg(root.path());
    ASSERT_TRUE(reg.createKey(HKCU, "Comm"));
    EXPECT_TRUE(reg.setDword(HKCU, "comm", "Baud", 9600, Registry::Create::No));
    EXPECT_FALSE(reg.createKey(HKCU, "Comm\\Bad\nName"));
    EXPECT_EQ(reg.subkeys(HKCU, "Comm"), QStringList{});
}

TEST(Registry, BatchDefersSavingUntilOutermostEnds)
{
    TempRoot root;
    Registry reg(root.path());
    ASSERT_TRUE(reg.setDword(HKCU, "Start", "v", 1));
    const QByteArray before = root.readFile(kUserFile);
    {
        Registry::Batch outer(reg);
        for (int i = 0; i < 3000; ++i) {
            ASSERT_TRUE(reg.setString(HKCU, QString("Import\\K%1").arg(i % 50),
                                      QString("V%1").arg(i), QString("Wert %1").arg(i)));
        }
        {
            Registry::Batch inner(reg);
            ASSERT_TRUE(reg.setDword(HKLM, "System", "x", 5));
        }
        EXPECT_EQ(root.readFile(kUserFile), before);
        EXPECT_FALSE(QFile::exists(root.host(kMachineFile)));

        ASSERT_TRUE(reg.flush());
        EXPECT_TRUE(QFile::exists(root.host(kMachineFile)));
        const QByteArray flushed = root.readFile(kUserFile);
        EXPECT_NE(flushed, before);
        ASSERT_TRUE(reg.deleteKey(HKCU, "Import\\K0"));
        EXPECT_EQ(root.readFile(kUserFile), flushed);
    }
    Registry fresh(root.path());
    EXPECT_EQ(fresh.exportText(), reg.exportText());
    EXPECT_FALSE(fresh.keyExists(HKCU, "Import\\K0"));
    EXPECT_EQ(fresh.string(HKCU, "import\\k49", "V2999"), "Wert 2999");
    EXPECT_EQ(fresh.valueNames(HKCU, "Import\\K1").size(), 60);
    EXPECT_EQ(fresh.dword(HKLM, "System", "x"), 5u);

    TempRoot blocked;
    blocked.writeFile("blocker", "a file where the folder should be");
    Registry unsaved(blocked.host("blocker"));
    EXPECT_FALSE(unsaved.setDword(HKCU, "K", "v", 1));
    EXPECT_EQ(unsaved.dword(HKCU, "K", "v"), 1u); // kept in memory for the next try
    EXPECT_FALSE(unsaved.flush());
}

TEST(Registry, CorruptHiveIsSetAsideAndStartsEmpty)
{
    const QByteArray good = kHeader + "\n[HKEY_CURRENT_USER\\Good]\n\"Keep\"=dword:00000001\n";
    QList<QByteArray> cases;
    for (const Case& c : test::casesOf(kRegistryCases, "damaged"))
        cases << (c.fields[1] == "good" ? good : QByteArray()) + c.fields[2];
    cases << good + "\"v\"=\"" + QByteArray(9 << 20, 'a') + "\"\n"; // a value too long
    for (const QByteArray& bytes : cases) {
        SCOPED_TRACE(bytes.left(80).toStdString());
        TempRoot root;
        root.writeFile(kUserFile, bytes);
        root.writeFile(kUserFile + ".corrupt", "an older damaged file");
        // Written as regedit may write it, in capitals; no damage either.
        root.writeFile(kMachineFile,
                       kHeader + "\n[HKEY_LOCAL_MACHINE\\Comm]\n\"Baud\"=DWORD:0000ABCD\n");
        {
            Registry reg(root.path());
            EXPECT_EQ(reg.setAside(), QStringList{root.host(kUserFile)});
            EXPECT_TRUE(reg.subkeys(HKCU, "").isEmpty());
            EXPECT_EQ(reg.dword(HKLM, "Comm", "Baud"), 0xabcdu);
            EXPECT_FALSE(QFile::exists(root.host(kUserFile)));
            EXPECT_EQ(root.readFile(kUserFile + ".corrupt"), bytes);
            ASSERT_TRUE(reg.setString(HKCU, "New", "v", "x"));
        }
        Registry again(root.path());
        EXPECT_TRUE(again.setAside().isEmpty());
        EXPECT_EQ(again.subkeys(HKCU, ""), QStringList{"New"});
    }
}

// Hand-edited and regedit-made variants that are not damage.
TEST(Registry, AcceptsHarmlessVariants)
{
    for (const Case& c : test::casesOf(kRegistryCases, "harmless")) {
        SCOPED_TRACE(c.where().constData());
        TempRoot root;
        root.writeFile(kUserFile, c.fields[1]);
        Registry reg(root.path());
        EXPECT_TRUE(reg.setAside().isEmpty());
        EXPECT_EQ(reg.string(HKCU, c.text(2), c.fields[2].isEmpty() ? "" : "v"), c.text(3));
    }
}

TEST(Cp1252, EveryByteRoundTripsAndKnownCharactersMap)
{
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(char(b));
    ASSERT_EQ(cp1252::decode(all).size(), 256);
    EXPECT_EQ(cp1252::encode(cp1252::decode(all)), all);

    for (const Case& c : test::casesOf(kRegistryCases, "cp1252")) {
        EXPECT_EQ(cp1252::encode(c.text(1)), c.fields[2]) << c.where().constData();
        EXPECT_TRUE(c.fields[2].contains('?') || cp1252::decode(c.fields[2]) == c.text(1))
            << c.where().constData();
    }
}

TEST(RegistryUsers, ProfileDefaultsAndSectionsAndKeepAwakeOnAnExistingPowerKey)
{
    TempRoot root;
    Registry registry(root.path());
    Profile profile(registry);
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 0), 0);
    profile.writeString(u"KONFIG"_s, u"Loaded"_s, u"1"_s);
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 7), 7);
    profile.writeInt(u"KONFIG"_s, u"Loaded"_s, 1);
    EXPECT_EQ(profile.readInt(u"konfig"_s, u"LOADED"_s, 0), 1);
    EXPECT_EQ(profile.readString(u"KONFIG"_s, u"Loaded"_s, u"d"_s), u"d"_s);
    EXPECT_TRUE(registry.keyExists(HKCU, u"Software\\NORVA\\Brovant\\KONFIG"_s));

    profile.writeString(u"HOLZART"_s, u"Holzart01"_s, u"FI "_s);
    profile.deleteSection(u"HOLZART"_s);
    profile.deleteSection(u"NOTHERE"_s);
    EXPECT_FALSE(profile.hasValue(u"HOLZART"_s, u"Holzart01"_s));
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 5), 1);
    profile.deleteAll();
    EXPECT_EQ(profile.readInt(u"KONFIG"_s, u"Loaded"_s, 5), 5);
    EXPECT_FALSE(registry.keyExists(HKCU, QString::fromUtf16(Profile::kAppKey)));
    EXPECT_TRUE(registry.keyExists(HKCU, u"Software\\NORVA"_s));

    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    KeepAwake keepAwake(registry);
    keepAwake.readSaved();
    {
        KeepAwake::Scope scope(keepAwake);
    }
    EXPECT_FALSE(registry.keyExists(HKLM, key));
    registry.setDword(HKLM, key, value, 300);
    keepAwake.readSaved();
    {
        KeepAwake::Scope scope(keepAwake);
        EXPECT_EQ(registry.dword(HKLM, key, value), 0u);
    }
    EXPECT_EQ(registry.dword(HKLM, key, value), 300u);
}

// The system's keep-awake against the real logind, where this machine has one.
// The inhibitors logind lists for this process as "what who why mode".
QStringList ownInhibitors(QDBusConnection& bus)
{
    const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
        QString::fromLatin1(LogindInhibitor::kService), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("ListInhibitors")));
    QStringList found;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {QStringLiteral("<no answer>")};
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString what, who, why, mode;
        uint uid = 0, pid = 0;
        list.beginStructure();
        list >> what >> who >> why >> mode >> uid >> pid;
        list.endStructure();
        if (pid == uint(getpid()))
            found << QStringList{what, who, why, mode}.join(u' ');
    }
    list.endArray();
    return found;
}

TEST(LogindInhibitor, HoldsIdleAndSleepWhereLogindRunsAndIsSilentElsewhere)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    const bool logind =
        bus.isConnected()
        && bus.interface()->isServiceRegistered(QString::fromLatin1(LogindInhibitor::kService));
    LogindInhibitor inhibitor;
    inhibitor.hold();
    if (!logind) {
        EXPECT_FALSE(inhibitor.holding());
        inhibitor.release();
        GTEST_SKIP() << "no system bus with logind here";
    }
    if (!inhibitor.holding())
        GTEST_SKIP() << "logind grants this user no inhibitor";
    EXPECT_EQ(ownInhibitors(bus),
              QStringList{QStringLiteral("idle:sleep Brovant Import, Übertragung oder Sicherung "
                                         "läuft block")});
    inhibitor.release();
    EXPECT_FALSE(inhibitor.holding());
    // logind sees the closed descriptor in its own loop; a few round trips give it the turn.
    QStringList left = ownInhibitors(bus);
    for (int ask = 0; ask < 20 && !left.isEmpty(); ++ask)
        left = ownInhibitors(bus);
    EXPECT_EQ(left, QStringList{});
}

} // namespace
} // namespace brovant
