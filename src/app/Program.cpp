#include "app/Program.h"

#include "app/BrovantApp.h"
#include "app/DemoTour.h"
#include "app/SingleInstance.h"
#include "app/WakeUpWatcher.h"
#include "workflow/AppState.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/QtMessageLog.h"
#include "platform/RootLocation.h"
#include "platform/logind/LogindInhibitor.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

#ifndef BROVANT_VERSION
#define BROVANT_VERSION "0"
#endif

namespace brovant {
namespace {

bool wantsDemoTour(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]).startsWith("--demo-tour"))
            return true;
    }
    return false;
}

} // namespace

int runProgram(int argc, char** argv)
{
    // The demo tour takes its pictures without a display.
    if (wantsDemoTour(argc, argv) && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
        && qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // stderr carries the program's own messages only: Qt's go to the device root's log.
    qtlog::ensureRuntimeDir();
    qtlog::install();
    QApplication qapp(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Brovant"));
    QApplication::setApplicationVersion(QStringLiteral(BROVANT_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Brovanterfassung"));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption rootOption(QStringLiteral("root"),
                                        QStringLiteral("Device root folder (else BROVANT_ROOT)."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption tourOption(
        QStringLiteral("demo-tour"),
        QStringLiteral("Drive the program through a forester's work on a copy of the device root "
                       "and write a picture of every screen and message into DIR."),
        QStringLiteral("DIR"));
    // For measurements: end as soon as the main menu is shown.
    QCommandLineOption exitOption(QStringLiteral("exit-after-start"),
                                  QStringLiteral("End once the main menu is shown."));
    exitOption.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(rootOption);
    parser.addOption(tourOption);
    parser.addOption(exitOption);
    parser.process(qapp);

    const QString root = resolveRootDir(parser.value(rootOption));
    if (parser.isSet(tourOption))
        return runDemoTour(root, parser.value(tourOption));

    SingleInstance instance(root);
    if (!instance.acquire()) {
        // Another instance runs on this root: it comes to the front, this one ends.
        instance.notifyRunning();
        return 0;
    }
    // Only the instance that owns the root writes there (not a second start, not the tour, which
    // works on a copy).
    qtlog::setFile(DeviceRoot(root).hostPath(QString::fromUtf16(qtlog::kLogFile)));

    // Declared first: the session's keep-awake pair uses it until the very end.
    LogindInhibitor inhibitor;
    DeviceSession session(root);
    session.keepAwake().setInhibitor(&inhibitor);
    AppState state;
    SystemClock clock;
    BrovantApp app(session, state, clock);
    QObject::connect(&instance, &SingleInstance::messageReceived, &app, [&app](int parameter) {
        if (parameter == SingleInstance::kSecondStart)
            app.secondStart();
    });
    WakeUpWatcher wakeUp;
    QObject::connect(&wakeUp, &WakeUpWatcher::wokeUp, &app, &BrovantApp::secondStart);
    QObject::connect(&app.stack(), &ScreenStack::finished, &qapp, &QApplication::quit,
                     Qt::QueuedConnection);
    if (!app.start())
        return 1;
    if (parser.isSet(exitOption)) {
        QApplication::processEvents();
        app.shutdown();
        return 0;
    }
    const int status = qapp.exec();
    app.shutdown();
    return status;
}

} // namespace brovant
