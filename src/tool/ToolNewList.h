// Admin tool: "new-list NAME [--region R] [--date D] [--factor N] [--field K=TEXT ...]", a list
// made through the list header screen's own checks and written only when all of them pass.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString newListCommandHelp();
// The command's options.
void addNewListOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not this one.
int runNewListCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                      QTextStream& err);

} // namespace brovant
