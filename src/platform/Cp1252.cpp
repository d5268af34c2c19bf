#include "platform/Cp1252.h"

#include <array>

namespace brovant::cp1252 {
namespace {

// 0x80..0x9F; the rest of the page equals Latin-1.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

char toByte(char16_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (size_t i = 0; i < kHigh.size(); ++i) {
        if (kHigh[i] == c)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

} // namespace

QString decode(QByteArrayView bytes)
{
    QString out(bytes.size(), Qt::Uninitialized);
    QChar* dst = out.data();
    for (const char b : bytes) {
        const auto u = static_cast<unsigned char>(b);
        *dst++ = QChar(u >= 0x80 && u < 0xA0 ? kHigh[u - 0x80] : char16_t(u));
    }
    return out;
}

QByteArray encode(QStringView text)
{
    QByteArray out;
    encodeAppend(out, text);
    return out;
}

void encodeAppend(QByteArray& out, QStringView text)
{
    const qsizetype at = out.size();
    out.resize(at + text.size());
    char* dst = out.data() + at;
    for (const QChar c : text)
        *dst++ = toByte(c.unicode());
}

} // namespace brovant::cp1252
