#include "tally/CaliperTelegram.h"

#include <utility>

namespace brovant {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

std::optional<Measurement> parseTelegram(QByteArrayView telegram)
{
    if (telegram.size() < 3 || !isDigit(telegram[1]) || !isDigit(telegram[2]))
        return std::nullopt;
    const char key = telegram[0];
    const int speciesKey = key >= '1' && key <= '8' ? key - '1' : -1;
    return Measurement{speciesKey, (telegram[1] - '0') * 10 + (telegram[2] - '0')};
}

QList<QByteArray> TelegramSplitter::feed(QByteArrayView chunk)
{
    QList<QByteArray> telegrams;
    for (const char c : chunk) {
        if (c == '\r' || c == '\n') {
            // The LF of a CR LF pair ends an empty line, which is dropped like any other.
            if (!m_pending.isEmpty())
                telegrams.append(std::exchange(m_pending, {}));
        } else if (m_pending.size() < kMaxTelegram) {
            m_pending.append(c);
        }
    }
    return telegrams;
}

std::optional<QByteArray> TelegramSplitter::flush()
{
    if (m_pending.isEmpty())
        return std::nullopt;
    return std::exchange(m_pending, {});
}

} // namespace brovant
