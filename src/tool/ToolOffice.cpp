#include "tool/ToolOffice.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/PosixSerialLine.h"
#include "platform/RootLocation.h"
#include "transfer/ActiveSyncOffice.h"
#include "transfer/CableChannel.h"
#include "transfer/CableOffice.h"
#include "transfer/SerialFrames.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

namespace brovant {
namespace {

const QString kPortOption = QStringLiteral("port");
const QString kOutOption = QStringLiteral("out");
const QString kBaudOption = QStringLiteral("baud");
const QString kDataBitsOption = QStringLiteral("data-bits");
const QString kStopBitsOption = QStringLiteral("stop-bits");
const QString kCollectOption = QStringLiteral("collect");
const QString kDeliverOption = QStringLiteral("deliver");
const QString kTimeoutOption = QStringLiteral("timeout");

int optionNumber(const QCommandLineParser& parser, const QString& option, int fallback, bool& ok)
{
    if (!parser.isSet(option))
        return fallback;
    bool valid = false;
    const int value = parser.value(option).toInt(&valid);
    ok = ok && valid;
    return value;
}

int activeSync(const QCommandLineParser& parser, int timeoutMs, QTextStream& out, QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    const bool collect = parser.isSet(kCollectOption);
    if (collect == parser.isSet(kDeliverOption) || (collect && args.size() != 1)
        || (!collect && args.size() < 2)) {
        err << "office-activesync: --collect DIR oder --deliver DATEI...\n";
        return 2;
    }
    const DeviceRoot root(resolveRootDir(parser.value(QStringLiteral("root"))));
    err << "Warten auf "
        << (collect ? ActiveSyncOffice::collectRequest() : ActiveSyncOffice::deliverRequest())
        << "...\n";
    err.flush();
    SystemClock clock;
    ActiveSyncOffice office(root, clock);
    const ActiveSyncOffice::Result result =
        collect ? office.collect(parser.value(kCollectOption), timeoutMs)
                : office.deliver(args.mid(1), timeoutMs);
    for (const QString& name : result.files)
        out << name << '\n';
    if (!result.ok) {
        err << result.error << '\n';
        return 1;
    }
    return 0;
}

int serialCommand(const QCommandLineParser& parser, bool receive, int timeoutMs, QTextStream& out,
                  QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    const QString command = args.first();
    if (!parser.isSet(kPortOption) || (receive && (!parser.isSet(kOutOption) || args.size() != 1))
        || (!receive && args.size() < 2)) {
        err << (receive ? "office-receive --port DEV --out DIR\n"
                        : "office-send --port DEV DATEI...\n");
        return 2;
    }
    bool ok = true;
    const int baud = optionNumber(parser, kBaudOption, CableSettings::baudRateAt(5), ok);
    const int dataBits = optionNumber(parser, kDataBitsOption, 8, ok);
    const int stopBits = optionNumber(parser, kStopBitsOption, 1, ok);
    if (!ok || (dataBits != 7 && dataBits != 8) || (stopBits != 1 && stopBits != 2)) {
        err << command << ": --baud, --data-bits 7|8, --stop-bits 1|2\n";
        return 2;
    }

    QList<std::pair<QString, QByteArray>> files;
    for (const QString& path : args.mid(1)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            err << "Datei kann nicht gelesen werden: " << path << '\n';
            return 1;
        }
        const QByteArray bytes = file.readAll();
        if (!frames::isHeader(bytes))
            err << "Warnung: " << path << " beginnt nicht mit einer Kopfzeile (TD...); "
                << "das Gerät verwirft ihre Zeilen\n";
        files.append({QFileInfo(path).fileName(), bytes});
    }

    const QString device = parser.value(kPortOption);
    QString reason;
    const auto line = PosixSerialLine::open(device, baud, dataBits, stopBits, &reason);
    if (!line) {
        err << "Schnittstelle " << device << " kann nicht geöffnet werden: " << reason << '\n';
        return 1;
    }
    OfficeTiming timing;
    timing.enquiryWaitMs = timeoutMs;
    err << (receive ? "Warten auf Daten vom Gerät...\n" : "Warten auf Anfrage des Geräts...\n");
    err.flush();
    SystemClock clock;
    CableOffice office(*line, clock, timing);
    const OfficeResult result =
        receive ? office.receive(parser.value(kOutOption)) : office.send(files);
    for (const auto& [name, stored] : result.keptBeside)
        err << "Datei \"" << name << "\" gibt es schon, gespeichert als \"" << stored << "\"\n";
    for (const QString& name : result.files)
        out << name << '\n';
    out << result.lines << (receive ? " Zeilen empfangen\n" : " Zeilen gesendet\n");
    if (!result.ok) {
        err << "Fehler bei der Übertragung! " << result.error << '\n';
        return 1;
    }
    return 0;
}

} // namespace

QString officeCommandsHelp()
{
    return QStringLiteral(
        "\n  office-receive --port DEV --out DIR"
        "\n                       office end of the device's cable send: its files into DIR"
        "\n  office-send --port DEV FILE..."
        "\n                       office end of the device's cable receive: FILE... to it"
        "\n                       (both: --baud N (38400), --data-bits 7|8, --stop-bits 1|2)"
        "\n  office-activesync (--collect DIR | --deliver FILE...)"
        "\n                       PC side of the ActiveSync handshake on the root's files"
        "\n                       (all three: --timeout S (60) for the device to start)");
}

void addOfficeOptions(QCommandLineParser& parser)
{
    parser.addOption({kPortOption,
                      QStringLiteral("office-receive/-send: serial device (/dev/ttyUSB0)."),
                      QStringLiteral("DEV")});
    parser.addOption({kOutOption, QStringLiteral("office-receive: folder for the files."),
                      QStringLiteral("DIR")});
    parser.addOption({kBaudOption, QStringLiteral("office-receive/-send: baud rate (38400)."),
                      QStringLiteral("N")});
    parser.addOption({kDataBitsOption, QStringLiteral("office-receive/-send: 7 or 8 (8)."),
                      QStringLiteral("N")});
    parser.addOption({kStopBitsOption, QStringLiteral("office-receive/-send: 1 or 2 (1)."),
                      QStringLiteral("N")});
    parser.addOption({kCollectOption,
                      QStringLiteral("office-activesync: copy the device's export files to DIR."),
                      QStringLiteral("DIR")});
    parser.addOption({kDeliverOption,
                      QStringLiteral("office-activesync: copy FILE... into the device's import.")});
    parser.addOption({kTimeoutOption,
                      QStringLiteral("office-*: seconds to wait for the device to start (60)."),
                      QStringLiteral("S")});
}

int runOfficeCommand(const QCommandLineParser& parser, QTextStream& out, QTextStream& err)
{
    const QStringList args = parser.positionalArguments();
    const QString command = args.value(0);
    const bool receive = command == QLatin1StringView("office-receive");
    const bool send = command == QLatin1StringView("office-send");
    const bool activesync = command == QLatin1StringView("office-activesync");
    if (!receive && !send && !activesync)
        return -1;
    bool ok = true;
    const int timeoutSeconds = optionNumber(parser, kTimeoutOption, 60, ok);
    if (!ok || timeoutSeconds < 0 || timeoutSeconds > 86400) {
        err << "Ungültige Zahl für --timeout: " << parser.value(kTimeoutOption) << '\n';
        return 2;
    }
    const int timeoutMs = timeoutSeconds * 1000;
    if (activesync)
        return activeSync(parser, timeoutMs, out, err);
    return serialCommand(parser, receive, timeoutMs, out, err);
}

} // namespace brovant
