// Recorded transfers: what the device wrote ("D") and read ("P", from its peer), in order and in
// the pieces the line gave, as text. RecordingLine writes one while a real line is used.
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
#include <iterator>
#include <utility>

namespace brovant::test {

struct TranscriptEntry {
    bool fromDevice = false;
    QByteArray bytes;
    bool operator==(const TranscriptEntry&) const = default;
};

namespace transcript {

inline constexpr std::pair<char, const char*> kNames[] = {
    {0x00, "NUL"}, {0x01, "SOH"}, {0x02, "STX"}, {0x03, "ETX"}, {0x04, "EOT"}, {0x05, "ENQ"},
    {0x06, "ACK"}, {0x0A, "LF"},  {0x0D, "CR"},  {0x15, "NAK"}, {0x16, "SYN"}, {0x7F, "DEL"}};

inline QByteArray escape(QByteArrayView bytes)
{
    QByteArray text;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        const auto named = std::find_if(std::begin(kNames), std::end(kNames),
                                        [c](const auto& n) { return n.first == c; });
        if (named != std::end(kNames))
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

inline QByteArray format(const QList<TranscriptEntry>& entries, const QString& comment)
{
    QByteArray text;
    for (const QString& line : comment.split(u'\n'))
        text += "# " + line.toUtf8() + '\n';
    for (const TranscriptEntry& e : entries)
        text += (e.fromDevice ? "D " : "P ") + escape(e.bytes) + '\n';
    return text;
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

} // namespace brovant::test
