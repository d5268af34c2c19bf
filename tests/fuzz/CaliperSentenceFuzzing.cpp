// One line from a Bluetooth caliper through the sentence parser and the sentence reader, and what
// must hold for any line: trailing blanks change nothing; without a leading "$" nothing is read;
// the checksum is the XOR of the body, and a sentence reads the same with it in either case or
// without it, and not at all with a wrong one; what is read is a diameter of "PHGF,DIA,M," within
// 0..999 cm or a trimmed, non-empty code of "PHGF,SPC,"; written out again (the millimetres of
// that diameter, rounded down), it reads back the same; cut short before the comma that closes
// its reading it is refused, never read as a smaller tree; a code found among the species is
// that species' code; and the reader gives each diameter the species sentence just before it,
// however the sentences are spread over lines.
//
// Outcome: the line read as one sentence ("D<cm>", "S<code>", "-"), then ";" and what a reader
// measures taking the line twice ("code/cm", joined with "|").
#include "fuzz/FuzzTargets.h"

#include "support/CaliperSpecies.h"
#include "tally/CaliperSentence.h"

#include <QStringList>

#include <algorithm>

namespace brovant::test {
namespace {

using Kind = CaliperSentence::Kind;

QString describe(const std::optional<CaliperSentence>& s)
{
    if (!s)
        return QStringLiteral("-");
    return s->kind == Kind::Species ? u'S' + s->species : u'D' + QString::number(s->diameter);
}

QString describe(const QList<SentenceMeasurement>& measurements)
{
    QStringList out;
    for (const SentenceMeasurement& m : measurements)
        out << m.species + u'/' + QString::number(m.diameter);
    return out.join(u'|');
}

QString describe(QByteArrayView input)
{
    return QString::fromLatin1(input.first(std::min<qsizetype>(input.size(), 80)).toByteArray());
}

QString read(QByteArrayView sentence)
{
    return describe(parseCaliperSentence(sentence));
}

QByteArray hexByte(int value)
{
    return QByteArray::number(value, 16).rightJustified(2, '0').toUpper();
}

const MasterTables& tables()
{
    static const MasterTables tables = caliperTables();
    return tables;
}

// What must hold for the sentence between "$" and the first "*" of `line`, read as `bare` without
// a checksum.
QString checkBody(const QByteArray& body, const CaliperSentence& bare)
{
    const QString shown = read('$' + body + '*');
    QList<QByteArray> rebuilt;
    qsizetype closing = body.indexOf(',', QByteArray("PHGF,DIA,M,").size());
    if (bare.kind == Kind::Diameter) {
        if (!body.startsWith("PHGF,DIA,M,") || bare.diameter < 0 || bare.diameter > 999)
            return QStringLiteral("\"%1\" read as %2").arg(describe(body), shown);
        for (const int mm : {bare.diameter * 10, bare.diameter * 10 + 5, bare.diameter * 10 + 9})
            rebuilt << "PHGF,DIA,M," + QByteArray::number(mm) + ',';
    } else {
        if (!body.startsWith("PHGF,SPC,") || bare.species.isEmpty()
            || bare.species != bare.species.trimmed())
            return QStringLiteral("\"%1\" read as %2").arg(describe(body), shown);
        // A blank first, so that a code starting with U+FEFF is not read as a byte-order mark.
        rebuilt << "PHGF,SPC, " + bare.species.toUtf8() + ",1,";
        rebuilt << "PHGF,SPC,\t" + bare.species.toUtf8() + "  ,";
        closing = body.indexOf(',', QByteArray("PHGF,SPC,").size());
        const std::optional<QString> species = speciesForCaliperCode(tables(), bare.species);
        if (species
            && (species->left(3).trimmed().compare(bare.species, Qt::CaseInsensitive) != 0
                || (std::ranges::find(tables().mainSpecies, *species) == tables().mainSpecies.end()
                    && *species != tables().caliperSpecies)))
            return QStringLiteral("code \"%1\" stands for \"%2\"").arg(bare.species, *species);
    }
    for (const QByteArray& again : rebuilt) {
        for (const QByteArray& sentence :
             {'$' + again + '*' + sentenceChecksum(again), '$' + again + '*'}) {
            if (read(sentence) != shown)
                return QStringLiteral("\"%1\", written from %2, read back as %3")
                    .arg(describe(sentence), shown, read(sentence));
        }
    }
    if (closing < 0)
        return QStringLiteral("\"%1\" has no comma closing its reading").arg(describe(body));
    for (qsizetype n = std::max<qsizetype>(0, closing - 16); n <= closing; ++n) {
        if (const QString cut = read('$' + body.first(n)); cut != QStringLiteral("-"))
            return QStringLiteral("\"$%1\" cut short read as %2").arg(describe(body.first(n)), cut);
    }
    if (read('$' + body.first(closing + 1)) != shown)
        return QStringLiteral("\"%1\" up to its closing comma is not read").arg(describe(body));
    return {};
}

QString checkLine(QByteArrayView input)
{
    const QString parsed = read(input);
    if (const QString padded = read(input.toByteArray() + " \t\r\n"); padded != parsed)
        return QStringLiteral("read as %1, with blanks after it as %2").arg(parsed, padded);
    QByteArrayView line = input;
    while (!line.isEmpty() && QByteArrayView(" \t\r\n").contains(line.back()))
        line.chop(1);
    if (!line.startsWith('$'))
        return parsed == QStringLiteral("-") ? QString() : QStringLiteral("read without a $");

    const qsizetype star = line.indexOf('*');
    const QByteArray body = line.sliced(1, (star < 0 ? line.size() : star) - 1).toByteArray();
    const QByteArray sent = star < 0 ? QByteArray() : line.sliced(star + 1).toByteArray();
    int sum = 0;
    for (const char c : body)
        sum ^= uchar(c);
    if (sentenceChecksum(body) != hexByte(sum))
        return QStringLiteral("checksum %1, not %2")
            .arg(QString::fromLatin1(sentenceChecksum(body)), QString::fromLatin1(hexByte(sum)));
    const QByteArray bare = '$' + body + '*';
    const QString withoutSum = read(bare);
    const bool sumHolds = sent.isEmpty() || sent.toUpper() == hexByte(sum);
    if (parsed != (sumHolds ? withoutSum : QStringLiteral("-")))
        return QStringLiteral("read as %1, without its checksum as %2").arg(parsed, withoutSum);
    if (read(bare + hexByte(sum)) != withoutSum
        || read(bare + hexByte(sum).toLower()) != withoutSum)
        return QStringLiteral("read otherwise with its checksum than without");
    if (read(bare + hexByte(sum ^ 1)) != QStringLiteral("-"))
        return QStringLiteral("read with a wrong checksum");
    const std::optional<CaliperSentence> reading = parseCaliperSentence(bare);
    return reading ? checkBody(body, *reading) : QString();
}

// One reader taking the line twice, and one taking each piece from a "$" to the next as a line of
// its own, both give each diameter the species read just before it.
QString checkReader(QByteArrayView input, QList<SentenceMeasurement>& read)
{
    QList<SentenceMeasurement> expected;
    QList<SentenceMeasurement> readApart;
    SentenceReader reader;
    SentenceReader apart;
    QString species;
    for (int copy = 0; copy < 2; ++copy) {
        read += reader.take(input);
        for (qsizetype at = input.indexOf('$'); at >= 0;) {
            const qsizetype next = input.indexOf('$', at + 1);
            const QByteArrayView piece = next < 0 ? input.sliced(at) : input.sliced(at, next - at);
            readApart += apart.take(piece);
            at = next;
            const std::optional<CaliperSentence> s = parseCaliperSentence(piece);
            if (s && s->kind == Kind::Species) {
                if (s->species.isEmpty() || s->species != s->species.trimmed())
                    return QStringLiteral("species code \"%1\"").arg(s->species);
                species = s->species;
            } else if (s) {
                if (s->diameter < 0 || s->diameter > 999)
                    return QStringLiteral("diameter %1 cm").arg(s->diameter);
                expected.append({species, s->diameter});
                species.clear();
            }
        }
    }
    if (describe(read) != describe(expected) || describe(readApart) != describe(expected))
        return QStringLiteral("read \"%1\" and in pieces \"%2\", not \"%3\"")
            .arg(describe(read), describe(readApart), describe(expected));
    return {};
}

} // namespace

Probe caliperSentenceProbe(const QString&)
{
    return [](QByteArrayView input) {
        QList<SentenceMeasurement> measured;
        QString failure = checkLine(input);
        if (failure.isEmpty())
            failure = checkReader(input, measured);
        else
            failure = QStringLiteral("\"%1\" ").arg(describe(input)) + failure;
        return ProbeResult{failure, read(input) + u';' + describe(measured), {}};
    };
}

} // namespace brovant::test
