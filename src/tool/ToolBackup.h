// Admin tool: the backup commands, through the program's own backup service:
// "backup [--auto|--manual]", "backups" (the list as the restore screen shows it) and
// "restore NAME".
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString backupCommandsHelp();
// The commands' options (--auto, --manual).
void addBackupOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not one of these.
int runBackupCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                     QTextStream& err);

} // namespace brovant
