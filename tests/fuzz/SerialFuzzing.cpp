// The receivers of serial frames, the device's cable receive and the office peer's
// (CableOffice, behind brovant-tool office-receive), fed by a scripted far end, and what must hold
// for any script, however hostile: nothing written outside the receiving folder, nor through the
// links left in it; there only plain-named files (or one kept beside its namesake, "ONE_2.DAT"),
// each begun by its header line and ended by CR LF, exactly those reported; only names a receiver
// may not create refused; one ACK per accepted line, never more NAKs in a row than the protocol
// allows; success only after an EOT was offered; and the failure said once.
//
// A script is bytes: the first says how many bytes one read hands out at most (0: all there
// are); the rest is what the far end sends, in turns separated by FE FF. The first turn is on the
// line from the start; each further one arrives when the receiver has answered (written ENQ, ACK
// or NAK). When the turns run out the line is silent.
// Outcome: "ok" or "failed", the files, and how many names were refused; the office's error as
// the detail.
#include "fuzz/FuzzTargets.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "transfer/CableChannel.h"
#include "transfer/CableOffice.h"
#include "transfer/ListName.h"
#include "transfer/PeerLine.h"
#include "transfer/SerialFrames.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace brovant::test {
namespace {

// Plays a script's far end on `line`; whether it ever sent an EOT the receiver could have read.
bool playScript(PeerLine& line, QByteArrayView input)
{
    if (input.isEmpty())
        return false;
    line.chunk = uchar(input[0]) == 0 ? frames::kMaxStep : uchar(input[0]);
    QList<QByteArray> turns;
    QByteArrayView rest = input.sliced(1);
    for (qsizetype at = rest.indexOf("\xFE\xFF"); at >= 0; at = rest.indexOf("\xFE\xFF")) {
        turns.append(rest.first(at).toByteArray());
        rest = rest.sliced(at + 2);
    }
    turns.append(rest.toByteArray());
    line.send(turns[0]);
    line.onWrite = [&line, turns, next = qsizetype(1)](const QByteArray& bytes) mutable {
        const bool answered = bytes.contains(frames::kEnq) || bytes.contains(frames::kAck)
                              || bytes.contains(frames::kNak);
        if (answered && next < turns.size())
            line.send(turns[next++]);
    };
    return std::any_of(turns.begin(), turns.end(),
                       [](const QByteArray& turn) { return turn.contains(frames::kEot); });
}

// Everything below `dir` but the files and links directly in `skipFilesIn`: folders, links with
// their targets, files with their bytes.
QMap<QString, QByteArray> snapshot(const QString& dir, const QString& skipFilesIn)
{
    QMap<QString, QByteArray> entries;
    QDirIterator it(dir, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        if (info.isSymLink())
            entries[info.filePath()] = "link " + QFile::encodeName(info.symLinkTarget());
        else if (info.isDir())
            entries[info.filePath()] = "folder";
        else
            entries[info.filePath()] = readFile(info.filePath());
        if ((!info.isDir() || info.isSymLink())
            && QDir::cleanPath(info.absolutePath()) == skipFilesIn)
            entries.remove(info.filePath());
    }
    return entries;
}

struct Received {
    bool ok = false;
    quint64 lines = 0;
    QStringList files; // in the folder after the receive
    QStringList reportedFiles;
    QStringList refused;
    QString failure; // what the receiver itself got wrong
    QString detail;
};

using Receive = Received (*)(SerialLine& line, const DeviceRoot& root);

// A device root below `dir` with files beside "\Import" and a file outside the root; before
// every input "\Import" holds nothing but a link to that file and one to a file that does not
// exist (a receive must replace them, never write through them).
class ReceiveProbe {
public:
    ReceiveProbe(const QString& dir, QByteArrayView answers, Receive receive)
        : m_dir(dir)
        , m_root(dir + QStringLiteral("/root"))
        , m_import(QDir::cleanPath(dir + QStringLiteral("/root/Import")))
        , m_answers(answers)
        , m_receive(receive)
    {
        for (const char* folder : {"/root/Import", "/root/Export", "/root/Brovant", "/outside"})
            QDir().mkpath(dir + QLatin1StringView(folder));
        if (!writeFile(dir + QStringLiteral("/root/Brovant/Brovant.cdb"), "database")
            || !writeFile(dir + QStringLiteral("/root/Export/4711    .DAT"), "TD04711    .DAT\r\n")
            || !writeFile(dir + QStringLiteral("/root/import.dat"), "beside the folder")
            || !writeFile(dir + QStringLiteral("/outside/victim.dat"), "outside the root"))
            m_setupError = QStringLiteral("cannot lay out the device root in ") + dir;
        m_before = snapshot(m_dir, m_import);
    }

    ProbeResult check(QByteArrayView input)
    {
        if (!m_setupError.isEmpty())
            return {m_setupError};
        QDir folder(m_import);
        for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System))
            folder.remove(name);
        if (!QFile::link(m_dir + QStringLiteral("/outside/victim.dat"), m_import + "/LINK.DAT")
            || !QFile::link(m_dir + QStringLiteral("/outside/absent.dat"),
                            m_import + "/DANGLE.DAT"))
            return {QStringLiteral("cannot plant the links")};
        PeerLine line;
        const bool offeredEot = playScript(line, input);
        Received r = m_receive(line, m_root);
        QString outcome = QLatin1StringView(r.ok ? "ok" : "failed");
        if (!r.reportedFiles.isEmpty())
            outcome += u' ' + r.reportedFiles.join(u'|');
        if (!r.refused.isEmpty())
            outcome += QStringLiteral(", %1 refused").arg(r.refused.size());
        if (r.failure.isEmpty())
            r.failure = verify(r, line.allWritten(), offeredEot);
        return {r.failure, outcome, r.detail};
    }

private:
    QString verify(const Received& r, const QByteArray& written, bool offeredEot) const
    {
        if (snapshot(m_dir, m_import) != m_before)
            return QStringLiteral("something outside the receiving folder changed");
        if (QFile::exists(m_dir + QStringLiteral("/outside/absent.dat")))
            return QStringLiteral("wrote through the dangling link");
        quint64 acks = 0;
        int naksInRow = 0;
        for (const char b : written) {
            if (!m_answers.contains(b))
                return QStringLiteral("wrote byte 0x%1").arg(uchar(b), 2, 16, QChar(u'0'));
            if (b == frames::kAck) {
                ++acks;
                naksInRow = 0;
            } else if (b == frames::kNak && ++naksInRow > CableChannel::kMaxNaks) {
                return QStringLiteral("%1 NAKs in a row").arg(naksInRow);
            }
        }
        if (acks != r.lines)
            return QStringLiteral("%1 ACKs for %2 accepted lines").arg(acks).arg(r.lines);
        for (const QString& name : r.refused) {
            if (listname::isFileName(QString(name).remove(QRegularExpression(" +$"))))
                return QStringLiteral("refused the plain name \"%1\"").arg(name);
        }
        QStringList found;
        for (const QFileInfo& info :
             QDir(m_import).entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name)) {
            if (info.isSymLink()) {
                if (info.fileName() != QStringLiteral("LINK.DAT")
                    && info.fileName() != QStringLiteral("DANGLE.DAT"))
                    return QStringLiteral("a link %1 appeared").arg(info.fileName());
                continue;
            }
            found << info.fileName();
            static const QRegularExpression number(QStringLiteral("_[0-9]+(?=\\.[^.]*$|$)"));
            if (!listname::isFileName(info.fileName())
                && !listname::isFileName(QString(info.fileName()).remove(number)))
                return QStringLiteral("wrote the file \"%1\"").arg(info.fileName());
            const QByteArray bytes = readFile(info.filePath());
            if (!frames::isHeader(bytes) || !bytes.endsWith("\r\n"))
                return QStringLiteral("%1 is not header lines and CR LF").arg(info.fileName());
        }
        QStringList expected = r.files;
        expected.sort();
        if (found != expected)
            return QStringLiteral("files %1, reported %2")
                .arg(found.join(u'/'), expected.join(u'/'));
        if (r.ok && !offeredEot)
            return QStringLiteral("a transfer without EOT succeeded");
        return {};
    }

    QString m_dir;
    DeviceRoot m_root;
    QString m_import;
    QByteArrayView m_answers;
    Receive m_receive;
    QMap<QString, QByteArray> m_before;
    QString m_setupError;
};

Received deviceReceive(SerialLine& line, const DeviceRoot& root)
{
    ScriptedDialogs dialogs;
    ManualClock clock;
    CableChannel channel(
        root, dialogs, clock, [&line](int) { return std::make_unique<LineRef>(line); }, 1);
    Received r;
    r.ok = channel.receive();
    r.lines = channel.summary().lines;
    r.files = r.reportedFiles = channel.summary().files;
    r.refused = channel.summary().refusedNames;
    // A refused name fails the receive with the name in the notice.
    const QString failed = r.refused.isEmpty()
                               ? QStringLiteral("Fehler bei der Übertragung!||")
                               : QStringLiteral("Fehler bei der Übertragung!|Dateiname nicht "
                                                "zulässig:|");
    const QStringList notices = dialogs.asked();
    if (notices.size() != (r.ok ? 0 : 1) || (!r.ok && !notices.first().startsWith(failed)))
        r.failure = QStringLiteral("messages ") + notices.join(u'/');
    return r;
}

Received officeReceive(SerialLine& line, const DeviceRoot& root)
{
    OfficeTiming timing;
    timing.enquiryWaitMs = 5000; // fifty rounds of ENQ
    ManualClock clock;
    const OfficeResult result =
        CableOffice(line, clock, timing).receive(root.hostPath(QStringLiteral("\\Import")));
    Received r{result.ok, result.lines, {}, result.files, result.refused, {}, result.error};
    // Nothing is written before EOT, so a broken transfer leaves no file.
    if (result.ok)
        r.files = result.files;
    if (result.ok != result.error.isEmpty())
        r.failure =
            QStringLiteral("result %1 with the error \"%2\"").arg(result.ok).arg(result.error);
    return r;
}

} // namespace

Probe serialReceiveProbe(const QString& dir)
{
    return probeOf(
        std::make_shared<ReceiveProbe>(dir, QByteArrayView("\x16\x05\x06\x15", 4), deviceReceive));
}

Probe officeReceiveProbe(const QString& dir)
{
    return probeOf(
        std::make_shared<ReceiveProbe>(dir, QByteArrayView("\x05\x06\x15", 3), officeReceive));
}

} // namespace brovant::test
