// Admin tool: the list files without a transfer. "export-lists" writes the files of the marked
// lists into "\Export" (nothing is sent, no mark is cleared), "import-lists" reads what "\Import"
// holds as new lists, and "mark LISTE_NR" flips a list's mark as the list screen's "DÜ" does. The
// file format is ListFileExport's and ListFileImport's.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString transferCommandsHelp();
// Runs the command the parser holds; returns the exit status, or -1 when it is not one of these.
int runTransferCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                       QTextStream& err);

} // namespace brovant
