#include "data/FixedRecords.h"

#include "platform/Cp1252.h"

#include <QIODevice>
#include <QSaveFile>

#include <algorithm>
#include <cstring>

namespace brovant {
namespace {

constexpr qint64 kChunk = 1 << 16;
// 20,000 trees never sit in one buffer.
constexpr qsizetype kFlushAt = 1 << 16;

} // namespace

RecordReader::RecordReader(QIODevice& in, int maxLength, CrRule crRule)
    : m_in(in)
    , m_maxLength(maxLength)
    , m_crRule(crRule)
    , m_buffer(kChunk, Qt::Uninitialized)
{
}

bool RecordReader::next(QByteArray& line)
{
    line.clear();
    m_consumed = 0;
    bool any = false;
    bool cut = false;
    bool ended = false;
    for (;;) {
        if (m_pos >= m_end && !fill())
            break;
        any = true;
        const char* begin = m_buffer.constData() + m_pos;
        const auto available = size_t(m_end - m_pos);
        const char* stop = static_cast<const char*>(std::memchr(begin, '\n', available));
        const qint64 chunk = stop ? (stop - begin) : qint64(available);
        if (!cut) {
            const char* nul = static_cast<const char*>(std::memchr(begin, '\0', size_t(chunk)));
            const qint64 text = nul ? (nul - begin) : chunk;
            // One character more than a line holds, so a CR in the last place can still go.
            const qint64 room = qint64(m_maxLength) + 1 - line.size();
            line.append(begin, qsizetype(std::min(text, room)));
            cut = nul != nullptr || text > room;
        }
        m_pos += chunk;
        m_consumed += chunk;
        if (stop) {
            ++m_pos;
            ++m_consumed;
            ended = true;
            break;
        }
    }
    if (!any)
        return false;
    if (line.endsWith('\r') && (m_crRule == CrRule::AtTextEnd || (ended && !cut)))
        line.chop(1);
    if (line.size() > m_maxLength)
        line.truncate(m_maxLength);
    return true;
}

bool RecordReader::fill()
{
    const qint64 n = m_in.read(m_buffer.data(), kChunk);
    m_pos = 0;
    m_end = n > 0 ? n : 0;
    return m_end > 0;
}

QByteArray Record::raw(int start, int length) const
{
    QByteArray out(length, ' ');
    const qsizetype have = std::clamp<qsizetype>(bytes.size() - start, 0, length);
    if (have > 0)
        std::memcpy(out.data(), bytes.data() + start, size_t(have));
    return out;
}

QString Record::text(int start, int length) const
{
    return cp1252::decode(raw(start, length));
}

RecordWriter::RecordWriter(QSaveFile& file, Encoding encoding, int maxLength)
    : m_file(file)
    , m_encoding(encoding)
    , m_maxLength(maxLength)
{
}

void RecordWriter::addBytes(QByteArrayView bytes)
{
    m_buffer += bytes;
    if (m_buffer.size() >= kFlushAt)
        flush();
}

void RecordWriter::add(QStringView line)
{
    if (m_encoding == Encoding::Windows1252)
        // One character is one byte, so the cut counts both.
        cp1252::encodeAppend(m_buffer, m_maxLength > 0 ? line.left(m_maxLength) : line);
    else
        m_buffer += line.toUtf8();
    addBytes(kLineEnd);
}

void RecordWriter::flush()
{
    // A full card takes what still fits and reports no error for that short write.
    if (m_file.write(m_buffer) != m_buffer.size())
        m_file.cancelWriting();
    m_buffer.clear();
}

} // namespace brovant
