// The caliper's byte stream through the telegram splitter and the telegram parser, and what must
// hold for any stream: the splitter never holds more than a telegram's worth, its telegrams are
// the stream's lines (cut at CR, LF and every flush, empty ones dropped, each cut to the
// maximum) however the bytes are chunked, and every accepted measurement is in range. Shared by
// the corpus test and the libFuzzer target, so an input the fuzzer finds becomes a test case by
// dropping it into tests/fuzz/corpus/caliper.
//
// An input's first byte is the size of the chunks the stream arrives in (0: all at once), its
// second after how many chunks the line counts as gone quiet and the splitter is flushed (0:
// only at the end); the rest is the stream.
#pragma once

#include "tally/CaliperTelegram.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace brovant::test {

// What one input did.
struct CaliperRun {
    QByteArray stream;
    QList<qsizetype> cuts;       // stream offsets of the flushes, the last at its end
    qsizetype mostPending = 0;   // the most the splitter held between chunks
    QList<QByteArray> telegrams; // in order, from feeds and flushes
    QList<std::optional<Measurement>> measured; // parseTelegram of each
};

// Builds an input from its parts.
QByteArray caliperInput(int chunk, int flushEvery, const QByteArray& stream);

CaliperRun runCaliperStream(QByteArrayView input);
// Empty when every invariant held, else the first that did not.
QString verifyCaliperRun(const CaliperRun& run);
inline QString checkCaliperStream(QByteArrayView input)
{
    return verifyCaliperRun(runCaliperStream(input));
}

// The telegrams a stream must give: its pieces between CR, LF and the cut positions (offsets
// into the stream where a flush happened, in ascending order), empty ones dropped, each cut to
// the maximum.
QList<QByteArray> expectedTelegrams(QByteArrayView stream, const QList<qsizetype>& cuts);

} // namespace brovant::test
