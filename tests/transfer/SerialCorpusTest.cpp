// The fuzz corpus of the device's cable receive, run as an ordinary test, the scripted far end
// it runs against, and proof that the probe's checks can fail.
#include "support/Corpus.h"
#include "support/TempRoot.h"
#include "transfer/SerialFuzzing.h"
#include "transfer/SerialScript.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <map>
#include <string>

namespace brovant::test {
namespace {

QString corpusDir()
{
    return corpusFolder("serial_receive");
}

TEST(ScriptedLineTest, HandsOutTurnsAsTheReceiverAnswers)
{
    ScriptedLine line(script(3, {"ab", "cdefg", "", "h"}));
    const struct {
        QByteArray write; // before the read, if any
        QByteArray read;
    } steps[] = {
        {"", "ab"},       {"", ""},     // silence until an answer
        {"\x16\x16", ""},               // polling bytes are no answer
        {"\x05", "cde"},                // ENQ: the next turn, at most three bytes a read
        {"", "fg"},       {"\x06", ""}, // ACK: an empty turn
        {"\x15", "h"},                  // NAK
        {"\x06", ""},                   // no turns left
    };
    for (const auto& s : steps) {
        if (!s.write.isEmpty())
            line.write(s.write);
        EXPECT_EQ(line.read(1000, 10), s.read) << s.write.toHex().toStdString();
    }
    EXPECT_EQ(line.written(), QByteArray("\x16\x16\x05\x06\x15\x06"));
    EXPECT_FALSE(line.offeredEot());
    EXPECT_TRUE(ScriptedLine(script(0, {"", "x\x04"})).offeredEot());
    EXPECT_EQ(ScriptedLine(script(0, {QByteArray(5000, 'x')})).read(99999, 0).size(),
              frames::kMaxStep);
}

struct Expected {
    bool ok;
    QStringList files;
    int refused;
};

class SerialCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(SerialCorpusTest, HoldsEveryInvariant)
{
    // What the scripts written by hand must give; inputs the fuzzer adds are held to the
    // invariants only.
    static const std::map<std::string, Expected> expected = {
        {"burst.bin", {false, {"C.DAT"}, 0}}, // the frames after the first are dropped unanswered
        {"byte_by_byte.bin", {true, {"C.DAT"}, 0}},
        {"chunk_of_seven.bin", {true, {"C.DAT"}, 0}},
        {"clean_one_file.bin", {true, {"A.DAT"}, 0}},
        {"cut_frame.bin", {true, {"C.DAT"}, 0}},
        {"digits_wrap.bin", {true, {"W.DAT"}, 0}},
        {"eot_only.bin", {true, {}, 0}},
        {"hostile_names.bin", {false, {}, 1}}, // ends on the first name refused
        {"lines_before_header.bin", {true, {"B.DAT"}, 0}},
        {"link_names.bin", {true, {"DANGLE.DAT", "LINK.DAT"}, 0}},
        {"lowercase_checksum.bin", {true, {"L.DAT"}, 0}}, // the device checks no checksum
        {"nak_storm.bin", {false, {"C.DAT"}, 0}},
        {"noise_first.bin", {true, {}, 0}},
        {"overlong_noise.bin", {true, {"C.DAT"}, 0}},
        {"same_name_twice.bin", {true, {"ONE.DAT"}, 0}},
        {"short_header.bin", {false, {}, 1}},
        {"silence_midway.bin", {false, {"C.DAT"}, 0}},
        {"two_files.bin", {true, {"4711    .DAT", QStringLiteral("MÜHLE   .DAT")}, 0}},
        {"wrong_checksum_once.bin", {true, {"C.DAT"}, 0}},
        {"wrong_digit_then_right.bin", {true, {"C.DAT"}, 0}},
    };
    TempRoot dir;
    SerialReceiveProbe probe(dir.path());
    const SerialReceiveProbe::Outcome outcome = probe.receive(readCorpus(corpusDir(), GetParam()));
    EXPECT_EQ(probe.verify(outcome).toStdString(), "");
    if (const auto it = expected.find(GetParam()); it != expected.end()) {
        EXPECT_EQ(outcome.ok, it->second.ok);
        EXPECT_EQ(outcome.summary.files, it->second.files);
        EXPECT_EQ(outcome.summary.refusedNames.size(), it->second.refused);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, SerialCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(SerialCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 10u) << corpusDir().toStdString();
}

// Spoil what a clean receive left, or its account of it, and expect the probe to name it.
TEST(SerialReceiveProbeTest, ReportsBrokenInvariants)
{
    using Outcome = SerialReceiveProbe::Outcome;
    const auto write = [](const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    const struct {
        const char* what;
        std::function<void(SerialReceiveProbe&, Outcome&)> spoil;
        const char* failure;
    } cases[] = {
        {"file beside the import folder",
         [&](SerialReceiveProbe& p, Outcome&) {
             write(p.root().hostPath(QStringLiteral("\\Brovant\\A.DAT")), "TD0\r\n");
         },
         "outside \\Import changed"},
        {"file outside the root changed",
         [&](SerialReceiveProbe& p, Outcome&) {
             write(p.outside() + QStringLiteral("/victim.dat"), "overwritten");
         },
         "outside \\Import changed"},
        {"dangling link written through",
         [&](SerialReceiveProbe& p, Outcome&) {
             write(p.outside() + QStringLiteral("/absent.dat"), "x");
         },
         "outside \\Import changed"},
        {"unreported file",
         [&](SerialReceiveProbe& p, Outcome&) {
             write(p.root().hostPath(QStringLiteral("\\Import\\B.DAT")), "TD0B\r\n");
         },
         "files A.DAT/B.DAT, reported A.DAT"},
        {"file without its header",
         [&](SerialReceiveProbe& p, Outcome&) {
             write(p.root().hostPath(QStringLiteral("\\Import\\A.DAT")), "001a\r\n");
         },
         "A.DAT is not header lines"},
        {"unsafe name",
         [&](SerialReceiveProbe& p, Outcome& o) {
             write(p.root().hostPath(QStringLiteral("\\Import\\CON.DAT")), "TD0\r\n");
             o.summary.files << QStringLiteral("CON.DAT");
         },
         "wrote the file \"CON.DAT\""},
        {"stray byte", [](SerialReceiveProbe&, Outcome& o) { o.written += 'x'; },
         "wrote byte 0x78"},
        {"line without ACK", [](SerialReceiveProbe&, Outcome& o) { ++o.summary.lines; },
         "ACKs for"},
        {"NAK storm", [](SerialReceiveProbe&, Outcome& o) { o.written += QByteArray(16, '\x15'); },
         "16 NAKs in a row"},
        {"plain name refused",
         [](SerialReceiveProbe&, Outcome& o) { o.summary.refusedNames << "OK.DAT      "; },
         "refused the plain name \"OK.DAT\""},
        {"success without EOT", [](SerialReceiveProbe&, Outcome& o) { o.offeredEot = false; },
         "without EOT"},
        {"silent failure", [](SerialReceiveProbe&, Outcome& o) { o.ok = false; }, "messages"},
    };
    const QByteArray clean = readCorpus(corpusDir(), "clean_one_file.bin");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot dir;
        SerialReceiveProbe probe(dir.path());
        Outcome outcome = probe.receive(clean);
        ASSERT_EQ(probe.verify(outcome).toStdString(), "");
        c.spoil(probe, outcome);
        const std::string failure = probe.verify(outcome).toStdString();
        EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
    }
}

} // namespace
} // namespace brovant::test
