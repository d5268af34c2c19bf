// Admin tool: the office computer's end of the transfers. "office-receive" takes the device's
// cable send into a folder, "office-send" answers the device's cable receive with list files, and
// "office-activesync" plays the PC side of the marker-file handshake on a device root. The frames
// are SerialFrames'; the device's own end is CableChannel.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class SerialLine;

// Lines for the tool's command list.
QString officeCommandsHelp();
// The commands' options (--port, --out, --baud, --data-bits, --stop-bits, --collect, --deliver,
// --timeout).
void addOfficeOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not one of these.
// Needs no device session: the office end has none (office-activesync works on --root's files).
int runOfficeCommand(const QCommandLineParser& parser, QTextStream& out, QTextStream& err);

// The serial peer itself, on any line.
struct OfficeTiming {
    int enquiryWaitMs = 60000; // for the device to start
    int askEveryMs = 100;      // office-receive repeats its ENQ this often until a frame comes
    int answerWaitMs = 3000;   // for the device's ACK or NAK to a frame
    int frameWaitMs = 5000;    // for the device's next frame
};

struct OfficeResult {
    bool ok = false;
    QString error;       // why not, for the user
    quint64 lines = 0;   // accepted lines
    QStringList files;   // written (receive, as stored) or sent (send), in order
    QStringList refused; // a header name refused on receive: the transfer failed on it
    // Received files whose name `outDir` held already: (name sent, name stored beside it).
    QList<std::pair<QString, QString>> keptBeside;
};

// Asks with ENQ, checks every frame's checksum and sequence digit, answers ACK or NAK, and takes
// EOT only between frames. Each file is written as it arrives and named after EOT, beside any
// file of that name in `outDir`, so a broken transfer leaves no file behind. A header naming a
// file that no list can have (listname::isFileName) gets NAK and fails the transfer.
OfficeResult officeReceive(SerialLine& line, const QString& outDir, const OfficeTiming& timing);

// Waits for the device's SYN SYN ENQ, then sends the files' lines framed, repeating a frame on
// NAK or silence at most ten times, then EOT. `files` are (name, bytes) pairs.
OfficeResult officeSend(SerialLine& line, const QList<std::pair<QString, QByteArray>>& files,
                        const OfficeTiming& timing);

} // namespace brovant
