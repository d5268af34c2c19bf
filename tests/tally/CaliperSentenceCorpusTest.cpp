// The fuzz corpus of the calipers' sentences, run as an ordinary test, and proof that the checks
// can fail.
#include "support/Corpus.h"
#include "tally/CaliperSentenceFuzzing.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace brovant::test {
namespace {

QString corpusDir()
{
    return corpusFolder("caliper_sentence");
}

class CaliperSentenceCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(CaliperSentenceCorpusTest, HoldsEveryInvariant)
{
    // What the lines written by hand must give: the line read as one sentence, and what a reader
    // measures taking it twice. Inputs the fuzzer adds are held to the invariants only.
    static const std::map<std::string, std::pair<std::string, std::string>> expected = {
        {"dia_bad_checksum_digits.txt", {"-", ""}},
        {"dia_centimetres.txt", {"-", ""}},
        {"dia_checksum.txt", {"D25", "/25|/25"}},
        {"dia_cut_short.txt", {"-", ""}},
        {"dia_largest.txt", {"D999", "/999|/999"}},
        {"dia_lower_checksum.txt", {"D25", "/25|/25"}},
        {"dia_many_digits.txt", {"-", ""}},
        {"dia_no_checksum.txt", {"D25", "/25|/25"}},
        {"dia_rounds_down.txt", {"D25", "/25|/25"}},
        {"dia_too_large.txt", {"-", ""}},
        {"dia_wrong_checksum.txt", {"-", ""}},
        {"dia_wrong_high_digit.txt", {"-", ""}},
        {"dia_zero_padded.txt", {"D25", "/25|/25"}},
        {"other_talker.txt", {"-", ""}},
        {"several_on_line.txt", {"-", "FI/30|/0|FI/30|/0"}},
        // The species sent last waits for the next line's diameter.
        {"species_last.txt", {"-", "/41|KI/41"}},
        {"spc_blank_code.txt", {"-", ""}},
        {"spc_checksum.txt", {"SFI", ""}},
        {"spc_latin1.txt", {"SBÄ", ""}},
        {"spc_utf8_blanks.txt", {"SBÄ", ""}},
    };
    const SentenceRun run = runCaliperSentence(readCorpus(corpusDir(), GetParam()));
    EXPECT_EQ(verifySentenceRun(run).toStdString(), "");
    if (const auto it = expected.find(GetParam()); it != expected.end()) {
        EXPECT_EQ(describeSentence(run.parsed).toStdString(), it->second.first);
        EXPECT_EQ(describeMeasurements(run.read).toStdString(), it->second.second);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, CaliperSentenceCorpusTest,
                         ::testing::ValuesIn(corpusFiles(corpusDir())), corpusCaseName);

TEST(CaliperSentenceCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 10u) << corpusDir().toStdString();
}

// The same wrong reading in every variant of the sentence, so that only the checks of what a
// reading must be can notice it.
void everywhere(SentenceRun& r, const std::function<void(ParsedSentence&)>& spoil)
{
    for (ParsedSentence* s : {&r.parsed, &r.padded, &r.bare, &r.upper, &r.lower})
        spoil(*s);
}

CaliperSentence diameter(int cm)
{
    return {CaliperSentence::Kind::Diameter, {}, cm};
}

// Spoil a clean run's account and expect the checks to name it.
TEST(CaliperSentenceChecksTest, ReportBrokenInvariants)
{
    const struct {
        const char* what;
        QByteArray input;
        std::function<void(SentenceRun&)> spoil;
        const char* failure;
    } cases[] = {
        {"blanks after it count", "$PHGF,DIA,M,254,*2B", [](SentenceRun& r) { r.padded.reset(); },
         "with blanks after it as -"},
        {"read without its $", "PHGF,DIA,M,254,*2B",
         [](SentenceRun& r) { r.parsed = r.padded = diameter(25); }, "without a leading $"},
        {"checksum in lower case", "$PHGF,DIA,M,254,", [](SentenceRun& r) { r.checksum = "2b"; },
         "checksum 2b of"},
        {"wrong checksum accepted", "$PHGF,DIA,M,254,*2C",
         [](SentenceRun& r) { r.parsed = r.padded = r.bare; }, "(the checksum is wrong)"},
        {"right checksum refused", "$PHGF,DIA,M,254,*2B", [](SentenceRun& r) { r.upper.reset(); },
         "with checksum 2B read as -"},
        {"lower-case checksum refused", "$PHGF,DIA,M,254,",
         [](SentenceRun& r) { r.lower.reset(); }, "lower-case checksum read as -"},
        {"flipped checksum accepted", "$PHGF,DIA,M,254,", [](SentenceRun& r) { r.wrong = r.bare; },
         "with a wrong checksum read as D25"},
        {"rounded up", "$PHGF,DIA,M,259,*26",
         [](SentenceRun& r) { everywhere(r, [](ParsedSentence& s) { s->diameter = 26; }); },
         "read as D26, not D25"},
        {"too large accepted", "$PHGF,DIA,M,10000,",
         [](SentenceRun& r) { everywhere(r, [](ParsedSentence& s) { s = diameter(1000); }); },
         "read as D1000, not -"},
        {"good diameter refused", "$PHGF,DIA,M,0254,",
         [](SentenceRun& r) { everywhere(r, [](ParsedSentence& s) { s.reset(); }); },
         "read as -, not D25"},
        {"species untrimmed", "$PHGF,SPC,FI,1,*67",
         [](SentenceRun& r) { everywhere(r, [](ParsedSentence& s) { s->species = " FI"; }); },
         "read as S FI, not SFI"},
        {"latin-1 read as UTF-8", "$PHGF,SPC,B\xC4,",
         [](SentenceRun& r) { everywhere(r, [](ParsedSentence& s) { s->species = "B"; }); },
         "read as SB, not SBÄ"},
        {"not written out again", "$PHGF,DIA,M,254,", [](SentenceRun& r) { r.rebuilt.clear(); },
         "was not written out again"},
        {"misread when written out", "$PHGF,SPC,FI,",
         [](SentenceRun& r) { r.rebuilt[1].second.reset(); }, "read back as -"},
        {"cut short read as a smaller tree", "$PHGF,DIA,M,254,",
         [](SentenceRun& r) { r.cut[r.cut.size() - 3].second = diameter(2); },
         "\"$PHGF,DIA,M,25\" cut short read as D2, not -"},
        {"whole sentence refused after the cut", "$PHGF,DIA,M,254,",
         [](SentenceRun& r) { r.cut.last().second.reset(); }, "cut short read as -, not D25"},
        {"no cuts tried", "$PHGF,SPC,FI,", [](SentenceRun& r) { r.cut.clear(); },
         "no comma closing its reading"},
        {"code stands for another species", "$PHGF,SPC,fi,",
         [](SentenceRun& r) { r.mapped = QStringLiteral("KI "); },
         "code \"fi\" stands for \"KI \", not \"FI \""},
        {"known code not looked up", "$PHGF,SPC,pa,", [](SentenceRun& r) { r.mapped.reset(); },
         "stands for \"(none)\", not \"PA \""},
        {"reader lost the species", "$PHGF,SPC,FI,$PHGF,DIA,M,301,$PHGF,DIA,M,9,",
         [](SentenceRun& r) { r.read[0].species.clear(); }, "twice gave \"/30|"},
        {"species kept too long", "$PHGF,SPC,FI,$PHGF,DIA,M,301,$PHGF,DIA,M,9,",
         [](SentenceRun& r) { r.readApart[1].species = QStringLiteral("FI"); },
         "in pieces gave \"FI/30|FI/0|"},
        {"piece out of range", "x$PHGF,SPC,FI,$PHGF,DIA,M,301,",
         [](SentenceRun& r) { r.pieces[1]->diameter = 1000; }, "diameter 1000 cm"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SentenceRun run = runCaliperSentence(c.input);
        ASSERT_EQ(verifySentenceRun(run).toStdString(), "");
        c.spoil(run);
        const std::string failure = verifySentenceRun(run).toStdString();
        EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
    }
}

} // namespace
} // namespace brovant::test
