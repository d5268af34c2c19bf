#include "tally/CaliperSentence.h"

#include "masterdata/MasterTables.h"

#include <QStringDecoder>

namespace brovant {
namespace {

constexpr QByteArrayView kTalker = "PHGF";
constexpr QByteArrayView kDiameter = "DIA";
constexpr QByteArrayView kSpecies = "SPC";
constexpr QByteArrayView kMillimetres = "M";
// The diameter field holds three digits of centimetres.
constexpr int kMaxMillimetres = 9999;

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::optional<int> wholeNumber(QByteArrayView digits)
{
    if (digits.isEmpty() || digits.size() > 6)
        return std::nullopt;
    int value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

// Codes are plain letters as a rule; one with an umlaut may come as UTF-8 or as Latin-1.
QString codeText(QByteArrayView bytes)
{
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    if (utf8.hasError())
        text = QString::fromLatin1(bytes);
    return text.trimmed();
}

int xorOf(QByteArrayView body)
{
    unsigned char sum = 0;
    for (const char c : body)
        sum ^= static_cast<unsigned char>(c);
    return sum;
}

bool sameCode(const QString& stored, const QString& code)
{
    const QString key = stored.left(3).trimmed();
    return !key.isEmpty() && key.compare(code, Qt::CaseInsensitive) == 0;
}

} // namespace

CaliperFormat caliperFormatOf(int setting)
{
    return setting == int(CaliperFormat::Sentences) ? CaliperFormat::Sentences
                                                    : CaliperFormat::Telegram;
}

QByteArray sentenceChecksum(QByteArrayView body)
{
    return QByteArray::number(xorOf(body), 16).toUpper().rightJustified(2, '0');
}

std::optional<CaliperSentence> parseCaliperSentence(QByteArrayView sentence)
{
    while (!sentence.isEmpty() && isBlank(sentence.back()))
        sentence.chop(1);
    if (!sentence.startsWith('$'))
        return std::nullopt;
    QByteArrayView body = sentence.sliced(1);
    if (const qsizetype star = body.indexOf('*'); star >= 0) {
        const QByteArrayView check = body.sliced(star + 1);
        body = body.first(star);
        // No digits after the "*" means no checksum; anything else must be two hex digits.
        if (!check.isEmpty()) {
            if (check.size() != 2 || hexValue(check[0]) < 0 || hexValue(check[1]) < 0)
                return std::nullopt;
            const int sent = hexValue(check[0]) * 16 + hexValue(check[1]);
            if (xorOf(body) != sent)
                return std::nullopt;
        }
    }
    const QList<QByteArray> fields = body.toByteArray().split(',');
    if (fields.size() < 3 || fields[0] != kTalker)
        return std::nullopt;
    // A field counts only when a comma closes it, so a sentence cut short in its number is never
    // read as a smaller tree.
    if (fields[1] == kDiameter) {
        if (fields.size() < 5 || fields[2] != kMillimetres)
            return std::nullopt;
        const std::optional<int> millimetres = wholeNumber(fields[3]);
        if (!millimetres || *millimetres > kMaxMillimetres)
            return std::nullopt;
        // German practice measures in whole centimetres, rounded down: 259 mm is 25 cm.
        return CaliperSentence{CaliperSentence::Kind::Diameter, {}, *millimetres / 10};
    }
    if (fields[1] == kSpecies) {
        if (fields.size() < 4)
            return std::nullopt;
        QString code = codeText(fields[2]);
        if (code.isEmpty())
            return std::nullopt;
        return CaliperSentence{CaliperSentence::Kind::Species, std::move(code), 0};
    }
    return std::nullopt;
}

QList<SentenceMeasurement> SentenceReader::take(QByteArrayView line)
{
    QList<SentenceMeasurement> out;
    qsizetype start = line.indexOf('$');
    while (start >= 0) {
        const qsizetype next = line.indexOf('$', start + 1);
        const QByteArrayView sentence =
            next < 0 ? line.sliced(start) : line.sliced(start, next - start);
        start = next;
        const std::optional<CaliperSentence> s = parseCaliperSentence(sentence);
        if (!s)
            continue;
        if (s->kind == CaliperSentence::Kind::Species) {
            m_species = s->species;
        } else {
            out.append({m_species, s->diameter});
            m_species.clear();
        }
    }
    return out;
}

std::optional<QString> speciesForCaliperCode(const MasterTables& tables, const QString& code)
{
    const QString wanted = code.trimmed();
    if (wanted.isEmpty())
        return std::nullopt;
    for (const QString& main : tables.mainSpecies) {
        if (sameCode(main, wanted))
            return main;
    }
    if (sameCode(tables.caliperSpecies, wanted))
        return tables.caliperSpecies;
    return std::nullopt;
}

} // namespace brovant
