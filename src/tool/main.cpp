#include "tool/ToolCommands.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brovant-tool"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int status = brovant::runTool(QCoreApplication::arguments().mid(1), out, err);
    out.flush();
    err.flush();
    return status;
}
