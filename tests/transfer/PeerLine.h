// Serial line doubles for the transfer tests: a line whose far end is the test itself.
#pragma once

#include "platform/SerialLine.h"
#include "support/QtPrinting.h"
#include "transfer/SerialFrames.h"

#include <QList>

#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include <ostream>

namespace brovant::test {

// A list file's header line naming the file (its 12-character field).
inline QByteArray headerLine(const QByteArray& name12)
{
    return "TD0" + name12 + "Quendrax     0Brovant_V300_D\r\n";
}

// Every write of the device goes to `onWrite`, which answers by queueing bytes with send();
// reads hand the queue out (after `beforeRead` had its turn), at most `chunk` bytes at a time; an
// empty queue is silence.
class PeerLine final : public SerialLine {
public:
    std::function<void(const QByteArray&)> onWrite;
    std::function<void()> beforeRead;
    int chunk = std::numeric_limits<int>::max();

    void send(QByteArrayView bytes) { m_queue.append(bytes); }

    bool write(QByteArrayView bytes) override
    {
        m_written.append(bytes.toByteArray());
        if (onWrite)
            onWrite(bytes.toByteArray());
        return true;
    }

    QByteArray read(int maxBytes, int waitMs) override
    {
        m_waits.push_back(waitMs);
        if (beforeRead)
            beforeRead();
        const int n = std::min<qsizetype>({qsizetype(maxBytes), qsizetype(chunk), m_queue.size()});
        QByteArray out = m_queue.first(n);
        m_queue.remove(0, n);
        return out;
    }

    const QList<QByteArray>& written() const { return m_written; }
    QByteArray allWritten() const { return m_written.join(); }
    const std::vector<int>& waits() const { return m_waits; }

private:
    QByteArray m_queue;
    QList<QByteArray> m_written;
    std::vector<int> m_waits;
};

using FrameAnswer = std::function<QByteArray(int index, int attempt, const QByteArray& frame)>;

// Hands a line the test keeps to a channel that wants to own one.
class LineRef final : public SerialLine {
public:
    explicit LineRef(SerialLine& line)
        : m_line(line)
    {
    }
    bool write(QByteArrayView bytes) override { return m_line.write(bytes); }
    QByteArray read(int maxBytes, int waitMs) override { return m_line.read(maxBytes, waitMs); }

private:
    SerialLine& m_line;
};

// The office sending to the device: the first ENQ gets frame 1, an ACK the next frame, a NAK the
// same frame again, and EOT follows the last. `mangle` may spoil a frame on its way; `stopAfter`
// lines the peer goes silent. The device's answers are kept as "A" and "N".
class SendingPeer {
public:
    SendingPeer(PeerLine& line, const QList<QByteArray>& lines)
    {
        quint64 number = 1;
        for (const QByteArray& text : lines)
            m_frames.append(frames::build(text, number++));
        line.onWrite = [this, &line](const QByteArray& bytes) {
            const bool ack = bytes.contains(frames::kAck);
            if (!m_started) {
                m_started = bytes.contains(frames::kEnq);
                if (!m_started)
                    return;
            } else if (ack || bytes.contains(frames::kNak)) {
                m_answers += ack ? 'A' : 'N';
                m_index += ack;
                m_attempt = ack ? 0 : m_attempt + 1;
            } else {
                return;
            }
            if (m_index >= stopAfter)
                return;
            const QByteArray frame = m_frames.value(m_index, QByteArray(1, frames::kEot));
            line.send(mangle && m_index < m_frames.size() ? mangle(int(m_index), m_attempt, frame)
                                                          : frame);
        };
    }

    FrameAnswer mangle;
    int stopAfter = std::numeric_limits<int>::max();

    const QByteArray& answers() const { return m_answers; }

private:
    QList<QByteArray> m_frames;
    qsizetype m_index = 0;
    int m_attempt = 0;
    bool m_started = false;
    QByteArray m_answers;
};

} // namespace brovant::test
