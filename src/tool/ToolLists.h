// Admin tool: "lists", every list of the device in table order, one tab-separated line each, with
// the texts the list selection screen shows.
#pragma once

#include <QString>
#include <QTextStream>

class QCommandLineParser;

namespace brovant {

class DeviceSession;

// Lines for the tool's command list.
QString listsCommandHelp();
// Runs the command the parser holds; returns the exit status, or -1 when it is not this one.
int runListsCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                    QTextStream& err);

} // namespace brovant
