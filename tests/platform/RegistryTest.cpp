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

struct StringCase {
    const char* label;
    QString name;
    QString value;
};

std::ostream& operator<<(std::ostream& os, const StringCase& c)
{
    return os << c.label;
}

class RegistryStringRoundTrip : public ::testing::TestWithParam<StringCase> {};

TEST_P(RegistryStringRoundTrip, SurvivesSaveAndReload)
{
    const StringCase& c = GetParam();
    TempRoot root;
    Registry writer(root.path());
    ASSERT_TRUE(writer.setString(HKCU, "Software\\NORVA\\Brovant", c.name, c.value));

    // The writer is still alive: the change must already be on disk.
    Registry reader(root.path());
    EXPECT_TRUE(reader.setAside().isEmpty());
    EXPECT_EQ(reader.string(HKCU, "Software\\NORVA\\Brovant", c.name), c.value);
    EXPECT_EQ(reader.valueNames(HKCU, "Software\\NORVA\\Brovant"), QStringList{c.name});
    EXPECT_EQ(reader.exportText(), writer.exportText());
}

INSTANTIATE_TEST_SUITE_P(
    AwkwardStrings, RegistryStringRoundTrip,
    ::testing::Values(StringCase{"quotes", "Q", "say \"hi\" \""},
                      StringCase{"backslashes", "Pfad", "C:\\Brovant\\Daten\\\\"},
                      StringCase{"umlauts", "Baumart", QString::fromUtf8("äöüß ÄÖÜ")},
                      StringCase{"trailingBlanks", "KOPF00", "Zusatz:             "},
                      StringCase{"newline", "Text", "erste\nzweite\n"},
                      StringCase{"crlfAndTab", "Text", "a\r\nb\tc"},
                      StringCase{"emptyString", "Leer", ""},
                      StringCase{"defaultValue", "", "default value"},
                      StringCase{"quotedValueName", "na\\\"me", "x"},
                      StringCase{"atSignName", "@", "not the default"},
                      StringCase{"bracketsAndSemicolon", "; [x]", "[HKEY_CURRENT_USER\\X]"},
                      StringCase{"loneSurrogate", "S", QString(QChar(0xd800)) + "x"},
                      StringCase{"nonBmp", "Emoji", QString::fromUtf8("Fichte \xF0\x9F\x8C\xB2")}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(Registry, DwordsRoundTrip)
{
    const quint32 values[] = {0u, 1u, 0xabcdu, 0x80000000u, 0xffffffffu};
    TempRoot root;
    {
        Registry writer(root.path());
        for (const quint32 v : values)
            ASSERT_TRUE(writer.setDword(HKLM, "Power", QString::number(v), v));
    }
    Registry reader(root.path());
    for (const quint32 v : values)
        EXPECT_EQ(reader.dword(HKLM, "Power", QString::number(v)), v);
}

TEST(Registry, ExportMatchesExpectedTextAndFiles)
{
    TempRoot root;
    Registry reg(root.path());
    ASSERT_TRUE(reg.createKey(HKCU, "Software\\NORVA\\Leer"));
    const QString kopf = "Software\\NORVA\\Brovant\\HDL_KOPF";
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

TEST(Registry, NamesCompareCaseInsensitivelyAndKeepFirstSpelling)
{
    TempRoot root;
    {
        Registry reg(root.path());
        ASSERT_TRUE(reg.setString(HKCU, "Software\\NORVA\\Brovant", "Baumart", "Fichte"));
        ASSERT_TRUE(reg.setString(HKCU, "SOFTWARE\\norva\\BROVANT", "BAUMART", "Kiefer"));
        ASSERT_TRUE(reg.setDword(HKCU, QString::fromUtf8("software\\Äpfel"), "n", 3));
    }
    Registry reg(root.path());
    EXPECT_EQ(reg.string(HKCU, "software\\Norva\\brovant", "baumART"), "Kiefer");
    EXPECT_EQ(reg.valueNames(HKCU, "Software\\NORVA\\Brovant"), QStringList{"Baumart"});
    EXPECT_EQ(reg.subkeys(HKCU, "SOFTWARE"), (QStringList{"NORVA", QString::fromUtf8("Äpfel")}));
    EXPECT_EQ(reg.dword(HKCU, QString::fromUtf8("SOFTWARE\\äPFEL"), "N"), 3u);
    EXPECT_FALSE(reg.keyExists(HKLM, "Software"));
}

TEST(Registry, PathsTolerateStrayBackslashes)
{
    TempRoot root;
    Registry reg(root.path());
    ASSERT_TRUE(reg.setString(HKCU, "Software\\NORVA\\Brovant", "v", "x"));
    const char* paths[] = {"\\Software\\NORVA\\Brovant", "Software\\NORVA\\Brovant\\",
                           "Software\\\\NORVA\\\\\\Brovant", "\\\\software\\norva\\brovant\\\\"};
    for (const char* path : paths) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(reg.keyExists(HKCU, path));
        EXPECT_EQ(reg.string(HKCU, path, "v"), "x");
    }
    EXPECT_EQ(reg.subkeys(HKCU, "\\"), QStringList{"Software"});
    EXPECT_EQ(reg.subkeys(HKCU, "Software\\NORVA\\"), QStringList{"Brovant"});
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

TEST(Registry, ValuesHaveOneTypeAtATime)
{
    TempRoot root;
    Registry reg(root.path());
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

// Writes that must fail and leave both the registry and the folder untouched.
TEST(Registry, RejectedWritesChangeNothing)
{
    struct Case {
        const char* label;
        QString key;
        QString name;
        QString value;
        Registry::Create create;
        bool dwordFailsToo;
    };
    const auto ifMissing = Registry::Create::IfMissing;
    const Case cases[] = {
        {"missing key with Create::No", "Software\\Missing", "v", "x", Registry::Create::No, true},
        {"control character in key", "Soft\nware", "v", "x", ifMissing, true},
        {"overlong key name", "A\\" + QString(256, 'k'), "v", "x", ifMissing, true},
        {"control character in name", "Software", "a\tb", "x", ifMissing, true},
        {"lone surrogate in name", "Software", QString(QChar(0xdc00)), "x", ifMissing, true},
        {"oversized string", "Software", "v", QString((1 << 20) + 1, 'x'), ifMissing, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        TempRoot root;
        Registry reg(root.path());
        EXPECT_FALSE(reg.setString(HKCU, c.key, c.name, c.value, c.create));
        if (c.dwordFailsToo) {
            EXPECT_FALSE(reg.setDword(HKCU, c.key, c.name, 1, c.create));
        }
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
}

TEST(Registry, FailedSaveIsReported)
{
    TempRoot root;
    root.writeFile("blocker", "a file where the folder should be");
    Registry reg(root.host("blocker"));
    EXPECT_FALSE(reg.setDword(HKCU, "K", "v", 1));
    EXPECT_EQ(reg.dword(HKCU, "K", "v"), 1u); // kept in memory for the next try
    EXPECT_FALSE(reg.flush());
}

QByteArray hiveText(const QByteArray& body)
{
    return kHeader + "\n[HKEY_CURRENT_USER\\Good]\n\"Keep\"=dword:00000001\n" + body;
}

struct CorruptCase {
    const char* label;
    QByteArray bytes;
};

std::ostream& operator<<(std::ostream& os, const CorruptCase& c)
{
    return os << c.label;
}

class RegistryCorruptHive : public ::testing::TestWithParam<CorruptCase> {};

TEST_P(RegistryCorruptHive, IsSetAsideAndStartsEmpty)
{
    const CorruptCase& c = GetParam();
    TempRoot root;
    root.writeFile(kUserFile, c.bytes);
    root.writeFile(kUserFile + ".corrupt", "an older damaged file");
    root.writeFile(kMachineFile,
                   kHeader + "\n[HKEY_LOCAL_MACHINE\\Comm]\n\"Baud\"=dword:00002580\n");
    {
        Registry reg(root.path());
        EXPECT_EQ(reg.setAside(), QStringList{root.host(kUserFile)});
        EXPECT_TRUE(reg.subkeys(HKCU, "").isEmpty());
        EXPECT_EQ(reg.dword(HKLM, "Comm", "Baud"), 9600u);
        EXPECT_FALSE(QFile::exists(root.host(kUserFile)));
        EXPECT_EQ(root.readFile(kUserFile + ".corrupt"), c.bytes);
        ASSERT_TRUE(reg.setString(HKCU, "New", "v", "x"));
    }
    Registry again(root.path());
    EXPECT_TRUE(again.setAside().isEmpty());
    EXPECT_EQ(again.subkeys(HKCU, ""), QStringList{"New"});
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, RegistryCorruptHive,
    ::testing::Values(
        CorruptCase{"emptyFile", ""}, CorruptCase{"missingHeader", "[HKEY_CURRENT_USER\\Good]\n"},
        CorruptCase{"otherHeader", "REGEDIT4\n\n[HKEY_CURRENT_USER\\Good]\n"},
        CorruptCase{"unknownLine", hiveText("hello\n")},
        CorruptCase{"valueBeforeSection", kHeader + "\"v\"=dword:00000001\n"},
        CorruptCase{"badEscape", hiveText("\"v\"=\"a\\n\"\n")},
        CorruptCase{"badHexDigit", hiveText("\"v\"=hex(1):4g,00,00,00\n")},
        CorruptCase{"oddHexBytes", hiveText("\"v\"=hex(1):41,00,00\n")},
        CorruptCase{"hexWithoutTerminator", hiveText("\"v\"=hex(1):41,00\n")},
        CorruptCase{"hexTrailingComma", hiveText("\"v\"=hex(1):41,00,00,00,\n")},
        CorruptCase{"danglingContinuation", hiveText("\"v\"=hex(1):41,00,\\\n")},
        CorruptCase{"unsupportedType", hiveText("\"v\"=hex:01,02\n")},
        CorruptCase{"valueDeletion", hiveText("\"v\"=-\n")},
        CorruptCase{"shortDword", hiveText("\"v\"=dword:0001\n")},
        CorruptCase{"otherHive", hiveText("[HKEY_LOCAL_MACHINE\\Comm]\n")},
        CorruptCase{"hiveNamePrefix", hiveText("[HKEY_CURRENT_USERX\\A]\n")},
        CorruptCase{"keyDeletion", hiveText("[-HKEY_CURRENT_USER\\A]\n")},
        CorruptCase{"emptyKeyName", hiveText("[HKEY_CURRENT_USER\\A\\\\B]\n")},
        CorruptCase{"truncatedSection", hiveText("[HKEY_CURRENT_USER\\A")},
        CorruptCase{"truncatedQuotes", hiveText("\"v\"=\"abc")},
        CorruptCase{"textAfterString", hiveText("\"v\"=\"abc\"x\n")},
        CorruptCase{"nulByte", hiveText(QByteArray("\"v\"=\"a\0b\"\n", 10))},
        CorruptCase{"invalidUtf8", hiveText("\"v\"=\"\xC3\x28\"\n")},
        CorruptCase{"binaryJunk", QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\xff\xfe", 18)},
        CorruptCase{"enormousLine", hiveText("\"v\"=\"" + QByteArray(9 << 20, 'a') + "\"\n")}),
    [](const auto& info) { return std::string(info.param.label); });

// Hand-edited and regedit-made variants that are not damage.
TEST(Registry, AcceptsHarmlessVariants)
{
    struct Case {
        const char* label;
        QByteArray bytes;
        const char* key;
        const char* name;
        QString expected;
    };
    const Case cases[] = {
        {"utf8 bom", "\xEF\xBB\xBF" + kHeader + "\n[HKEY_CURRENT_USER\\A]\n\"v\"=\"x\"\n", "A", "v",
         "x"},
        {"crlf line ends",
         "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"v\"=\"x\"\r\n",
         "A", "v", "x"},
        {"comments and blank lines",
         kHeader + "; made by hand\n\n\n[HKEY_CURRENT_USER\\A]\n  ; note\n\"v\"=\"x\"\n\n", "A",
         "v", "x"},
        {"hex continuation",
         kHeader + "[HKEY_CURRENT_USER\\A]\n\"v\"=hex(1):41,00,\\\n  42,00,00,00\n", "A", "v",
         "AB"},
        {"trailing blanks", kHeader + "[HKEY_CURRENT_USER\\A] \n\"v\"=\"x \"\t \n", "A", "v", "x "},
        {"hive root value", kHeader + "[HKEY_CURRENT_USER]\n@=\"root\"\n", "", "", "root"},
        {"duplicate section merges",
         kHeader + "[HKEY_CURRENT_USER\\A]\n\"v\"=\"x\"\n[hkey_current_user\\a]\n\"w\"=\"y\"\n",
         "A", "v", "x"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        TempRoot root;
        root.writeFile(kUserFile, c.bytes);
        Registry reg(root.path());
        EXPECT_TRUE(reg.setAside().isEmpty());
        EXPECT_EQ(reg.string(HKCU, c.key, c.name), c.expected);
    }

    TempRoot root;
    root.writeFile(kMachineFile, kHeader + "[HKEY_LOCAL_MACHINE\\A]\n\"v\"=DWORD:0000ABCD\n");
    Registry reg(root.path());
    EXPECT_EQ(reg.dword(HKLM, "A", "v"), 0xabcdu);
}

} // namespace
