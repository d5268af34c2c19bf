#include "office/OfficeCommands.h"
#include "platform/QtMessageLog.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <csignal>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

int main(int argc, char** argv)
{
    // The printed listing is drawn with Qt Gui; the office has no screen of its own.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    brovant::qtlog::ensureRuntimeDir();
    QGuiApplication app(argc, argv);
    // SIGTERM and SIGINT end "serve" through the event loop, so the store closes cleanly.
    if (::pipe(signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    QTextStream out(stdout), err(stderr), in(stdin);
    const int code = brovant::office::runOfficeCommand(app.arguments().mid(1), out, err, in);
    out.flush();
    err.flush();
    return code;
}
