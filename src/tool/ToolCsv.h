// Admin tool: "export-csv LISTE_NR" writes one list as "<LISTE_NR>.csv" into the printer folder,
// the spreadsheet file of the list screen's "CSV" key, and prints its device path. The file's
// layout is ListCsvExport's; the list file, the marking and the export count are left alone.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString csvCommandHelp();
// Runs the command the parser holds; returns the exit status, or -1 when it is not this one.
int runCsvCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                  QTextStream& err);

} // namespace brovant
