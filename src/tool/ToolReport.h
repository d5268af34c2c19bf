// Admin tool: "report LISTE_NR (--listing|--classes|--test-page) OUT.pdf", a printout written as
// the screens write it: the listing ("Ausdruck"), the diameter-class table ("Sortiment") or the
// printer test page, with the device's settings. The only command that draws, so main() starts a
// Gui application, on the offscreen platform, for it alone.
#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

#include <memory>

class QCommandLineParser;
class QCoreApplication;

namespace brovant {

class DeviceSession;

QString reportCommandHelp();
void addReportOptions(QCommandLineParser& parser);
// Runs the command the parser holds; returns the exit status, or -1 when it is not this one.
int runReportCommand(DeviceSession& session, const QCommandLineParser& parser, QTextStream& out,
                     QTextStream& err);

// Whether a command line (without the program name) is the report command; read before any
// application object exists.
bool isReportCommand(const QStringList& arguments);
// The tool's application object: a Gui one on the offscreen platform for the report command, a
// core one for every other. `argc` and `argv` must outlive it.
std::unique_ptr<QCoreApplication> makeToolApplication(int& argc, char** argv);

} // namespace brovant
