#include "transfer/OfficeReceiveFuzzing.h"

#include "platform/Clock.h"
#include "transfer/SerialScript.h"

#include <QDir>
#include <QFile>

namespace brovant::test {

OfficeReceiveProbe::OfficeReceiveProbe(const QString& dir)
    : m_dir(dir)
{
    QFile victim(outside() + QStringLiteral("/victim.dat"));
    if (!QDir().mkpath(out()) || !QDir().mkpath(outside()) || !victim.open(QIODevice::WriteOnly)
        || victim.write("outside") != 7)
        m_setupError = QStringLiteral("cannot lay out the folders in ") + dir;
    victim.close();
    m_before = snapshot(m_dir, out());
}

OfficeReceiveProbe::Outcome OfficeReceiveProbe::receive(QByteArrayView input)
{
    Outcome outcome;
    if (!m_setupError.isEmpty())
        return outcome;
    // Every input starts from an output folder holding nothing but the two links.
    QDir folder(out());
    for (const QString& name :
         folder.entryList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        folder.remove(name);
    if (!QFile::link(outside() + QStringLiteral("/victim.dat"),
                     folder.filePath(QLatin1StringView(kLiveLink)))
        || !QFile::link(outside() + QStringLiteral("/absent.dat"),
                        folder.filePath(QLatin1StringView(kDanglingLink)))) {
        outcome.result.error = QStringLiteral("cannot plant the links");
        return outcome;
    }
    ScriptedLine line(input);
    OfficeTiming timing;
    timing.enquiryWaitMs = 5000; // fifty rounds of ENQ
    ManualClock clock;
    outcome.result = CableOffice(line, clock, timing).receive(out());
    outcome.written = line.written();
    outcome.offeredEot = line.offeredEot();
    return outcome;
}

QString OfficeReceiveProbe::verify(const Outcome& outcome) const
{
    if (!m_setupError.isEmpty())
        return m_setupError;
    const OfficeResult& result = outcome.result;
    if (snapshot(m_dir, out()) != m_before)
        return QStringLiteral("something outside the output folder changed");
    const QString answers =
        checkAnswers(outcome.written, QByteArrayView("\x05\x06\x15", 3), result.lines);
    if (!answers.isEmpty())
        return answers;
    if (const QString refused = checkRefused(result.refused); !refused.isEmpty())
        return refused;
    // Nothing is written before EOT, so a broken transfer leaves no file.
    const QString files =
        checkReceivedFiles(out(), result.ok ? result.files : QStringList(),
                           {QLatin1StringView(kLiveLink), QLatin1StringView(kDanglingLink)});
    if (!files.isEmpty())
        return files;
    if (result.ok && !outcome.offeredEot)
        return QStringLiteral("a transfer without EOT succeeded");
    if (result.ok != result.error.isEmpty())
        return QStringLiteral("result %1 with the error \"%2\"").arg(result.ok).arg(result.error);
    return {};
}

} // namespace brovant::test
