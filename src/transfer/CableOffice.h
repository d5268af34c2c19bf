// Data transfer: the office computer's end of the serial cable protocol, the peer of
// CableChannel. It takes the device's send into a folder and answers the device's receive with
// list files, in SerialFrames' frames. Opening the line and telling the user are the caller's.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

namespace brovant {

class Clock;
class SerialLine;

struct OfficeTiming {
    int enquiryWaitMs = 60000; // for the device to start
    int askEveryMs = 100;      // the receive repeats its ENQ this often until a frame comes
    int answerWaitMs = 3000;   // for the device's ACK or NAK to a frame
    int frameWaitMs = 5000;    // for the device's next frame
};

struct OfficeResult {
    bool ok = false;
    QString error;       // why not, for the user
    quint64 lines = 0;   // accepted lines
    QStringList files;   // written (receive, as stored) or sent (send), in order
    QStringList refused; // a header name refused on receive: the transfer failed on it
    // Received files whose name the folder held already: (name sent, name stored beside it).
    QList<std::pair<QString, QString>> keptBeside;
};

class CableOffice {
public:
    // Both must outlive the peer; the clock times the waits for the device's answers.
    CableOffice(SerialLine& line, Clock& clock, const OfficeTiming& timing);

    // Asks with ENQ, checks every frame's checksum and sequence digit, answers ACK or NAK, and
    // takes EOT only between frames. Each file is written as it arrives and named after EOT,
    // beside any file of that name in `outDir`, so a broken transfer leaves no file behind. A
    // header naming a file that no list can have (listname::isFileName) gets NAK and fails it.
    OfficeResult receive(const QString& outDir);

    // Waits for the device's SYN SYN ENQ, then sends the files' lines framed, repeating a frame
    // on NAK or silence at most CableChannel::kMaxRepeats times, then EOT. `files` are (name,
    // bytes) pairs.
    OfficeResult send(const QList<std::pair<QString, QByteArray>>& files);

private:
    // ACK, NAK, or 0 when the device said neither within the answer wait.
    char awaitAnswer();

    SerialLine& m_line;
    Clock& m_clock;
    OfficeTiming m_timing;
};

} // namespace brovant
