#include "transfer/SerialFrames.h"

#include "data/FieldDescriptor.h"
#include "platform/Cp1252.h"
#include "platform/SerialLine.h"
#include "transfer/ListName.h"

#include <algorithm>

namespace brovant::frames {
namespace {

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

int hexValue(char c)
{
    return c <= '9' ? c - '0' : c - 'A' + 10;
}

bool isTrailer(char c)
{
    return c == '\r' || c == '\n' || c == kDel || c == '\0';
}

} // namespace

QList<QByteArray> fileLines(QByteArrayView file)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    while (start < file.size()) {
        const qsizetype limit = std::min<qsizetype>(file.size(), start + kMaxLine);
        qsizetype end = start;
        while (end < limit && file[end] != '\n')
            ++end;
        if (end < limit)
            ++end; // the LF belongs to its line
        lines.append(file.sliced(start, end - start).toByteArray());
        start = end;
    }
    return lines;
}

QByteArray lineContent(QByteArrayView line)
{
    qsizetype end = 0;
    while (end < line.size() && line[end] != '\n' && line[end] != '\xFF' && line[end] != '\0')
        ++end;
    // Text mode turns CR LF into LF; the CR goes with it.
    if (end < line.size() && line[end] == '\n' && end > 0 && line[end - 1] == '\r')
        --end;
    QByteArray content = line.first(end).toByteArray();
    if (content.size() < 3)
        content.append(3 - content.size(), ' ');
    return content;
}

char sequenceDigit(quint64 lineNumber)
{
    return static_cast<char>('0' + lineNumber % 10);
}

QByteArray checksumDigits(QByteArrayView typeToEtx)
{
    // Added as signed bytes on the device; the low eight bits are the same either way.
    unsigned sum = 1;
    for (const char c : typeToEtx)
        sum += static_cast<unsigned char>(c);
    static constexpr char kHex[] = "0123456789ABCDEF";
    const char digits[2] = {kHex[(sum >> 4) & 0xF], kHex[sum & 0xF]};
    return QByteArray(digits, 2);
}

QByteArray build(QByteArrayView line, quint64 lineNumber)
{
    const QByteArray content = lineContent(line);
    QByteArray body;
    body.reserve(content.size() + 3);
    body.append(content.first(3));
    body.append(sequenceDigit(lineNumber));
    body.append(kStx);
    body.append(content.sliced(3));
    body.append(kEtx);

    QByteArray frame;
    frame.reserve(body.size() + 9);
    frame.append(kSyn).append(kSyn).append(kSoh);
    frame.append(body);
    frame.append(checksumDigits(body));
    frame.append("\r\n\x7f", 3).append('\0');
    return frame;
}

Received takeApart(QByteArrayView frame)
{
    Received r;
    qsizetype soh = -1;
    qsizetype etx = -1;
    for (qsizetype i = 0; i < frame.size(); ++i) {
        const char b = frame[i];
        if (b == kEtx) {
            etx = i;
            break;
        }
        if (b == kSoh) {
            soh = i;
            r.digit.reset();
            continue;
        }
        if (soh >= 0 && i == soh + 4) {
            r.digit = b;
            continue;
        }
        if (b == kSyn || b == kStx || b == kDel)
            continue;
        r.payload.append(b);
    }
    r.complete = etx >= 0;
    if (r.complete && soh >= 0 && etx + 2 < frame.size() && isHexDigit(frame[etx + 1])
        && isHexDigit(frame[etx + 2])) {
        const QByteArray expected = checksumDigits(frame.sliced(soh + 1, etx - soh));
        r.checksumMatches = hexValue(frame[etx + 1]) == hexValue(expected[0])
                            && hexValue(frame[etx + 2]) == hexValue(expected[1]);
    }
    return r;
}

bool isHeader(QByteArrayView payload)
{
    return payload.startsWith("TD");
}

QString headerNameField(QByteArrayView payload)
{
    return cp1252::decode(
        payload.sliced(std::min<qsizetype>(3, payload.size()))
            .first(std::min<qsizetype>(12, std::max<qsizetype>(0, payload.size() - 3))));
}

std::optional<QString> headerFileName(QByteArrayView payload)
{
    if (!isHeader(payload))
        return std::nullopt;
    const QString name = withoutTrailingBlanks(headerNameField(payload));
    if (!listname::isFileName(name))
        return std::nullopt;
    return name;
}

std::optional<QByteArray> Collector::next()
{
    const qsizetype eot = m_buffer.indexOf(kEot);
    const qsizetype etx = m_buffer.indexOf(kEtx);
    bool ends = eot >= 0 && (etx < 0 || eot < etx);
    if (ends && m_eot == Eot::BetweenFrames) {
        const qsizetype soh = m_buffer.indexOf(kSoh);
        ends = soh < 0 || eot < soh;
    }
    if (ends) {
        QByteArray step = m_buffer.first(eot + 1);
        m_buffer.remove(0, eot + 1);
        return step;
    }
    if (etx < 0 || m_buffer.size() < etx + 3)
        return std::nullopt;
    qsizetype end = etx + 3;
    while (end < m_buffer.size() && isTrailer(m_buffer[end]))
        ++end;
    const qsizetype soh = m_buffer.lastIndexOf(kSoh, etx);
    const qsizetype start = soh < 0 ? 0 : soh;
    QByteArray step = m_buffer.sliced(start, end - start);
    m_buffer.remove(0, end);
    return step;
}

bool isEndOfTransfer(QByteArrayView step)
{
    return step.contains(kEot) && !step.contains(kSoh);
}

QByteArray Collector::drain()
{
    QByteArray all = std::move(m_buffer);
    m_buffer.clear();
    return all;
}

QByteArray readStep(SerialLine& line, Collector& collector, int firstWaitMs)
{
    if (std::optional<QByteArray> held = collector.next())
        return *held;
    if (collector.isEmpty())
        collector.append(line.read(kMaxStep, firstWaitMs));
    while (!collector.isEmpty()) {
        if (std::optional<QByteArray> step = collector.next())
            return *step;
        if (collector.size() >= kMaxStep)
            break;
        const QByteArray more = line.read(kMaxStep - int(collector.size()), kStepSilenceMs);
        if (more.isEmpty())
            break;
        collector.append(more);
    }
    return collector.drain();
}

bool writeByte(SerialLine& line, char byte)
{
    return line.write(QByteArrayView(&byte, 1));
}

void discardPending(SerialLine& line)
{
    for (int i = 0; i < 64 && !line.read(kMaxStep, 0).isEmpty(); ++i) {
    }
}

void refuseFrame(SerialLine& line, Collector& collector, int maxNaks, int waitMs)
{
    for (int naks = 0; naks < maxNaks; ++naks) {
        if (!writeByte(line, kNak))
            return;
        collector.clear();
        const QByteArray step = readStep(line, collector, waitMs);
        if (step.isEmpty() || step.contains(kEot))
            return;
    }
}

} // namespace brovant::frames
