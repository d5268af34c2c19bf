// Data transfer: the bytes of the serial line protocol, shared by the device's end (CableChannel)
// and the office's (CableOffice). One text line of a list file travels as one frame:
//   SYN SYN SOH, record type (first three bytes of the line), sequence digit ('0' + running line
//   number % 10), STX, rest of the line, ETX, two upper-case hex checksum digits, CR LF DEL NUL.
// The checksum is the low eight bits of 1 (for SOH) plus every byte from the record type to ETX.
// Who waits, answers and writes files is the channels' business, not this file's.
//
// Line ends: a line is read as the device's text-mode read gives it, so the CR of a CR LF line
// end is NOT part of the payload (nor of the checksum); the receiving end writes CR LF after each
// payload. Both ends of this code base agree on that. A lone CR elsewhere in a line stays.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace brovant {
class SerialLine;
}

namespace brovant::frames {

inline constexpr char kSyn = 0x16;
inline constexpr char kSoh = 0x01;
inline constexpr char kStx = 0x02;
inline constexpr char kEtx = 0x03;
inline constexpr char kEot = 0x04;
inline constexpr char kEnq = 0x05;
inline constexpr char kAck = 0x06;
inline constexpr char kNak = 0x15;
inline constexpr char kDel = 0x7F;

// A line is read with a buffer of this many bytes; a longer line goes as several.
inline constexpr int kMaxLine = 1000;

// The lines of a file as the sender reads them: each ends after its LF, the last one may end
// without; a line longer than kMaxLine bytes is cut into pieces of that size.
QList<QByteArray> fileLines(QByteArrayView file);

// What of a read line travels: up to its LF, a 0xFF byte or a NUL byte (the line is a C string
// to the device), without the CR before the LF. A line shorter than its three-byte record type is
// padded with blanks to three, so the receiver finds the sequence digit where it looks for it.
QByteArray lineContent(QByteArrayView line);

// The frame of one read line with the running line number (from 1 across a whole transfer).
QByteArray build(QByteArrayView line, quint64 lineNumber);

// The sequence digit of a line number: '0' + number % 10.
char sequenceDigit(quint64 lineNumber);

// The two checksum digits over record type, digit, STX, payload and ETX (as they go on the line).
QByteArray checksumDigits(QByteArrayView typeToEtx);

// A received frame taken apart as the device does it: SYN, SOH, STX and DEL are dropped (the
// position of the last SOH remembered), the byte four places after SOH is the sequence digit,
// ETX ends the payload, every other byte is payload. The checksum digits are read but whether
// they count is the receiver's choice.
struct Received {
    std::optional<char> digit;    // none when there was no SOH or the frame ended before it
    QByteArray payload;           // record type and the rest of the line
    bool complete = false;        // ETX was there
    bool checksumMatches = false; // two hex digits after ETX equal to what arrived before
};
Received takeApart(QByteArrayView frame);

// A header line ("TD...") names its file in the twelve bytes at positions 4 to 15 (one-based).
bool isHeader(QByteArrayView payload);
// The named file as it may be created in the receiving folder: trailing blanks removed, and only
// a list file's name (listname::isFileName). None when the header names anything else.
std::optional<QString> headerFileName(QByteArrayView payload);
// The header's twelve bytes as text, for messages about a refused name.
QString headerNameField(QByteArrayView payload);

// Gathers what a line brings until one step of the receiver is complete: a whole frame (up to
// the two bytes after its ETX, with the CR LF DEL NUL after them) or an EOT. Noise in front of a
// frame's SOH is dropped; bytes after a step stay for the next.
class Collector {
public:
    // The device ends on any EOT that comes before an ETX. A receiver that checks checksums takes
    // EOT only between frames: one after a SOH belongs to that frame, which its checksum judges.
    enum class Eot { Anywhere, BetweenFrames };
    explicit Collector(Eot eot = Eot::Anywhere)
        : m_eot(eot)
    {
    }

    void append(QByteArrayView bytes) { m_buffer.append(bytes); }
    // The next complete step, if there is one.
    std::optional<QByteArray> next();
    // Whatever is held, complete or not (the line went silent in the middle of a frame).
    QByteArray drain();
    bool isEmpty() const { return m_buffer.isEmpty(); }
    qsizetype size() const { return m_buffer.size(); }
    void clear() { m_buffer.clear(); }

private:
    Eot m_eot;
    QByteArray m_buffer;
};

// A step that ends the transfer: an EOT with no frame begun before it.
bool isEndOfTransfer(QByteArrayView step);

// Silence that ends a step begun but not complete: the port's read constant, so a slow line or
// an adapter that hands bytes over in bursts does not cut frames.
inline constexpr int kStepSilenceMs = 100;
// More than this without a complete step is noise, not a frame.
inline constexpr int kMaxStep = 4 * kMaxLine;

// Reads one step from the line: waits up to firstWaitMs for its first byte, then goes on while
// bytes come (at most kStepSilenceMs apart) until the collector holds a complete step. Returns
// it; a step cut short by silence or overlong noise comes back as it is; empty when the line
// stayed silent. A complete step already held is returned without reading.
QByteArray readStep(SerialLine& line, Collector& collector, int firstWaitMs);

// One control byte on its own; false when the line took it not.
bool writeByte(SerialLine& line, char byte);

// After a bad frame the rest of it may still be on its way; it must not be taken for the repeat.
void discardPending(SerialLine& line);

// Answers NAK to a frame the receiver will not take, and to its repeats until the sender gives
// up (falls silent or sends EOT), at most maxNaks times: the sender fails at once rather than
// waiting for an answer that never comes.
void refuseFrame(SerialLine& line, Collector& collector, int maxNaks, int waitMs);

} // namespace brovant::frames
