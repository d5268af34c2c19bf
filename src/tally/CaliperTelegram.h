// Tally: the caliper's telegrams. Cuts the received byte stream into telegrams and reads species
// key and diameter from one. Knows nothing of ports or threads; the reader in tally/caliper feeds
// it.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <optional>

namespace brovant {

struct Measurement {
    int speciesKey; // 0..7 for "1".."8"; -1 leaves the species as it is
    int diameter;   // whole centimetres, 0..99
};

// Character 1 is the species key, characters 2 and 3 the diameter as two decimal digits; anything
// after the third character is ignored. Shorter telegrams and non-digit diameters are refused.
std::optional<Measurement> parseTelegram(QByteArrayView telegram);

// Telegrams end at CR or LF (CR LF counts once, empty lines are dropped). A caliper that sends no
// line end is served by flush() once the line has gone quiet, so one burst is one telegram.
class TelegramSplitter {
public:
    // The device read at most this many bytes as one telegram; the rest of a longer line is
    // dropped, so noise cannot make the buffer grow.
    static constexpr qsizetype kMaxTelegram = 100;

    // The telegrams completed by this chunk, in order.
    QList<QByteArray> feed(QByteArrayView chunk);
    // The unfinished telegram, if any, handed over as complete.
    std::optional<QByteArray> flush();
    bool hasPending() const { return !m_pending.isEmpty(); }

private:
    QByteArray m_pending;
};

} // namespace brovant
