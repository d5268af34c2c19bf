// The fuzz corpus of the registry's hive files, run as an ordinary test, plus hostile files too
// big to keep in the repository, and proof that the probe's checks can fail.
#include "platform/RegistryFuzzing.h"
#include "support/Corpus.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <string>

namespace brovant::test {
namespace {

QString corpusDir()
{
    return corpusFolder("registry");
}

struct Expected {
    bool currentUser; // parses as HKEY_CURRENT_USER
    bool localMachine;
    const char* holds; // a line of the parsed hive's dump
};

class RegistryCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(RegistryCorpusTest, HoldsEveryInvariant)
{
    // What the files written by hand must give; inputs the fuzzer adds are held to the
    // invariants only.
    static const std::map<std::string, Expected> expected = {
        {"bad_escape.reg", {false, false, ""}},
        {"bad_header.reg", {false, false, ""}},
        {"both_hives.reg", {false, false, ""}},
        {"case_duplicates.reg",
         {true, false, "[Software\\NORVA\\Brovant\\Key]\n\"V\" sz 74657874\n"}},
        {"comments_crlf_bom.reg", {true, false, "\"A\" sz 62\n"}},
        {"continuation.reg", {true, false, "\"Long\" sz 414243\n"}},
        {"control_char.reg", {false, false, ""}},
        {"default_value.reg", {true, false, "\"\" dword 1\n"}},
        {"empty_key_name.reg", {false, false, ""}},
        {"escapes.reg", {true, false, "\"a\\b\"c\" sz 785c2279\n"}},
        {"hex_string.reg", {true, false, "\"Ctl\" sz 4101\n\"Tab\" sz 09\n"}},
        {"invalid_utf8.reg", {false, false, ""}},
        {"odd_hex.reg", {false, false, ""}},
        {"program_cu.reg",
         {true, false, "[Software\\NORVA\\Brovant\\DUE]\n\"Baudrate\" dword 5\n"}},
        {"program_lm.reg", {false, true, "\"BattSuspendTimeout\" dword 300\n"}},
        {"root_values.reg", {true, false, "[]\n\"x\" dword 4294967295\n"}},
        {"short_dword.reg", {false, false, ""}},
        {"trailing_blanks.reg", {true, false, "\"a\" sz 62206320\n"}},
        {"umlauts.reg", {true, false, "\"AUSWAHL01\" sz 4dc3bc6c6c657220c39f20e282ac20f09f9880\n"}},
        {"value_before_section.reg", {false, false, ""}},
    };
    TempRoot dir;
    RegistryProbe probe(dir.path());
    EXPECT_EQ(probe.check(readCorpus(corpusDir(), GetParam())).toStdString(), "");
    if (const auto it = expected.find(GetParam()); it != expected.end()) {
        EXPECT_EQ(probe.parsed(Hive::CurrentUser), it->second.currentUser);
        EXPECT_EQ(probe.parsed(Hive::LocalMachine), it->second.localMachine);
        const QString dump =
            probe.dump(it->second.currentUser ? Hive::CurrentUser : Hive::LocalMachine);
        EXPECT_TRUE(dump.contains(QString::fromUtf8(it->second.holds))) << dump.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, RegistryCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(RegistryCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 10u) << corpusDir().toStdString();
}

TEST(RegistryHostileFiles, ParseOrAreSetAsideWithoutCrashing)
{
    const QByteArray header = "Windows Registry Editor Version 5.00\n";
    const auto nested = [&](int depth) {
        QByteArray text = header + "[HKEY_CURRENT_USER";
        for (int i = 0; i < depth; ++i)
            text += "\\k";
        return text + "]\n\"v\"=dword:00000001\n";
    };
    QByteArray manyKeys = header;
    for (int i = 0; i < 20000; ++i)
        manyKeys += "[HKEY_CURRENT_USER\\k" + QByteArray::number(i) + "]\n\"v\"=\"x\"\n";
    const QByteArray value = header + "[HKEY_CURRENT_USER]\n\"v\"=\"";
    const struct {
        const char* what;
        QByteArray input;
        bool parses;
    } cases[] = {
        {"keys nested as deep as Windows allows", nested(512), true},
        {"one level deeper", nested(513), false},
        // Exporting it would take gigabytes, and the recursions all the stack.
        {"keys nested a hundred thousand deep", nested(100000), false},
        {"twenty thousand keys", manyKeys, true},
        {"a string of a million units", value + QByteArray(1 << 20, 'x') + "\"\n", true},
        {"a string over the limit", value + QByteArray((1 << 20) + 1, 'x') + "\"\n", false},
        {"a continuation that never ends", header + "[HKEY_CURRENT_USER]\n\"v\"=hex(1):41,\\",
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot dir;
        RegistryProbe probe(dir.path());
        EXPECT_EQ(probe.check(c.input).toStdString(), "");
        EXPECT_EQ(probe.parsed(Hive::CurrentUser), c.parses);
    }
}

TEST(RegistryProbeTest, DumpShowsKeysValuesAndTypes)
{
    TempRoot dir;
    Registry registry(dir.path());
    registry.setDword(Hive::LocalMachine, QStringLiteral("A\\B"), QStringLiteral("n"), 7);
    registry.setString(Hive::LocalMachine, QStringLiteral("A"), QStringLiteral("s"),
                       QStringLiteral("ü"));
    registry.createKey(Hive::LocalMachine, QStringLiteral("C"));
    EXPECT_EQ(dumpHive(registry, Hive::LocalMachine),
              QStringLiteral("[]\n[A]\n\"s\" sz c3bc\n[A\\B]\n\"n\" dword 7\n[C]\n"));
    EXPECT_EQ(dumpHive(registry, Hive::CurrentUser), QStringLiteral("[]\n"));
}

} // namespace
} // namespace brovant::test
