// The fuzz corpus of the caliper's telegrams, run as an ordinary test, the model of what a
// stream must give, and proof that the checks can fail.
#include "support/Corpus.h"
#include "tally/CaliperFuzzing.h"

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
    return corpusFolder("caliper");
}

// The measurements as "key/diameter", a refused telegram as "-".
std::string measured(const CaliperRun& run)
{
    QStringList out;
    for (const auto& m : run.measured)
        out << (m ? QStringLiteral("%1/%2").arg(m->speciesKey).arg(m->diameter)
                  : QStringLiteral("-"));
    return out.join(u' ').toStdString();
}

TEST(CaliperModelTest, CutsAtLineEndsAndFlushes)
{
    const struct {
        QByteArray stream;
        QList<qsizetype> cuts;
        QByteArrayList telegrams;
    } cases[] = {
        {"", {0}, {}},
        {"325\r\n412", {8}, {"325", "412"}},
        {"325\r\n412", {}, {"325"}}, // nothing flushes the last line
        {"325412", {3, 6}, {"325", "412"}},
        {"32\r5", {1, 4}, {"3", "2", "5"}},
        {"\r\n\n\r", {4}, {}},
        {QByteArray(150, '1') + "\n2", {152}, {QByteArray(100, '1'), "2"}},
        {QByteArray(150, '1'), {120, 150}, {QByteArray(100, '1'), QByteArray(30, '1')}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(expectedTelegrams(c.stream, c.cuts), c.telegrams) << c.stream.toStdString();
}

class CaliperCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(CaliperCorpusTest, HoldsEveryInvariant)
{
    // What the streams written by hand must give; inputs the fuzzer adds are held to the
    // invariants only.
    static const std::map<std::string, std::string> expected = {
        {"byte_by_byte.bin", "2/25 3/12"},
        {"classic_crlf.bin", "2/25 3/12 7/99"},
        {"cr_only.bin", "2/25 3/12"},
        {"empty_lines.bin", "2/25"},
        {"exactly_limit.bin", "0/11 1/22"},
        {"flush_mid_telegram.bin", "- - - -"}, // a quiet line cuts a telegram apart
        {"keys_outside.bin", "-1/42 -1/42 -1/42 -1/42"},
        {"lf_cr.bin", "2/25 3/12"},
        {"lf_only.bin", "2/25 3/12"},
        {"long_flushed_pieces.bin", "6/77 6/77 6/77"},
        {"long_line.bin", "2/99 3/25"},
        {"long_line_chunked.bin", "4/55 5/12"},
        {"no_line_end_flushed.bin", "2/25 3/12 7/99"},
        {"nul_inside.bin", "- -"},
        {"refused.bin", "- - - - - - -"},
        {"sentences.bin", "- -"},
    };
    const CaliperRun run = runCaliperStream(readCorpus(corpusDir(), GetParam()));
    EXPECT_EQ(verifyCaliperRun(run).toStdString(), "");
    if (const auto it = expected.find(GetParam()); it != expected.end()) {
        EXPECT_EQ(measured(run), it->second);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, CaliperCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(CaliperCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 10u) << corpusDir().toStdString();
}

// Spoil a clean run's account and expect the checks to name it.
TEST(CaliperChecksTest, ReportBrokenInvariants)
{
    const struct {
        const char* what;
        std::function<void(CaliperRun&)> spoil;
        const char* failure;
    } cases[] = {
        {"held too much", [](CaliperRun& r) { r.mostPending = 101; }, "101 bytes pending"},
        {"empty telegram", [](CaliperRun& r) { r.telegrams[1].clear(); }, "an empty telegram"},
        {"long telegram", [](CaliperRun& r) { r.telegrams[1] = QByteArray(101, '3'); },
         "a telegram of 101 bytes"},
        {"line end kept", [](CaliperRun& r) { r.telegrams[1] += '\r'; }, "a line end inside"},
        {"telegram lost",
         [](CaliperRun& r) {
             r.telegrams.removeLast();
             r.measured.removeLast();
         },
         "2 telegrams, not the stream's lines"},
        {"diameter out of range", [](CaliperRun& r) { r.measured[0]->diameter = 100; },
         "key 2, diameter 100"},
        {"key misread", [](CaliperRun& r) { r.measured[0]->speciesKey = 3; }, "read as key 3"},
        {"refused a good one", [](CaliperRun& r) { r.measured[0].reset(); }, "refused"},
        {"accepted a bad one",
         [](CaliperRun& r) {
             r.stream.replace("412", "4x2");
             r.telegrams[1] = "4x2";
         },
         "accepted"},
    };
    const QByteArray clean = caliperInput(0, 0, "325\r\n412\r\n899\r\n");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CaliperRun run = runCaliperStream(clean);
        ASSERT_EQ(verifyCaliperRun(run).toStdString(), "");
        c.spoil(run);
        const std::string failure = verifyCaliperRun(run).toStdString();
        EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
    }
}

} // namespace
} // namespace brovant::test
