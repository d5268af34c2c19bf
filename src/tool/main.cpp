#include "platform/QtMessageLog.h"
#include "platform/logind/LogindInhibitor.h"
#include "tool/ToolCommands.h"
#include "tool/ToolReport.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    // stderr carries the tool's own messages only: Qt's go to the device root's log.
    brovant::qtlog::ensureRuntimeDir();
    brovant::qtlog::install();
    // A core application, or for the report command, which draws PDF pages, a Gui one offscreen.
    const auto app = brovant::makeToolApplication(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brovant-tool"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    brovant::LogindInhibitor inhibitor;
    const int status = brovant::runTool(QCoreApplication::arguments().mid(1), out, err, &inhibitor);
    out.flush();
    err.flush();
    return status;
}
