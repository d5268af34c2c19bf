// Admin tool: the office computer's end of the transfers. "office-receive" takes the device's
// cable send into a folder, "office-send" answers the device's cable receive with list files, and
// "office-activesync" plays the PC side of the marker-file handshake on a device root. Only the
// command line is here; the protocols' office ends are CableOffice and ActiveSyncOffice.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

// Lines for the tool's command list.
QString officeCommandsHelp();
// The commands' options (--port, --out, --baud, --data-bits, --stop-bits, --collect, --deliver,
// --timeout).
void addOfficeOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not one of these.
// Needs no device session: the office end has none (office-activesync works on --root's files).
int runOfficeCommand(const QCommandLineParser& parser, QTextStream& out, QTextStream& err);

} // namespace brovant
