#include "fuzz/CaliperSentenceFuzzing.h"

#include "masterdata/MasterTables.h"

#include <QStringList>

namespace brovant::test {
namespace {

// How far before the comma that closes a reading the cut-short sentences start.
constexpr qsizetype kCutSpan = 16;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

QByteArray withoutTrailingBlanks(QByteArrayView line)
{
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line.toByteArray();
}

int xorOf(QByteArrayView bytes)
{
    int sum = 0;
    for (const char c : bytes)
        sum ^= static_cast<unsigned char>(c);
    return sum;
}

QByteArray hexByte(int value)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const char digits[] = {kDigits[(value >> 4) & 0xF], kDigits[value & 0xF]};
    return QByteArray(digits, 2);
}

// A sentence with its checksum, from the part between "$" and "*".
QByteArray withChecksum(const QByteArray& body)
{
    return '$' + body + '*' + hexByte(xorOf(body));
}

bool allDigits(const QByteArray& field)
{
    if (field.isEmpty())
        return false;
    for (const char c : field) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// Digits as a number, held at a billion so that no field overflows it.
qint64 valueOf(const QByteArray& digits)
{
    qint64 value = 0;
    for (const char c : digits)
        value = std::min<qint64>(value * 10 + (c - '0'), 1'000'000'000);
    return value;
}

// The code a species field names: its UTF-8 text where it is valid UTF-8 (a byte-order mark in
// front being no part of it), else its Latin-1 text; blanks around it do not count.
QString codeOf(const QByteArray& field)
{
    const QByteArray unmarked = field.startsWith("\xEF\xBB\xBF") ? field.sliced(3) : field;
    const QString utf8 = QString::fromUtf8(field);
    return (utf8.toUtf8() == unmarked ? utf8 : QString::fromLatin1(field)).trimmed();
}

// What a sentence with this body may read as. Millimetres zero-padded beyond four digits come
// from no caliper, so refusing them is as right as reading them.
QStringList allowedReadings(const QByteArray& body)
{
    const QList<QByteArray> f = body.split(',');
    if (f.size() >= 5 && f[0] == "PHGF" && f[1] == "DIA" && f[2] == "M" && allDigits(f[3])) {
        const qint64 mm = valueOf(f[3]);
        if (mm > 9999)
            return {QStringLiteral("-")};
        const QString diameter = u'D' + QString::number(mm / 10);
        return f[3].size() <= 4 ? QStringList{diameter}
                                : QStringList{diameter, QStringLiteral("-")};
    }
    if (f.size() >= 4 && f[0] == "PHGF" && f[1] == "SPC") {
        const QString code = codeOf(f[2]);
        return {code.isEmpty() ? QStringLiteral("-") : u'S' + code};
    }
    return {QStringLiteral("-")};
}

// Where the comma that closes the reading sits in a body, or -1 when none does.
qsizetype closingComma(const QByteArray& body, CaliperSentence::Kind kind)
{
    const int field = kind == CaliperSentence::Kind::Diameter ? 3 : 2;
    qsizetype at = -1;
    for (int i = 0; i <= field; ++i) {
        at = body.indexOf(',', at + 1);
        if (at < 0)
            return -1;
    }
    return at;
}

// The input for messages: printable ASCII as it is, anything else as \xhh, cut to 80 bytes.
QString shown(QByteArrayView bytes)
{
    QString out;
    for (const char c : bytes.first(std::min<qsizetype>(bytes.size(), 80))) {
        const auto b = static_cast<unsigned char>(c);
        if (b >= 0x20 && b < 0x7F && b != '\\')
            out += QLatin1Char(c);
        else
            out += QStringLiteral("\\x") + QString::number(b, 16).rightJustified(2, u'0');
    }
    return bytes.size() > 80 ? out + QStringLiteral("...") : out;
}

void rebuild(SentenceRun& run)
{
    QList<QByteArray> bodies;
    if (run.bare->kind == CaliperSentence::Kind::Diameter) {
        const int cm = run.bare->diameter;
        for (const int mm : {cm * 10, cm * 10 + 5, cm * 10 + 9})
            bodies << "PHGF,DIA,M," + QByteArray::number(mm) + ',';
    } else {
        // A blank first, so that a code starting with U+FEFF is not read as a byte-order mark.
        bodies << "PHGF,SPC, " + run.bare->species.toUtf8() + ",1,";
        bodies << "PHGF,SPC,\t" + run.bare->species.toUtf8() + "  ,";
    }
    for (const QByteArray& body : bodies) {
        for (const QByteArray& sentence : {withChecksum(body), '$' + body + '*'})
            run.rebuilt.append({sentence, parseCaliperSentence(sentence)});
    }
}

void cutShort(SentenceRun& run)
{
    const qsizetype comma = closingComma(run.body, run.bare->kind);
    if (comma < 0)
        return;
    for (qsizetype n = std::max<qsizetype>(0, comma - kCutSpan); n <= comma + 1; ++n)
        run.cut.append({n, parseCaliperSentence('$' + run.body.first(n))});
}

QString verifyReader(const SentenceRun& run)
{
    QList<SentenceMeasurement> expected;
    QString species;
    for (const ParsedSentence& piece : run.pieces) {
        if (!piece)
            continue;
        if (piece->kind == CaliperSentence::Kind::Species) {
            if (piece->species.isEmpty() || piece->species != piece->species.trimmed())
                return QStringLiteral("species code \"%1\"").arg(piece->species);
            species = piece->species;
        } else {
            if (piece->diameter < 0 || piece->diameter > 999)
                return QStringLiteral("diameter %1 cm").arg(piece->diameter);
            expected.append({species, piece->diameter});
            species.clear();
        }
    }
    const QString want = describeMeasurements(expected);
    if (const QString got = describeMeasurements(run.read); got != want)
        return QStringLiteral("\"%1\" twice gave \"%2\", not \"%3\"")
            .arg(shown(run.input), got, want);
    if (const QString got = describeMeasurements(run.readApart); got != want)
        return QStringLiteral("\"%1\" in pieces gave \"%2\", not \"%3\"")
            .arg(shown(run.input), got, want);
    return {};
}

QString verifyMapping(const SentenceRun& run)
{
    if (!run.bare || run.bare->kind != CaliperSentence::Kind::Species)
        return {};
    const QString& code = run.bare->species;
    const auto codeOfEntry = [&](const QString& stored) {
        const QString key = stored.left(3).trimmed();
        return !key.isEmpty() && key.compare(code, Qt::CaseInsensitive) == 0;
    };
    const MasterTables& tables = sentenceProbeTables();
    std::optional<QString> expected;
    for (const QString& main : tables.mainSpecies) {
        if (!expected && codeOfEntry(main))
            expected = main;
    }
    if (!expected && codeOfEntry(tables.caliperSpecies))
        expected = tables.caliperSpecies;
    if (run.mapped != expected)
        return QStringLiteral("code \"%1\" stands for \"%2\", not \"%3\"")
            .arg(code, run.mapped.value_or(QStringLiteral("(none)")),
                 expected.value_or(QStringLiteral("(none)")));
    return {};
}

} // namespace

QString describeSentence(const ParsedSentence& sentence)
{
    if (!sentence)
        return QStringLiteral("-");
    if (sentence->kind == CaliperSentence::Kind::Species)
        return u'S' + sentence->species;
    return u'D' + QString::number(sentence->diameter);
}

QString describeMeasurements(const QList<SentenceMeasurement>& measurements)
{
    QStringList out;
    for (const SentenceMeasurement& m : measurements)
        out << m.species + u'/' + QString::number(m.diameter);
    return out.join(u'|');
}

const MasterTables& sentenceProbeTables()
{
    static const MasterTables tables = [] {
        MasterTables t;
        const char* const main[] = {"FI ", "KI ", "DGL", "BU ", "EI ", "BÄ ",
                                    "TA ", "LÄ ", "",    "ES ", "ELS", "FI2"};
        for (size_t i = 0; i < t.mainSpecies.size() && i < std::size(main); ++i)
            t.mainSpecies[i] = QString::fromUtf8(main[i]);
        t.caliperSpecies = QStringLiteral("PA ");
        return t;
    }();
    return tables;
}

SentenceRun runCaliperSentence(QByteArrayView input)
{
    SentenceRun run;
    run.input = input.toByteArray();
    run.parsed = parseCaliperSentence(input);
    run.padded = parseCaliperSentence(run.input + " \t\r\n");

    const QByteArray line = withoutTrailingBlanks(input);
    run.framed = line.startsWith('$');
    if (run.framed) {
        const qsizetype star = line.indexOf('*');
        run.body = line.sliced(1, (star < 0 ? line.size() : star) - 1);
        run.sent = star < 0 ? QByteArray() : line.sliced(star + 1);
        run.checksum = sentenceChecksum(run.body);
        const QByteArray bare = '$' + run.body + '*';
        run.bare = parseCaliperSentence(bare);
        run.upper = parseCaliperSentence(bare + run.checksum);
        run.lower = parseCaliperSentence(bare + run.checksum.toLower());
        run.wrong = parseCaliperSentence(bare + hexByte(xorOf(run.body) ^ 1));
        if (run.bare) {
            rebuild(run);
            cutShort(run);
            if (run.bare->kind == CaliperSentence::Kind::Species)
                run.mapped = speciesForCaliperCode(sentenceProbeTables(), run.bare->species);
        }
    }

    SentenceReader reader;
    SentenceReader apart;
    for (int copy = 0; copy < 2; ++copy) {
        run.read += reader.take(input);
        for (qsizetype at = input.indexOf('$'); at >= 0;) {
            const qsizetype next = input.indexOf('$', at + 1);
            const QByteArrayView piece = next < 0 ? input.sliced(at) : input.sliced(at, next - at);
            run.pieces.append(parseCaliperSentence(piece));
            run.readApart += apart.take(piece);
            at = next;
        }
    }
    return run;
}

QString verifySentenceRun(const SentenceRun& run)
{
    const QString input = shown(run.input);
    const QString parsed = describeSentence(run.parsed);
    if (const QString padded = describeSentence(run.padded); padded != parsed)
        return QStringLiteral("\"%1\" read as %2, with blanks after it as %3")
            .arg(input, parsed, padded);
    if (!run.framed) {
        if (run.parsed)
            return QStringLiteral("\"%1\" read as %2 without a leading $").arg(input, parsed);
        return verifyReader(run);
    }

    const QByteArray sum = hexByte(xorOf(run.body));
    if (run.checksum != sum)
        return QStringLiteral("checksum %1 of \"%2\", not %3")
            .arg(QString::fromLatin1(run.checksum), shown(run.body), QString::fromLatin1(sum));
    const QString bare = describeSentence(run.bare);
    const bool sumHolds = run.sent.isEmpty() || run.sent.toUpper() == sum;
    if (parsed != (sumHolds ? bare : QStringLiteral("-")))
        return QStringLiteral("\"%1\" read as %2, without its checksum as %3%4")
            .arg(input, parsed, bare,
                 sumHolds ? QString() : QStringLiteral(" (the checksum is wrong)"));
    if (const QString upper = describeSentence(run.upper); upper != bare)
        return QStringLiteral("\"%1\" with checksum %2 read as %3, without as %4")
            .arg(input, QString::fromLatin1(sum), upper, bare);
    if (const QString lower = describeSentence(run.lower); lower != bare)
        return QStringLiteral("\"%1\" with lower-case checksum read as %2, without as %3")
            .arg(input, lower, bare);
    if (run.wrong)
        return QStringLiteral("\"%1\" with a wrong checksum read as %2")
            .arg(input, describeSentence(run.wrong));

    const QStringList allowed = allowedReadings(run.body);
    if (!allowed.contains(bare))
        return QStringLiteral("\"%1\" read as %2, not %3")
            .arg(input, bare, allowed.join(QStringLiteral(" or ")));
    if (run.bare && run.rebuilt.isEmpty())
        return QStringLiteral("\"%1\" was not written out again").arg(input);
    for (const auto& [sentence, back] : run.rebuilt) {
        if (const QString got = describeSentence(back); got != bare)
            return QStringLiteral("\"%1\", written from %2, read back as %3")
                .arg(shown(sentence), bare, got);
    }
    if (run.bare && run.cut.isEmpty())
        return QStringLiteral("\"%1\" has no comma closing its reading").arg(input);
    for (qsizetype i = 0; i < run.cut.size(); ++i) {
        const auto& [length, reading] = run.cut[i];
        const QString want = i + 1 == run.cut.size() ? bare : QStringLiteral("-");
        if (const QString got = describeSentence(reading); got != want)
            return QStringLiteral("\"$%1\" cut short read as %2, not %3")
                .arg(shown(run.body.first(length)), got, want);
    }
    if (const QString failure = verifyMapping(run); !failure.isEmpty())
        return failure;
    return verifyReader(run);
}

} // namespace brovant::test
