#include "transfer/ActiveSyncOffice.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MediumFile.h"
#include "transfer/ActiveSyncChannel.h"
#include "transfer/ListFileExport.h"
#include "transfer/ListFileImport.h"
#include "transfer/ListName.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace brovant {
namespace {

QString marker(const QString& folder, const char16_t* name)
{
    return DeviceRoot::join(folder, QString::fromUtf16(name));
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

} // namespace

ActiveSyncOffice::ActiveSyncOffice(const DeviceRoot& root, Clock& clock)
    : m_root(root)
    , m_clock(clock)
{
}

QString ActiveSyncOffice::collectRequest()
{
    return marker(QString::fromUtf16(ListFileExport::kFolder), ActiveSyncChannel::kSendRequest);
}

QString ActiveSyncOffice::deliverRequest()
{
    return marker(QString::fromUtf16(ListFileImport::kFolder), ActiveSyncChannel::kReceiveRequest);
}

ActiveSyncOffice::Result ActiveSyncOffice::collect(const QString& targetDir, int waitMs)
{
    Result result;
    const QString folder = QString::fromUtf16(ListFileExport::kFolder);
    if (!begin(folder, collectRequest(), waitMs, result))
        return result;
    QDir().mkpath(targetDir);
    const QStringList names =
        m_root.find(DeviceRoot::join(folder, QStringLiteral("*.dat")), DeviceRoot::Kind::Files);
    for (const QString& name : names) {
        if (!listname::isFileName(name)) {
            result.error =
                QStringLiteral("Dateiname abgelehnt: \"%1\"").arg(listname::printable(name));
            return result;
        }
    }
    for (const QString& name : names) {
        if (!copyInto(m_root.hostPath(DeviceRoot::join(folder, name)),
                      QDir(targetDir).filePath(name))) {
            result.error = QStringLiteral("Datei kann nicht kopiert werden: %1").arg(name);
            return result;
        }
        result.files.append(name);
    }
    result.ok = answer(folder, ActiveSyncChannel::kEndMarker, result);
    return result;
}

ActiveSyncOffice::Result ActiveSyncOffice::deliver(const QStringList& files, int waitMs)
{
    Result result;
    const QString folder = QString::fromUtf16(ListFileImport::kFolder);
    if (!begin(folder, deliverRequest(), waitMs, result))
        return result;
    for (const QString& file : files) {
        const QString name = QFileInfo(file).fileName();
        if (!DeviceRoot::isSafeFileName(name)
            || !copyInto(file, m_root.hostPath(DeviceRoot::join(folder, name)))) {
            result.error = QStringLiteral("Datei kann nicht kopiert werden: %1").arg(file);
            return result;
        }
        result.files.append(name);
    }
    result.ok = answer(folder, ActiveSyncChannel::kEndMarker, result);
    return result;
}

bool ActiveSyncOffice::begin(const QString& folder, const QString& request, int waitMs,
                             Result& result)
{
    for (int waitedMs = 0; !m_root.isFile(request); waitedMs += ActiveSyncChannel::kStepMs) {
        if (waitedMs >= waitMs) {
            result.error = QStringLiteral("Keine Anfrage vom Gerät (%1)").arg(request);
            return false;
        }
        m_clock.sleepMs(ActiveSyncChannel::kStepMs);
    }
    return answer(folder, ActiveSyncChannel::kStartMarker, result);
}

bool ActiveSyncOffice::answer(const QString& folder, const char16_t* name, Result& result)
{
    QFile file(m_root.hostPath(marker(folder, name)));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return true;
    result.error =
        QStringLiteral("Datei kann nicht erzeugt werden: %1").arg(QString::fromUtf16(name));
    return false;
}

} // namespace brovant
