// Recorded transfers: what the device wrote ("D") and read ("P", from its peer), in order and in
// the pieces the line gave, as text. RecordingLine writes one while a real line is used;
// ReplayLine plays one back to the device and notes where the device strays from it.
//
// Bytes: printable ASCII as it is; control bytes by name (<SYN>, <SOH>, <STX>, <ETX>, <EOT>,
// <ENQ>, <ACK>, <NAK>, <CR>, <LF>, <DEL>, <NUL>); anything else, '<' and a blank that ends the
// line as two hex digits (<C4>, <3C>, <20>).
#pragma once

#include "platform/SerialLine.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace brovant::test {

struct TranscriptEntry {
    bool fromDevice = false;
    QByteArray bytes;
    bool operator==(const TranscriptEntry&) const = default;
};

namespace transcript {

inline constexpr std::array<std::pair<char, const char*>, 12> kNames = {{{0x00, "NUL"},
                                                                         {0x01, "SOH"},
                                                                         {0x02, "STX"},
                                                                         {0x03, "ETX"},
                                                                         {0x04, "EOT"},
                                                                         {0x05, "ENQ"},
                                                                         {0x06, "ACK"},
                                                                         {0x0A, "LF"},
                                                                         {0x0D, "CR"},
                                                                         {0x15, "NAK"},
                                                                         {0x16, "SYN"},
                                                                         {0x7F, "DEL"}}};

inline QByteArray escape(QByteArrayView bytes)
{
    QByteArray text;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        const auto named =
            std::find_if(kNames.begin(), kNames.end(), [c](const auto& n) { return n.first == c; });
        if (named != kNames.end())
            text += '<' + QByteArray(named->second) + '>';
        else if (c > 0x20 && c < 0x7F && c != '<')
            text += c;
        else if (c == ' ' && i + 1 < bytes.size())
            text += c;
        else
            text += '<' + QByteArray::number(uchar(c), 16).rightJustified(2, '0').toUpper() + '>';
    }
    return text;
}

inline bool unescape(QByteArrayView text, QByteArray& bytes)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '<') {
            bytes += text[i];
            continue;
        }
        const qsizetype close = text.indexOf('>', i);
        if (close < 0)
            return false;
        const QByteArray token = text.sliced(i + 1, close - i - 1).toByteArray();
        const auto named = std::find_if(kNames.begin(), kNames.end(),
                                        [&](const auto& n) { return token == n.second; });
        bool hex = false;
        const int value = token.size() == 2 ? token.toInt(&hex, 16) : 0;
        if (named != kNames.end())
            bytes += named->first;
        else if (hex)
            bytes += char(value);
        else
            return false;
        i = close;
    }
    return true;
}

inline QByteArray format(const QList<TranscriptEntry>& entries, const QString& comment)
{
    QByteArray text;
    for (const QString& line : comment.split(u'\n'))
        text += "# " + line.toUtf8() + '\n';
    for (const TranscriptEntry& e : entries)
        text += (e.fromDevice ? "D " : "P ") + escape(e.bytes) + '\n';
    return text;
}

// Entries of a transcript; false (and `error`) on a line that is neither.
inline bool parse(const QByteArray& text, QList<TranscriptEntry>& entries, QString* error)
{
    int number = 0;
    for (const QByteArray& line : text.split('\n')) {
        ++number;
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        TranscriptEntry entry{line.startsWith("D "), {}};
        if ((!line.startsWith("D ") && !line.startsWith("P "))
            || !unescape(QByteArrayView(line).sliced(2), entry.bytes) || entry.bytes.isEmpty()) {
            if (error)
                *error = QStringLiteral("line %1: %2").arg(number).arg(QString::fromLatin1(line));
            return false;
        }
        entries.append(entry);
    }
    return true;
}

} // namespace transcript

class RecordingLine final : public SerialLine {
public:
    explicit RecordingLine(SerialLine& line)
        : m_line(line)
    {
    }
    bool write(QByteArrayView bytes) override
    {
        m_entries.append({true, bytes.toByteArray()});
        return m_line.write(bytes);
    }
    QByteArray read(int maxBytes, int waitMs) override
    {
        QByteArray bytes = m_line.read(maxBytes, waitMs);
        if (!bytes.isEmpty())
            m_entries.append({false, bytes});
        return bytes;
    }
    const QList<TranscriptEntry>& entries() const { return m_entries; }

private:
    SerialLine& m_line;
    QList<TranscriptEntry> m_entries;
};

// The peer's pieces come out only after everything the device wrote before them in the
// transcript was written, byte for byte; otherwise the line is silent.
class ReplayLine final : public SerialLine {
public:
    explicit ReplayLine(QList<TranscriptEntry> entries)
        : m_entries(std::move(entries))
    {
    }

    bool write(QByteArrayView bytes) override
    {
        m_pending += bytes;
        while (m_next < m_entries.size() && m_entries[m_next].fromDevice
               && m_pending.startsWith(m_entries[m_next].bytes)) {
            m_pending.remove(0, m_entries[m_next].bytes.size());
            ++m_next;
        }
        if (!m_pending.isEmpty()
            && (m_next >= m_entries.size() || !m_entries[m_next].fromDevice
                || !m_entries[m_next].bytes.startsWith(m_pending)))
            m_strayed = true;
        return true;
    }

    QByteArray read(int maxBytes, int) override
    {
        if (m_next >= m_entries.size() || m_entries[m_next].fromDevice || !m_pending.isEmpty())
            return {};
        QByteArray& piece = m_entries[m_next].bytes;
        const QByteArray out = piece.first(std::min<qsizetype>(maxBytes, piece.size()));
        piece.remove(0, out.size());
        if (piece.isEmpty())
            ++m_next;
        return out;
    }

    // Where the device left the transcript (entry index), -1 when it followed it to the end.
    qsizetype strayedAt() const { return m_strayed || m_next < m_entries.size() ? m_next : -1; }

private:
    QList<TranscriptEntry> m_entries;
    qsizetype m_next = 0;
    QByteArray m_pending;
    bool m_strayed = false;
};

} // namespace brovant::test
