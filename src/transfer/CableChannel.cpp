#include "transfer/CableChannel.h"

#include "masterdata/SettingsStore.h"
#include "platform/Clock.h"
#include "platform/Cp1252.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"
#include "transfer/SerialFrames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>

namespace brovant {
namespace {

const QString kFailed = QStringLiteral("Fehler bei der Übertragung!");
const QString kWaitForComputer = QStringLiteral("Warten auf Computeranfrage...");
const QString kSending = QStringLiteral("Datenübertragung läuft...");
const QString kWaitForData = QStringLiteral("Warten auf Datenempfang...");
const QString kReceiving = QStringLiteral("Datenempfang...");

constexpr std::array<qint32, 8> kBaudRates = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

// Reads on while bytes keep coming, until `done` holds or maxBytes came.
QByteArray readBurst(SerialLine& line, int maxBytes, int firstWaitMs,
                     const std::function<bool(const QByteArray&)>& done)
{
    QByteArray bytes = line.read(maxBytes, firstWaitMs);
    while (!bytes.isEmpty() && !done(bytes) && bytes.size() < maxBytes) {
        const QByteArray more = line.read(maxBytes - int(bytes.size()), frames::kStepSilenceMs);
        if (more.isEmpty())
            break;
        bytes += more;
    }
    return bytes;
}

// The file a header line opens in the import folder.
class ImportWriter {
public:
    ImportWriter(const DeviceRoot& root, QString folder)
        : m_root(root)
        , m_folder(std::move(folder))
        , m_folderHost(QFileInfo(root.hostPath(m_folder)).absoluteFilePath())
    {
    }

    // Closes the current file and opens the one a header named; false when that cannot be
    // created.
    bool startFile(const QString& name, CableChannel::Summary& summary)
    {
        if (!finish())
            return false;
        const QString host = m_root.hostPath(DeviceRoot::join(m_folder, name));
        const QFileInfo info(host);
        // The name is one plain component; a link someone left under it is replaced, not
        // followed, so the write stays in the folder.
        if (info.absolutePath() != m_folderHost)
            return false;
        if (info.isSymLink() && !QFile::remove(host))
            return false;
        m_file = std::make_unique<QFile>(host);
        if (!m_file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            m_file.reset();
            return false;
        }
        if (!summary.files.contains(info.fileName()))
            summary.files.append(info.fileName());
        return true;
    }

    bool writeLine(QByteArrayView payload)
    {
        if (!m_file)
            return true; // before the first header
        return m_file->write(payload.data(), payload.size()) == payload.size()
               && m_file->write("\r\n", 2) == 2;
    }

    bool finish()
    {
        if (!m_file)
            return true;
        const bool ok = m_file->flush() && m_file->error() == QFileDevice::NoError;
        m_file->close();
        m_file.reset();
        return ok;
    }

private:
    const DeviceRoot& m_root;
    const QString m_folder;
    const QString m_folderHost;
    std::unique_ptr<QFile> m_file;
};

} // namespace

qint32 CableSettings::baudRateAt(int index)
{
    return index >= 0 && index < int(kBaudRates.size()) ? kBaudRates[index] : kBaudRates[5];
}

int CableSettings::dataBitsAt(int index)
{
    return index == 0 ? 7 : 8;
}

int CableSettings::stopBitsAt(int index)
{
    return index == 1 ? 2 : 1;
}

CableSettings CableSettings::fromStore(const SettingsStore& store)
{
    CableSettings s;
    s.port = store.readInt(Setting::DuePort);
    s.baudRate = baudRateAt(store.readInt(Setting::DueBaudrate));
    s.dataBits = dataBitsAt(store.readInt(Setting::DueWordlength));
    s.stopBits = stopBitsAt(store.readInt(Setting::DueStopbits));
    return s;
}

ModemSettings ModemSettings::fromStore(const SettingsStore& store, int selectedEntry)
{
    return {store.readText(Setting::ModemInit),
            store.readText(Setting::ModemNumber, selectedEntry)};
}

CableChannel::PortOpener CableChannel::settingsOpener(const SettingsStore& store,
                                                      SerialLineOpener open)
{
    return [&store, open = std::move(open)](int port) {
        const CableSettings settings = CableSettings::fromStore(store);
        return open(port, settings.baudRate, settings.dataBits, settings.stopBits);
    };
}

CableChannel::CableChannel(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                           PortOpener opener, int port)
    : m_root(root)
    , m_dialogs(dialogs)
    , m_clock(clock)
    , m_opener(std::move(opener))
    , m_port(port)
{
}

bool CableChannel::fail()
{
    m_dialogs.info(MessageDialogs::Hide, {});
    if (m_summary.refusedNames.isEmpty()) {
        m_dialogs.notice(kFailed);
        return false;
    }
    QString name = m_summary.refusedNames.last().trimmed();
    for (QChar& c : name) {
        if (!c.isPrint())
            c = u'?';
    }
    m_dialogs.notice(kFailed, QStringLiteral("Dateiname nicht zulässig:"),
                     QStringLiteral("\"%1\"").arg(name));
    return false;
}

void CableChannel::showLine(const QString& caption, quint64 line)
{
    m_dialogs.info(MessageDialogs::Show, caption, QStringLiteral("Zeile: %1").arg(line));
}

bool CableChannel::send()
{
    m_summary = {};
    const std::unique_ptr<SerialLine> line = m_opener ? m_opener(m_port) : nullptr;
    if (!line)
        return false;
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);

    m_dialogs.info(MessageDialogs::Show, kWaitForComputer);
    m_dialogs.progress(0);
    if (m_modem && !dial(*line))
        return fail();
    if (!sendFiles(*line))
        return fail();
    m_dialogs.info(MessageDialogs::Hide, {});
    return true;
}

bool CableChannel::dial(SerialLine& line)
{
    m_dialogs.info(MessageDialogs::Show, QStringLiteral("Initialisiere Modem..."));
    if (!line.write(cp1252::encode(QString(m_modem->init + u'\r'))))
        return false;
    const QByteArray answer = readBurst(line, 1000, readWaitMs(kModemAnswerMs),
                                        [](const QByteArray& b) { return b.contains("OK"); });
    if (!answer.contains("OK"))
        return false;

    m_dialogs.info(MessageDialogs::Show, m_modem->number + QStringLiteral(" ..."));
    if (!line.write(cp1252::encode(QString(QStringLiteral("ATDT") + m_modem->number + u'\r'))))
        return false;
    QByteArray heard;
    for (int round = 0; round < kConnectRounds; ++round) {
        heard += readBurst(line, 1000, readWaitMs(kConnectRoundMs),
                           [](const QByteArray& b) { return b.contains("CO"); });
        if (heard.contains("CO"))
            return true;
        heard = heard.right(1); // "C" and "O" may come in two reads
    }
    return false;
}

bool CableChannel::sendFiles(SerialLine& line)
{
    m_dialogs.info(MessageDialogs::Show, kWaitForComputer);
    bool asked = false;
    for (int round = 0; round < kEnqRounds && !asked; ++round)
        asked = line.read(1000, readWaitMs(kPollMs)).contains(frames::kEnq);
    if (!asked)
        return false;

    quint64 lineNumber = 1;
    const QString pattern = QString::fromUtf16(kExportPattern);
    const QString folder = pattern.left(pattern.lastIndexOf(u'\\'));
    for (const QString& name : m_root.find(pattern, DeviceRoot::Kind::Files)) {
        QFile file(m_root.hostPath(DeviceRoot::join(folder, name)));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        for (const QByteArray& text : frames::fileLines(file.readAll())) {
            if (!sendLine(line, frames::build(text, lineNumber)))
                return false;
            showLine(kSending, lineNumber);
            ++lineNumber;
            ++m_summary.lines;
        }
    }
    return frames::writeByte(line, frames::kEot);
}

bool CableChannel::sendLine(SerialLine& line, const QByteArray& frame)
{
    for (int repeat = 0; repeat <= kMaxRepeats; ++repeat) {
        if (!line.write(frame))
            return false;
        bool refused = false;
        for (int round = 0; round < kAnswerRounds && !refused; ++round) {
            const QByteArray answer = line.read(1000, readWaitMs(kPollMs));
            if (answer.contains(frames::kAck))
                return true;
            refused = answer.contains(frames::kNak);
        }
        if (!refused)
            return false; // no answer at all
    }
    return false;
}

bool CableChannel::receive()
{
    m_summary = {};
    const QString folder = QString::fromUtf16(kImportFolder);
    m_root.makeFolder(folder);
    m_root.removeMatching(DeviceRoot::join(folder, QStringLiteral("*.*")));
    const std::unique_ptr<SerialLine> line = m_opener ? m_opener(m_port) : nullptr;
    if (!line)
        return false;
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);
    if (!receiveFiles(*line))
        return fail();
    m_dialogs.info(MessageDialogs::Hide, {});
    return true;
}

bool CableChannel::receiveFiles(SerialLine& line)
{
    m_dialogs.info(MessageDialogs::Show, kWaitForData);
    frames::Collector collector;
    QByteArray step;
    for (int round = 0; round < kEnqRounds && step.isEmpty(); ++round) {
        if (!frames::writeByte(line, frames::kSyn) || !frames::writeByte(line, frames::kSyn)
            || !frames::writeByte(line, frames::kEnq))
            return false;
        step = frames::readStep(line, collector, readWaitMs(kPollMs));
        // A few bytes are an echo or noise, not a frame; a lone EOT is a transfer of nothing.
        const bool started = (step.size() > 8 && step[0] != '\0') || step.contains(frames::kEot);
        if (!started) {
            step.clear();
            collector.clear();
        }
    }

    m_dialogs.info(MessageDialogs::Show, kReceiving);
    ImportWriter writer(m_root, QString::fromUtf16(kImportFolder));
    quint64 lineNumber = 1;
    int expected = 1;
    int naks = 0;
    while (!step.isEmpty()) {
        if (step.contains(frames::kEot))
            return writer.finish();
        const frames::Received frame = frames::takeApart(step);
        char answer = frames::kAck;
        // A frame cut short has no end to its payload; it is asked for again like a wrong digit.
        if (frame.complete && frame.digit == char('0' + expected)) {
            ++lineNumber;
            naks = 0;
            expected = (expected + 1) % 10;
            if (frames::isHeader(frame.payload)) {
                const std::optional<QString> name = frames::headerFileName(frame.payload);
                // Taking the lines under no name would tell the office they arrived.
                if (!name) {
                    m_summary.refusedNames.append(frames::headerNameField(frame.payload));
                    frames::refuseFrame(line, collector, kMaxNaks, readWaitMs(kPollMs));
                    return false;
                }
                if (!writer.startFile(*name, m_summary))
                    return false;
            }
            if (!writer.writeLine(frame.payload))
                return false;
            ++m_summary.lines;
        } else {
            answer = frames::kNak;
            if (++naks > kMaxNaks)
                return false;
            m_clock.sleepMs(kNakPauseMs);
            frames::discardPending(line);
        }
        if (!frames::writeByte(line, answer))
            return false;
        collector.clear();
        step = frames::readStep(line, collector, readWaitMs(kPollMs));
        showLine(kReceiving, lineNumber - 1);
    }
    return false;
}

} // namespace brovant
