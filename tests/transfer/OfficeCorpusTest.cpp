// The fuzz corpus of the office peer's receive, run as an ordinary test, and proof that the
// probe's checks can fail.
#include "support/Corpus.h"
#include "support/TempRoot.h"
#include "transfer/OfficeReceiveFuzzing.h"

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
    return corpusFolder("office_receive");
}

struct Expected {
    bool ok;
    QStringList files;
    int refused;
};

class OfficeCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(OfficeCorpusTest, HoldsEveryInvariant)
{
    // What the scripts written by hand must give; inputs the fuzzer adds are held to the
    // invariants only. The same scripts as the device's corpus; the office checks checksums.
    static const std::map<std::string, Expected> expected = {
        {"burst.bin", {false, {}, 0}},
        {"byte_by_byte.bin", {true, {"C.DAT"}, 0}},
        {"chunk_of_seven.bin", {true, {"C.DAT"}, 0}},
        {"clean_one_file.bin", {true, {"A.DAT"}, 0}},
        {"cut_frame.bin", {true, {"C.DAT"}, 0}},
        {"digits_wrap.bin", {true, {"W.DAT"}, 0}},
        {"eot_only.bin", {true, {}, 0}},
        {"eot_inside_frame.bin", {true, {"C.DAT"}, 0}}, // NAK, then the frame again
        {"hostile_names.bin", {false, {}, 1}},          // ends on the first name refused
        {"lines_before_header.bin", {true, {"B.DAT"}, 0}},
        {"link_names.bin", {true, {"DANGLE_2.DAT", "LINK_2.DAT"}, 0}}, // beside the links
        {"lowercase_checksum.bin", {true, {"L.DAT"}, 0}},              // refused once, then taken
        {"nak_storm.bin", {false, {}, 0}},
        {"noise_first.bin", {true, {}, 0}},
        {"overlong_noise.bin", {true, {"C.DAT"}, 0}},
        {"same_name_twice.bin", {true, {"ONE.DAT", "one_2.dat"}, 0}},
        {"short_header.bin", {false, {}, 1}},
        {"silence_midway.bin", {false, {}, 0}},
        {"two_files.bin", {true, {"4711    .DAT", QStringLiteral("MÜHLE   .DAT")}, 0}},
        {"wrong_checksum_once.bin", {true, {"C.DAT"}, 0}},
        {"wrong_digit_then_right.bin", {true, {"C.DAT"}, 0}},
    };
    TempRoot dir;
    OfficeReceiveProbe probe(dir.path());
    const OfficeReceiveProbe::Outcome outcome = probe.receive(readCorpus(corpusDir(), GetParam()));
    EXPECT_EQ(probe.verify(outcome).toStdString(), "");
    if (const auto it = expected.find(GetParam()); it != expected.end()) {
        EXPECT_EQ(outcome.result.ok, it->second.ok) << outcome.result.error.toStdString();
        EXPECT_EQ(outcome.result.files, it->second.files);
        EXPECT_EQ(outcome.result.refused.size(), it->second.refused);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, OfficeCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(OfficeCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 10u) << corpusDir().toStdString();
}

// Spoil what a clean receive left, or its account of it, and expect the probe to name it.
TEST(OfficeReceiveProbeTest, ReportsBrokenInvariants)
{
    using Outcome = OfficeReceiveProbe::Outcome;
    const auto write = [](const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    const struct {
        const char* what;
        std::function<void(OfficeReceiveProbe&, Outcome&)> spoil;
        const char* failure;
    } cases[] = {
        {"file beside the output folder",
         [&](OfficeReceiveProbe& p, Outcome&) {
             write(p.outside() + QStringLiteral("/A.DAT"), "TD0\r\n");
         },
         "outside the output folder changed"},
        {"written through the dangling link",
         [&](OfficeReceiveProbe& p, Outcome&) {
             write(p.outside() + QStringLiteral("/absent.dat"), "TD0\r\n");
         },
         "outside the output folder changed"},
        {"files after a failure",
         [](OfficeReceiveProbe&, Outcome& o) {
             o.result.ok = false;
             o.result.error = QStringLiteral("broken");
         },
         "files A.DAT, reported"},
        {"unreported file",
         [&](OfficeReceiveProbe& p, Outcome&) {
             write(p.out() + QStringLiteral("/B.DAT"), "TD0\r\n");
         },
         "files A.DAT/B.DAT, reported A.DAT"},
        {"stray byte", [](OfficeReceiveProbe&, Outcome& o) { o.written += "\x16"; },
         "wrote byte 0x16"},
        {"line without ACK", [](OfficeReceiveProbe&, Outcome& o) { ++o.result.lines; }, "ACKs for"},
        {"plain name refused",
         [](OfficeReceiveProbe&, Outcome& o) { o.result.refused << "OK.DAT"; },
         "refused the plain name"},
        {"success without EOT", [](OfficeReceiveProbe&, Outcome& o) { o.offeredEot = false; },
         "without EOT"},
        {"success with an error",
         [](OfficeReceiveProbe&, Outcome& o) { o.result.error = QStringLiteral("x"); },
         "result 1 with the error"},
    };
    const QByteArray clean = readCorpus(corpusDir(), "clean_one_file.bin");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot dir;
        OfficeReceiveProbe probe(dir.path());
        Outcome outcome = probe.receive(clean);
        ASSERT_EQ(probe.verify(outcome).toStdString(), "");
        c.spoil(probe, outcome);
        const std::string failure = probe.verify(outcome).toStdString();
        EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
    }
}

} // namespace
} // namespace brovant::test
