#include "tool/ToolOffice.h"

#include "platform/DeviceRoot.h"
#include "platform/MediumFile.h"
#include "platform/PosixSerialLine.h"
#include "platform/RootLocation.h"
#include "transfer/CableChannel.h"
#include "transfer/ListName.h"
#include "transfer/SerialFrames.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

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

// How often the marker files are looked for.
constexpr int kMarkerPollMs = 200;
// Reads that brought neither ACK nor NAK before a frame counts as unanswered.
constexpr int kMaxStrayReads = 64;

bool writeByte(SerialLine& line, char byte)
{
    return line.write(QByteArrayView(&byte, 1));
}

void discardPending(SerialLine& line)
{
    for (int i = 0; i < 64 && !line.read(frames::kMaxStep, 0).isEmpty(); ++i) {
    }
}

// ACK, NAK, or 0 when the device said neither within the wait.
char awaitAnswer(SerialLine& line, int waitMs)
{
    const QDeadlineTimer deadline(waitMs);
    for (int reads = 0; reads < kMaxStrayReads; ++reads) {
        const QByteArray bytes = line.read(1000, int(deadline.remainingTime()));
        if (bytes.contains(frames::kAck))
            return frames::kAck;
        if (bytes.contains(frames::kNak))
            return frames::kNak;
        // Stray SYN SYN ENQ of the device's polling are no answer.
        if (bytes.isEmpty() || deadline.hasExpired())
            return 0;
    }
    return 0;
}

int rounds(int totalMs, int everyMs)
{
    return std::max(1, totalMs / std::max(1, everyMs));
}

QString visible(const QString& field)
{
    QString shown;
    for (const QChar c : field)
        shown += c.unicode() < 0x20 || c.unicode() == 0x7F
                     ? QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QChar(u'0'))
                     : QString(c);
    return shown;
}

// Puts `from` under the name `to` unless something has that name; `taken` tells that case apart.
bool placeWithoutReplacing(const QString& from, const QString& to, bool& taken)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    taken = false;
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE)
        == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS) {
        taken = errno == EEXIST;
        return false;
    }
    // A folder that cannot refuse a replacement on rename (some network shares): a hard link.
    if (::link(source.constData(), target.constData()) == 0) {
        ::unlink(source.constData());
        return true;
    }
    taken = errno == EEXIST;
    return false;
}

// "ONE.DAT" kept beside an earlier one: "ONE_2.DAT"; the blank padding goes.
QString numberedName(const QString& name, int number)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    QString base = dot < 0 ? name : name.left(dot);
    while (base.endsWith(u' '))
        base.chop(1);
    return base + QStringLiteral("_%1").arg(number) + (dot < 0 ? QString() : name.mid(dot));
}

// The files of one receive. Each is written as its lines arrive, into a hidden file of its own
// in the output folder, and takes its name only after EOT: a broken transfer leaves no file, and
// nothing of a session is held in memory. A name the folder already holds, in any case, stays
// with its file; the new one is kept beside it under a numbered name.
class Arrivals {
public:
    static constexpr int kMaxNumber = 9999;

    explicit Arrivals(QString dir)
        : m_dir(std::move(dir))
    {
    }
    ~Arrivals()
    {
        closeCurrent();
        for (const Arrival& arrival : m_files) {
            if (!arrival.placed)
                QFile::remove(arrival.hidden);
        }
    }
    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;

    // Closes the file being written and begins the one a header named.
    bool start(const QString& name)
    {
        if (!closeCurrent())
            return false;
        // Created new, never through a link; with the folder's usual permissions.
        for (int attempt = 0; attempt < 100; ++attempt) {
            const QString hidden = QDir(m_dir).filePath(QStringLiteral(".empfang-%1-%2")
                                                            .arg(QCoreApplication::applicationPid())
                                                            .arg(++m_counter));
            m_current = std::make_unique<QFile>(hidden);
            if (m_current->open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
                m_files.push_back({name, hidden, false});
                return true;
            }
        }
        m_current.reset();
        return false;
    }

    // Lines before the first header go to no file.
    bool write(QByteArrayView payload)
    {
        if (!m_current)
            return true;
        return m_current->write(payload.data(), payload.size()) == payload.size()
               && m_current->write("\r\n", 2) == 2;
    }

    // After EOT: every file under its name, or beside the file that has it. A file that cannot
    // be named stays as it is, under its hidden name, in `error`.
    bool keep(OfficeResult& result)
    {
        bool ok = closeCurrent();
        const QDir dir(m_dir);
        QStringList taken =
            dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (Arrival& arrival : m_files) {
            QString stored = arrival.name;
            bool placed = false;
            for (int number = 2; number <= kMaxNumber; ++number) {
                bool exists = taken.contains(stored, Qt::CaseInsensitive);
                if (!exists
                    && placeWithoutReplacing(arrival.hidden, dir.filePath(stored), exists)) {
                    placed = true;
                    break;
                }
                if (!exists)
                    break;
                stored = numberedName(arrival.name, number);
            }
            // The device has its EOT answered: what came must not be lost.
            arrival.placed = true;
            if (!placed) {
                ok = false;
                result.error =
                    QStringLiteral("Datei %1 kann nicht abgelegt werden, sie bleibt als %2")
                        .arg(arrival.name, QFileInfo(arrival.hidden).fileName());
                continue;
            }
            taken.append(stored);
            result.files.append(stored);
            if (stored != arrival.name)
                result.keptBeside.append({arrival.name, stored});
        }
        return ok;
    }

private:
    struct Arrival {
        QString name;
        QString hidden;
        bool placed;
    };

    bool closeCurrent()
    {
        if (!m_current)
            return true;
        const bool ok = m_current->flush() && ::fdatasync(m_current->handle()) == 0;
        m_current->close();
        const bool closed = m_current->error() == QFileDevice::NoError;
        m_current.reset();
        return ok && closed;
    }

    QString m_dir;
    std::vector<Arrival> m_files;
    std::unique_ptr<QFile> m_current;
    int m_counter = 0;
};

int optionNumber(const QCommandLineParser& parser, const QString& option, int fallback, bool& ok)
{
    if (!parser.isSet(option))
        return fallback;
    bool valid = false;
    const int value = parser.value(option).toInt(&valid);
    ok = ok && valid;
    return value;
}

bool waitForFile(const DeviceRoot& root, const QString& devicePath, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!root.isFile(devicePath)) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(kMarkerPollMs);
    }
    return true;
}

bool createMarker(const DeviceRoot& root, const QString& devicePath)
{
    QFile marker(root.hostPath(devicePath));
    return marker.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

bool copyInto(const QString& from, const QString& to)
{
    QFile in(from);
    QSaveFile out(to);
    if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly))
        return false;
    const QByteArray bytes = in.readAll();
    return in.error() == QFileDevice::NoError && out.write(bytes) == bytes.size()
           && commitToMedium(out);
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
    const QString folder = collect ? QStringLiteral("\\Export") : QStringLiteral("\\Import");
    const QString request = DeviceRoot::join(folder, collect ? QStringLiteral("export.tmp")
                                                             : QStringLiteral("import.tmp"));
    err << "Warten auf " << request << "...\n";
    err.flush();
    if (!waitForFile(root, request, timeoutMs)) {
        err << "Keine Anfrage vom Gerät (" << request << ")\n";
        return 1;
    }
    if (!createMarker(root, DeviceRoot::join(folder, QStringLiteral("start.tmp")))) {
        err << "Datei kann nicht erzeugt werden: start.tmp\n";
        return 1;
    }

    if (collect) {
        const QString target = parser.value(kCollectOption);
        QDir().mkpath(target);
        const QStringList names =
            root.find(DeviceRoot::join(folder, QStringLiteral("*.dat")), DeviceRoot::Kind::Files);
        // Without end.tmp the device's send fails and its lists stay marked.
        for (const QString& name : names) {
            if (!listname::isFileName(name)) {
                err << "Dateiname abgelehnt: \"" << visible(name) << "\"\n";
                return 1;
            }
        }
        for (const QString& name : names) {
            if (!copyInto(root.hostPath(DeviceRoot::join(folder, name)),
                          QDir(target).filePath(name))) {
                err << "Datei kann nicht kopiert werden: " << name << '\n';
                return 1;
            }
            out << name << '\n';
        }
    } else {
        for (const QString& file : args.mid(1)) {
            const QString name = QFileInfo(file).fileName();
            if (!DeviceRoot::isSafeFileName(name)
                || !copyInto(file, root.hostPath(DeviceRoot::join(folder, name)))) {
                err << "Datei kann nicht kopiert werden: " << file << '\n';
                return 1;
            }
            out << name << '\n';
        }
    }
    if (!createMarker(root, DeviceRoot::join(folder, QStringLiteral("end.tmp")))) {
        err << "Datei kann nicht erzeugt werden: end.tmp\n";
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
    const OfficeResult result = receive ? officeReceive(*line, parser.value(kOutOption), timing)
                                        : officeSend(*line, files, timing);
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

OfficeResult officeReceive(SerialLine& line, const QString& outDir, const OfficeTiming& timing)
{
    OfficeResult result;
    frames::Collector collector(frames::Collector::Eot::BetweenFrames);
    QByteArray step;
    for (int round = 0; round < rounds(timing.enquiryWaitMs, timing.askEveryMs) && step.isEmpty();
         ++round) {
        if (!writeByte(line, frames::kEnq)) {
            result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
            return result;
        }
        step = frames::readStep(line, collector, timing.askEveryMs);
        if (!step.contains(frames::kSoh) && !step.contains(frames::kEot)) {
            step.clear();
            collector.clear();
        }
    }
    if (step.isEmpty()) {
        result.error = QStringLiteral("Keine Daten vom Gerät");
        return result;
    }
    if (!QDir().mkpath(outDir)) {
        result.error = QStringLiteral("Ordner kann nicht angelegt werden: %1").arg(outDir);
        return result;
    }

    Arrivals arrivals(outDir);
    int expected = 1;
    int naks = 0;
    while (!frames::isEndOfTransfer(step)) {
        if (step.isEmpty()) {
            result.error =
                QStringLiteral("Das Gerät sendet nicht mehr (Zeile %1)").arg(result.lines + 1);
            return result;
        }
        const frames::Received frame = frames::takeApart(step);
        char answer = frames::kAck;
        if (frame.complete && frame.checksumMatches && frame.digit == char('0' + expected)) {
            if (frames::isHeader(frame.payload)) {
                const std::optional<QString> name = frames::headerFileName(frame.payload);
                // Taking the lines under no name would tell the device they arrived.
                if (!name) {
                    const QString field = frames::headerNameField(frame.payload);
                    result.refused.append(field);
                    result.error =
                        QStringLiteral("Dateiname abgelehnt: \"%1\"").arg(visible(field));
                    frames::refuseFrame(line, collector, CableChannel::kMaxNaks,
                                        timing.frameWaitMs);
                    return result;
                }
                if (!arrivals.start(*name)) {
                    result.error = QStringLiteral("Datei kann nicht erzeugt werden: %1").arg(*name);
                    return result;
                }
            }
            if (!arrivals.write(frame.payload)) {
                result.error = QStringLiteral("Datei kann nicht geschrieben werden (Zeile %1)")
                                   .arg(result.lines + 1);
                return result;
            }
            expected = (expected + 1) % 10;
            naks = 0;
            ++result.lines;
        } else {
            answer = frames::kNak;
            if (++naks > CableChannel::kMaxNaks) {
                result.error =
                    QStringLiteral("Zeile %1 kommt nicht fehlerfrei an").arg(result.lines + 1);
                return result;
            }
            discardPending(line);
        }
        if (!writeByte(line, answer)) {
            result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
            return result;
        }
        collector.clear();
        step = frames::readStep(line, collector, timing.frameWaitMs);
    }

    result.ok = arrivals.keep(result);
    return result;
}

OfficeResult officeSend(SerialLine& line, const QList<std::pair<QString, QByteArray>>& files,
                        const OfficeTiming& timing)
{
    OfficeResult result;
    bool asked = false;
    for (int round = 0; round < rounds(timing.enquiryWaitMs, timing.askEveryMs) && !asked; ++round)
        asked = line.read(1000, timing.askEveryMs).contains(frames::kEnq);
    if (!asked) {
        result.error = QStringLiteral("Keine Anfrage vom Gerät");
        return result;
    }

    quint64 lineNumber = 1;
    for (const auto& [name, bytes] : files) {
        for (const QByteArray& text : frames::fileLines(bytes)) {
            const QByteArray frame = frames::build(text, lineNumber);
            bool accepted = false;
            for (int repeat = 0; repeat <= CableChannel::kMaxRepeats && !accepted; ++repeat) {
                if (!line.write(frame)) {
                    result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
                    return result;
                }
                accepted = awaitAnswer(line, timing.answerWaitMs) == frames::kAck;
            }
            if (!accepted) {
                result.error =
                    QStringLiteral("Zeile %1 (%2) nicht angenommen").arg(lineNumber).arg(name);
                return result;
            }
            ++lineNumber;
            ++result.lines;
        }
        result.files.append(name);
    }
    if (!writeByte(line, frames::kEot)) {
        result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
        return result;
    }
    result.ok = true;
    return result;
}

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
