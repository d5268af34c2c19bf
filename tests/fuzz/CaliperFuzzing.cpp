// The caliper's byte stream through the telegram splitter and the telegram parser, and what must
// hold for any stream: the splitter never holds more than a telegram's worth, its telegrams are
// the stream's lines (cut at CR, LF and every flush, empty ones dropped, each cut to the
// maximum) however the bytes are chunked, and every accepted measurement is in range.
//
// An input's first byte is the size of the chunks the stream arrives in (0: all at once), its
// second after how many chunks the line counts as gone quiet and the splitter is flushed (0:
// only at the end); the rest is the stream. Outcome: the measurements as "key/diameter", a
// refused telegram as "-".
#include "fuzz/FuzzTargets.h"

#include "tally/CaliperTelegram.h"

#include <QList>
#include <QStringList>

namespace brovant::test {
namespace {

constexpr qsizetype kMax = TelegramSplitter::kMaxTelegram;

// The telegrams a stream must give: its pieces between CR, LF and the flushes at `cuts`
// (ascending stream offsets), empty ones dropped, each cut to the maximum.
QList<QByteArray> expectedTelegrams(QByteArrayView stream, const QList<qsizetype>& cuts)
{
    QList<QByteArray> telegrams;
    QByteArray piece;
    const auto end = [&] {
        if (!piece.isEmpty())
            telegrams.append(piece.first(std::min(piece.size(), kMax)));
        piece.clear();
    };
    qsizetype nextCut = 0;
    for (qsizetype i = 0; i <= stream.size(); ++i) {
        for (; nextCut < cuts.size() && cuts[nextCut] <= i; ++nextCut)
            end();
        if (i == stream.size())
            break;
        if (stream[i] == '\r' || stream[i] == '\n')
            end();
        else
            piece.append(stream[i]);
    }
    return telegrams;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// A telegram is a key and two digits; anything but '1'..'8' is the key -1.
QString checkMeasurement(const QByteArray& telegram, const std::optional<Measurement>& m)
{
    const bool readable = telegram.size() >= 3 && isDigit(telegram[1]) && isDigit(telegram[2]);
    const QString hex = QString::fromLatin1(telegram.toHex());
    if (m.has_value() != readable)
        return QStringLiteral("\"%1\" %2").arg(hex, m ? "accepted" : "refused");
    const int key = telegram[0] >= '1' && telegram[0] <= '8' ? telegram[0] - '1' : -1;
    if (m && (m->speciesKey != key || m->diameter != (telegram[1] - '0') * 10 + telegram[2] - '0'))
        return QStringLiteral("\"%1\" read as key %2, diameter %3")
            .arg(hex)
            .arg(m->speciesKey)
            .arg(m->diameter);
    return {};
}

ProbeResult run(QByteArrayView input)
{
    if (input.size() < 2)
        return {};
    const qsizetype chunk =
        uchar(input[0]) == 0 ? std::max<qsizetype>(1, input.size()) : qsizetype(uchar(input[0]));
    const int flushEvery = uchar(input[1]);
    const QByteArrayView stream = input.sliced(2);

    TelegramSplitter splitter;
    QList<QByteArray> telegrams;
    QList<qsizetype> cuts;
    int chunks = 0;
    for (qsizetype at = 0; at < stream.size(); at += chunk) {
        const QByteArrayView piece = stream.sliced(at, std::min(chunk, stream.size() - at));
        telegrams += splitter.feed(piece);
        // What is held, seen through a copy so the run goes on undisturbed.
        TelegramSplitter peek = splitter;
        if (const std::optional<QByteArray> held = peek.flush(); held && held->size() > kMax)
            return {QStringLiteral("%1 bytes pending").arg(held->size())};
        if (flushEvery > 0 && ++chunks % flushEvery == 0) {
            cuts.append(at + piece.size());
            if (const std::optional<QByteArray> rest = splitter.flush())
                telegrams.append(*rest);
        }
    }
    cuts.append(stream.size());
    if (const std::optional<QByteArray> rest = splitter.flush())
        telegrams.append(*rest);

    QStringList measured;
    for (const QByteArray& telegram : telegrams) {
        const std::optional<Measurement> m = parseTelegram(telegram);
        if (const QString failure = checkMeasurement(telegram, m); !failure.isEmpty())
            return {failure};
        measured << (m ? QStringLiteral("%1/%2").arg(m->speciesKey).arg(m->diameter)
                       : QStringLiteral("-"));
    }
    if (telegrams != expectedTelegrams(stream, cuts))
        return {QStringLiteral("%1 telegrams, not the stream's lines").arg(telegrams.size())};
    return {{}, measured.join(u' ')};
}

} // namespace

Probe caliperProbe(const QString&)
{
    return run;
}

} // namespace brovant::test
