#include "fuzz/CaliperFuzzing.h"

namespace brovant::test {
namespace {

constexpr qsizetype kMax = TelegramSplitter::kMaxTelegram;

QString checkTelegram(const QByteArray& telegram)
{
    if (telegram.isEmpty())
        return QStringLiteral("an empty telegram");
    if (telegram.size() > kMax)
        return QStringLiteral("a telegram of %1 bytes").arg(telegram.size());
    if (telegram.contains('\r') || telegram.contains('\n'))
        return QStringLiteral("a line end inside a telegram");
    return {};
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

QString checkMeasurement(const QByteArray& telegram, const std::optional<Measurement>& m)
{
    const bool readable = telegram.size() >= 3 && isDigit(telegram[1]) && isDigit(telegram[2]);
    if (m.has_value() != readable)
        return QStringLiteral("\"%1\" %2")
            .arg(QString::fromLatin1(telegram.toHex()),
                 m ? QStringLiteral("accepted") : QStringLiteral("refused"));
    if (!m)
        return {};
    if (m->speciesKey < -1 || m->speciesKey > 7 || m->diameter < 0 || m->diameter > 99)
        return QStringLiteral("key %1, diameter %2").arg(m->speciesKey).arg(m->diameter);
    const int key = telegram[0] >= '1' && telegram[0] <= '8' ? telegram[0] - '1' : -1;
    if (m->speciesKey != key || m->diameter != (telegram[1] - '0') * 10 + (telegram[2] - '0'))
        return QStringLiteral("\"%1\" read as key %2, diameter %3")
            .arg(QString::fromLatin1(telegram.toHex()))
            .arg(m->speciesKey)
            .arg(m->diameter);
    return {};
}

} // namespace

QByteArray caliperInput(int chunk, int flushEvery, const QByteArray& stream)
{
    return QByteArray(1, char(chunk)) + char(flushEvery) + stream;
}

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

CaliperRun runCaliperStream(QByteArrayView input)
{
    CaliperRun run;
    if (input.size() < 2)
        return run;
    const qsizetype chunk =
        uchar(input[0]) == 0 ? std::max<qsizetype>(1, input.size()) : qsizetype(uchar(input[0]));
    const int flushEvery = uchar(input[1]);
    run.stream = input.sliced(2).toByteArray();
    const QByteArrayView stream(run.stream);

    TelegramSplitter splitter;
    int chunks = 0;
    for (qsizetype at = 0; at < stream.size(); at += chunk) {
        const QByteArrayView piece = stream.sliced(at, std::min(chunk, stream.size() - at));
        run.telegrams += splitter.feed(piece);
        // What is held, seen through a copy so the run goes on undisturbed.
        TelegramSplitter peek = splitter;
        if (const std::optional<QByteArray> held = peek.flush())
            run.mostPending = std::max(run.mostPending, held->size());
        if (flushEvery > 0 && ++chunks % flushEvery == 0) {
            run.cuts.append(at + piece.size());
            if (const std::optional<QByteArray> rest = splitter.flush())
                run.telegrams.append(*rest);
        }
    }
    run.cuts.append(stream.size());
    if (const std::optional<QByteArray> rest = splitter.flush())
        run.telegrams.append(*rest);
    for (const QByteArray& telegram : run.telegrams)
        run.measured.append(parseTelegram(telegram));
    return run;
}

QString verifyCaliperRun(const CaliperRun& run)
{
    if (run.mostPending > kMax)
        return QStringLiteral("%1 bytes pending").arg(run.mostPending);
    if (run.measured.size() != run.telegrams.size())
        return QStringLiteral("%1 telegrams, %2 read")
            .arg(run.telegrams.size())
            .arg(run.measured.size());
    for (qsizetype i = 0; i < run.telegrams.size(); ++i) {
        if (const QString failure = checkTelegram(run.telegrams[i]); !failure.isEmpty())
            return failure;
        if (const QString failure = checkMeasurement(run.telegrams[i], run.measured[i]);
            !failure.isEmpty())
            return failure;
    }
    if (run.telegrams != expectedTelegrams(run.stream, run.cuts))
        return QStringLiteral("%1 telegrams, not the stream's lines").arg(run.telegrams.size());
    return {};
}

} // namespace brovant::test
