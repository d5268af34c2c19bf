// Admin tool: the commands of brovant-tool, on the core alone. The command forms and their
// output are relied on by outside checks; add to them, never change them.
#pragma once

#include <QStringList>
#include <QTextStream>

namespace brovant {

class DeviceSession;
class SleepInhibitor;

// Runs one command line (arguments without the program name); returns the exit status. Long jobs
// hold `inhibitor` (may be null) while they run.
int runTool(const QStringList& arguments, QTextStream& out, QTextStream& err,
            SleepInhibitor* inhibitor = nullptr);

// Opens the device's database as start-up does (a foreign one is replaced after the notice);
// false, with the reason on `err`, when it cannot be opened.
bool openDatabaseOrReport(DeviceSession& session, QTextStream& err);

} // namespace brovant
