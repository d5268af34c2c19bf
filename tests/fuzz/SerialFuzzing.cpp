#include "fuzz/SerialFuzzing.h"

#include "fuzz/SerialScript.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "transfer/PeerLine.h"

#include <QDir>
#include <QFile>

namespace brovant::test {
namespace {

const QString kFailed = QStringLiteral("Fehler bei der Übertragung!||");

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write(bytes) == bytes.size();
}

} // namespace

SerialReceiveProbe::SerialReceiveProbe(const QString& dir)
    : m_dir(dir)
    , m_root(dir + QStringLiteral("/root"))
{
    const bool laidOut =
        QDir().mkpath(m_dir + QStringLiteral("/root/Import"))
        && QDir().mkpath(m_dir + QStringLiteral("/root/Export"))
        && QDir().mkpath(m_dir + QStringLiteral("/root/Brovant")) && QDir().mkpath(outside())
        && writeFile(m_dir + QStringLiteral("/root/Brovant/Brovant.cdb"), "database")
        && writeFile(m_dir + QStringLiteral("/root/Export/4711    .DAT"), "TD04711    .DAT\r\n")
        && writeFile(m_dir + QStringLiteral("/root/import.dat"), "beside the folder")
        && writeFile(outside() + QStringLiteral("/victim.dat"), "outside the root");
    m_import = m_root.hostPath(QStringLiteral("\\Import"));
    if (!laidOut)
        m_setupError = QStringLiteral("cannot lay out the device root in ") + dir;
    m_before = snapshot(m_dir, m_import);
}

QString SerialReceiveProbe::plantLinks() const
{
    const QString live = m_import + u'/' + QLatin1StringView(kLiveLink);
    const QString dangling = m_import + u'/' + QLatin1StringView(kDanglingLink);
    QFile::remove(live);
    QFile::remove(dangling);
    if (!QFile::link(outside() + QStringLiteral("/victim.dat"), live)
        || !QFile::link(outside() + QStringLiteral("/absent.dat"), dangling))
        return QStringLiteral("cannot plant the links in ") + m_import;
    return {};
}

SerialReceiveProbe::Outcome SerialReceiveProbe::receive(QByteArrayView input)
{
    Outcome outcome;
    if (!m_setupError.isEmpty() || !plantLinks().isEmpty())
        return outcome;
    ScriptedLine line(input);
    ScriptedDialogs dialogs;
    ManualClock clock;
    CableChannel channel(
        m_root, dialogs, clock,
        [&line](int) -> std::unique_ptr<SerialLine> { return std::make_unique<LineRef>(line); }, 1);
    outcome.ok = channel.receive();
    outcome.summary = channel.summary();
    outcome.written = line.written();
    outcome.offeredEot = line.offeredEot();
    outcome.notices = dialogs.asked();
    return outcome;
}

QString SerialReceiveProbe::verify(const Outcome& outcome) const
{
    if (!m_setupError.isEmpty())
        return m_setupError;
    if (snapshot(m_dir, m_import) != m_before)
        return QStringLiteral("something outside \\Import changed");
    if (QFile::exists(outside() + QStringLiteral("/absent.dat")))
        return QStringLiteral("wrote through the dangling link");
    const QString answers =
        checkAnswers(outcome.written, QByteArrayView("\x16\x05\x06\x15", 4), outcome.summary.lines);
    if (!answers.isEmpty())
        return answers;
    if (const QString refused = checkRefused(outcome.summary.refusedNames); !refused.isEmpty())
        return refused;
    const QString files =
        checkReceivedFiles(m_import, outcome.summary.files,
                           {QLatin1StringView(kLiveLink), QLatin1StringView(kDanglingLink)});
    if (!files.isEmpty())
        return files;
    if (outcome.ok && !outcome.offeredEot)
        return QStringLiteral("a transfer without EOT succeeded");
    // A refused name fails the receive with the name in the notice.
    const QString failed =
        outcome.summary.refusedNames.isEmpty()
            ? kFailed
            : QStringLiteral("Fehler bei der Übertragung!|Dateiname nicht zulässig:|");
    if (outcome.notices.size() != (outcome.ok ? 0 : 1)
        || (!outcome.ok && !outcome.notices.first().startsWith(failed)))
        return QStringLiteral("messages ") + outcome.notices.join(u'/');
    return {};
}

} // namespace brovant::test
