#include "platform/Registry.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using brovant::Hive;
using brovant::Registry;
using brovant::test::TempRoot;

namespace {

constexpr Hive HKCU = Hive::CurrentUser;
constexpr Hive HKLM = Hive::LocalMachine;
const QString kUserFile = QStringLiteral("HKEY_CURRENT_USER.reg");
const QString kMachineFile = QStringLiteral("HKEY_LOCAL_MACHINE.reg");
const QByteArray kHeader = "Windows Registry Editor Version 5.00\n";
const QString kApp = QStringLiteral("Software\\NORVA\\Brovant");

TEST(Registry, ValuesSurviveSaveAndReload)
{
    const struct {
        QString name, value;
    } cases[] = {{"Q", "say \"hi\" \""},
                 {"Pfad", "C:\\Brovant\\Daten\\\\"},
                 {"Baumart", QString::fromUtf8("äöüß ÄÖÜ")},
                 {"KOPF00", "Zusatz:             "},
                 {"Text", "erste\nzweite\n"},
                 {"Text", "a\r\nb\tc"},
                 {"Leer", ""},
                 {"", "default value"},
                 {"na\\\"me", "x"},
                 {"@", "not the default"},
                 {"; [x]", "[HKEY_CURRENT_USER\\X]"},
                 {"S", QString(QChar(0xd800)) + "x"},
                 {"Emoji", QString::fromUtf8("Fichte \xF0\x9F\x8C\xB2")}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value.toStdString());
        TempRoot root;
        Registry writer(root.path());
        ASSERT_TRUE(writer.setString(HKCU, kApp, c.name, c.value));
        // The writer is still alive: the change must already be on disk.
        Registry reader(root.path());
        EXPECT_TRUE(reader.setAside().isEmpty());
        EXPECT_EQ(reader.string(HKCU, kApp, c.name), c.value);
        EXPECT_EQ(reader.valueNames(HKCU, kApp), QStringList{c.name});
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

    const QByteArray user = kHeader + R"(
[HKEY_CURRENT_USER\Software]

[HKEY_CURRENT_USER\Software\NORVA]

[HKEY_CURRENT_USER\Software\NORVA\Brovant]

[HKEY_CURRENT_USER\Software\NORVA\Brovant\HDL_KOPF]
@="default value"
"KOPF00"="Zusätzlich:  "
"Loaded"=dword:00000001
"Pfad"="C:\\Daten\\\"x\""
"X"=hex(1):58,00,0a,00,00,00

[HKEY_CURRENT_USER\Software\NORVA\Leer]
)";
    const QByteArray machine = R"(
[HKEY_LOCAL_MACHINE\ControlPanel]

[HKEY_LOCAL_MACHINE\ControlPanel\Comm]
"Cnct"=dword:0000abcd
)";
    EXPECT_EQ(reg.exportText().toUtf8(), user + machine);
    EXPECT_EQ(reg.exportHive(HKCU).toUtf8(), user);
    EXPECT_EQ(root.readFile(kUserFile), user);
    EXPECT_EQ(root.readFile(kMachineFile), kHeader + machine);

    ASSERT_TRUE(reg.deleteKey(HKLM, "ControlPanel"));
    EXPECT_EQ(reg.exportHive(HKLM).toUtf8(), kHeader);
    EXPECT_EQ(root.readFile(kMachineFile), kHeader);
    // Saving leaves only the hive files behind, no temporary files.
    EXPECT_EQ(QDir(root.path()).entryList(QDir::Files), (QStringList{kUserFile, kMachineFile}));
}

TEST(Registry, NamesIgnoreCaseAndStrayBackslashesAndValuesHaveOneType)
{
    TempRoot root;
    {
        Registry reg(root.path());
        ASSERT_TRUE(reg.setString(HKCU, kApp, "Baumart", "Fichte"));
        ASSERT_TRUE(reg.setString(HKCU, "SOFTWARE\\norva\\BROVANT", "BAUMART", "Kiefer"));
        ASSERT_TRUE(reg.setDword(HKCU, QString::fromUtf8("software\\Äpfel"), "n", 3));
    }
    Registry reg(root.path());
    for (const char* path :
         {"software\\Norva\\brovant", "\\Software\\NORVA\\Brovant", "Software\\NORVA\\Brovant\\",
          "Software\\\\NORVA\\\\\\Brovant", "\\\\software\\norva\\brovant\\\\"}) {
        SCOPED_TRACE(path);
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
}

TEST(Registry, DeleteKeyRemovesWholeSubtree)
{
    TempRoot root;
    Registry reg(root.path());
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
    // Each line spoils a good hive; below them, files cut short and bytes that are no text.
    const QByteArray lines = R"(hello
"v"="a\n"
"v"=hex(1):4g,00,00,00
"v"=hex(1):41,00,00
"v"=hex(1):41,00
"v"=hex(1):41,00,00,00,
"v"=hex(1):41,00,\
"v"=hex:01,02
"v"=-
"v"=dword:0001
[HKEY_LOCAL_MACHINE\Comm]
[HKEY_CURRENT_USERX\A]
[-HKEY_CURRENT_USER\A]
[HKEY_CURRENT_USER\A\\B]
"v"="abc"x)";
    QList<QByteArray> cases = {"", "[HKEY_CURRENT_USER\\Good]\n",
                               "REGEDIT4\n\n[HKEY_CURRENT_USER\\Good]\n",
                               kHeader + "\"v\"=dword:00000001\n", // value before any key
                               QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe", 18)};
    for (const QByteArray& line : lines.split('\n'))
        cases << good + line + "\n";
    cases << good + "[HKEY_CURRENT_USER\\A" << good + "\"v\"=\"abc";
    for (const QByteArray& line :
         {QByteArray("\"v\"=\"a\0b\"", 9), QByteArray("\"v\"=\"\xC3\x28\""),
          "\"v\"=\"" + QByteArray(9 << 20, 'a') + "\""})
        cases << good + line + "\n";
    for (const QByteArray& bytes : cases) {
        SCOPED_TRACE(bytes.left(80).toStdString());
        TempRoot root;
        root.writeFile(kUserFile, bytes);
        root.writeFile(kUserFile + ".corrupt", "an older damaged file");
        root.writeFile(kMachineFile,
                       kHeader + "\n[HKEY_LOCAL_MACHINE\\Comm]\n\"Baud\"=dword:00002580\n");
        {
            Registry reg(root.path());
            EXPECT_EQ(reg.setAside(), QStringList{root.host(kUserFile)});
            EXPECT_TRUE(reg.subkeys(HKCU, "").isEmpty());
            EXPECT_EQ(reg.dword(HKLM, "Comm", "Baud"), 9600u);
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
    const QByteArray a = kHeader + "[HKEY_CURRENT_USER\\A]\n";
    // File, and the value "v" of key A it must yield (or the default value of the hive's root).
    const std::tuple<QByteArray, const char*, QString> cases[] = {
        {"\xEF\xBB\xBF" + a + "\"v\"=\"x\"\n", "A", "x"},
        {"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"v\"=\"x\"\r\n",
         "A", "x"},
        {kHeader + "; made by hand\n\n\n[HKEY_CURRENT_USER\\A]\n  ; note\n\"v\"=\"x\"\n\n", "A",
         "x"},
        {a + "\"v\"=hex(1):41,00,\\\n  42,00,00,00\n", "A", "AB"},
        {kHeader + "[HKEY_CURRENT_USER\\A] \n\"v\"=\"x \"\t \n", "A", "x "},
        {kHeader + "[HKEY_CURRENT_USER]\n@=\"root\"\n", "", "root"},
        {a + "\"v\"=\"x\"\n[hkey_current_user\\a]\n\"w\"=\"y\"\n", "A", "x"}};
    for (const auto& [bytes, key, expected] : cases) {
        SCOPED_TRACE(bytes.toStdString());
        TempRoot root;
        root.writeFile(kUserFile, bytes);
        Registry reg(root.path());
        EXPECT_TRUE(reg.setAside().isEmpty());
        EXPECT_EQ(reg.string(HKCU, key, *key ? "v" : ""), expected);
    }
    TempRoot root;
    root.writeFile(kMachineFile, kHeader + "[HKEY_LOCAL_MACHINE\\A]\n\"v\"=DWORD:0000ABCD\n");
    EXPECT_EQ(Registry(root.path()).dword(HKLM, "A", "v"), 0xabcdu);
}

} // namespace
