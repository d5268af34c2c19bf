#include "transfer/ActiveSyncChannel.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"

#include <QFile>

#include <optional>

namespace brovant {
namespace {

const QString kCaption = QStringLiteral("ActiveSync");

QString exportFolder()
{
    return QString::fromUtf16(ListFileExport::kFolder);
}

QString importFolder()
{
    return QString::fromUtf16(ListFileImport::kFolder);
}

QString marker(const QString& folder, const char16_t* name)
{
    return DeviceRoot::join(folder, QString::fromUtf16(name));
}

} // namespace

ActiveSyncChannel::ActiveSyncChannel(const DeviceRoot& root, MessageDialogs& dialogs, Clock& clock,
                                     KeepAwake* keepAwake)
    : m_root(root)
    , m_dialogs(dialogs)
    , m_clock(clock)
    , m_keepAwake(keepAwake)
{
}

bool ActiveSyncChannel::send()
{
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);
    const QString folder = exportFolder();

    m_dialogs.info(MessageDialogs::Show, kCaption, QStringLiteral("Warten auf Computeranfrage..."));
    createMarker(marker(folder, kSendRequest));
    bool done = waitFor(marker(folder, kStartMarker), kStartRounds);
    if (done) {
        m_dialogs.info(MessageDialogs::Show, kCaption, QStringLiteral("Datenübertragung läuft..."));
        done = waitFor(marker(folder, kEndMarker), kEndRounds);
    }
    // The PC has its copies, or it never will: the files and markers go either way.
    emptyFolder(folder);
    m_dialogs.info(MessageDialogs::Hide, QString());
    if (!done)
        showFailure();
    return done;
}

bool ActiveSyncChannel::receive()
{
    std::optional<KeepAwake::Scope> awake;
    if (m_keepAwake)
        awake.emplace(*m_keepAwake);
    const QString folder = importFolder();

    // Old files, and markers left from an earlier transfer, must not pass for this one.
    emptyFolder(folder);
    m_dialogs.info(MessageDialogs::Show, kCaption, QStringLiteral("Warten auf Datenempfang..."));
    createMarker(marker(folder, kReceiveRequest));
    bool done = waitFor(marker(folder, kStartMarker), kStartRounds);
    if (done) {
        m_dialogs.info(MessageDialogs::Show, QStringLiteral("Datenübertragung läuft..."));
        done = waitFor(marker(folder, kEndMarker), kEndRounds);
    }
    m_dialogs.info(MessageDialogs::Hide, QString());
    if (done) {
        // The list files stay for the import; "import.tmp" too, the import reads only list files.
        m_root.removeFile(marker(folder, kStartMarker));
        m_root.removeFile(marker(folder, kEndMarker));
    } else {
        emptyFolder(folder);
        showFailure();
    }
    return done;
}

bool ActiveSyncChannel::waitFor(const QString& devicePath, int rounds)
{
    const qint64 budgetMs = qint64(rounds) * kRoundMs;
    for (qint64 waitedMs = 0;; waitedMs += kStepMs) {
        if (m_root.isFile(devicePath))
            return true;
        if (waitedMs >= budgetMs)
            return false;
        m_clock.sleepMs(kStepMs);
    }
}

void ActiveSyncChannel::createMarker(const QString& devicePath)
{
    // Without the marker the PC may never start; the wait then ends in the time-out.
    QFile marker(m_root.hostPath(devicePath));
    if (!marker.open(QIODevice::WriteOnly | QIODevice::Truncate))
        m_dialogs.notice(QStringLiteral("Datei kann nicht erzeugt werden!"));
}

void ActiveSyncChannel::emptyFolder(const QString& deviceFolder)
{
    m_root.removeMatching(DeviceRoot::join(deviceFolder, QStringLiteral("*.*")));
}

void ActiveSyncChannel::showFailure()
{
    m_dialogs.notice(kCaption, QStringLiteral("Fehler bei der Übertragung!"));
}

} // namespace brovant
