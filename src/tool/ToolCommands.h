// Admin tool: the commands of brovant-tool, on the core alone. The command forms and their
// output are relied on by outside checks; add to them, never change them.
#pragma once

#include <QStringList>
#include <QTextStream>

namespace brovant {

// Runs one command line (arguments without the program name); returns the exit status.
int runTool(const QStringList& arguments, QTextStream& out, QTextStream& err);

class DeviceSession;

// Opens the device's database as start-up does (a foreign one is replaced after the notice);
// false, with the reason on `err`, when it cannot be opened.
bool openDatabaseOrReport(DeviceSession& session, QTextStream& err);

} // namespace brovant
