// The Bluetooth calipers' sentences through their parser and the sentence reader, and what must
// hold for any line: an accepted sentence is a well-formed one whose checksum, when sent, is the
// XOR of its body; a well-formed one is accepted; its diameter is the millimetre field divided by
// ten, rounded down, and within range; trailing blanks, a checksum in either case or none at all
// change nothing, a wrong one refuses it; a sentence cut short before the comma that closes its
// reading is refused, never read as a smaller tree; what is accepted, written out again, reads
// back the same; and the reader gives each diameter the species sentence just before it, however
// the sentences are spread over lines. Shared by the corpus test and the libFuzzer target, so an
// input the fuzzer finds becomes a test case by dropping it into
// tests/fuzz/corpus/caliper_sentence.
//
// An input is one line from the caliper, as the splitter hands it on.
#pragma once

#include "tally/CaliperSentence.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

namespace brovant {
struct MasterTables;
}

namespace brovant::test {

using ParsedSentence = std::optional<CaliperSentence>;

// What one input did.
struct SentenceRun {
    QByteArray input;
    bool framed = false; // starts with "$" once the trailing blanks are gone
    QByteArray body;     // between that "$" and the first "*"
    QByteArray sent;     // what follows the "*"; empty without one
    QByteArray checksum; // sentenceChecksum(body)
    ParsedSentence parsed; // the input as it came
    ParsedSentence padded; // with blanks and a line end added
    ParsedSentence bare;   // "$", the body and "*": no checksum
    ParsedSentence upper;  // with the body's checksum
    ParsedSentence lower;  // the same in lower case
    ParsedSentence wrong;  // with a checksum one bit off
    // Sentences written from what `bare` read, and what they read back as.
    QList<std::pair<QByteArray, ParsedSentence>> rebuilt;
    // "$" and the body's first n bytes, up to one past the comma that closes the reading.
    QList<std::pair<qsizetype, ParsedSentence>> cut;
    // The input twice, as the reader sees it: each piece from a "$" to the next, parsed.
    QList<ParsedSentence> pieces;
    QList<SentenceMeasurement> read;      // one reader, the input taken twice
    QList<SentenceMeasurement> readApart; // one reader, each piece as a line of its own
    std::optional<QString> mapped; // speciesForCaliperCode of what `bare` read, for a species
};

// "D<cm>", "S<code>", or "-" for a refused sentence.
QString describeSentence(const ParsedSentence& sentence);
// Measurements as "code/cm", joined with "|".
QString describeMeasurements(const QList<SentenceMeasurement>& measurements);

// The main species and the caliper's own that codes are looked up in.
const MasterTables& sentenceProbeTables();

SentenceRun runCaliperSentence(QByteArrayView input);
// Empty when every invariant held, else the first that did not.
QString verifySentenceRun(const SentenceRun& run);
inline QString checkCaliperSentence(QByteArrayView input)
{
    return verifySentenceRun(runCaliperSentence(input));
}

} // namespace brovant::test
