#include "platform/logind/LogindInhibitor.h"
#include "tool/ToolCommands.h"
#include "tool/ToolReport.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
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
