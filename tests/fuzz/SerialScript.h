// Scripted far ends for the receivers of serial frames (the device's cable receive, the office
// peer's receive) and the checks that hold for any script, however hostile. Header only: both
// receivers' probes use it.
//
// A script is bytes: the first says how many bytes one read hands out at most (0: all there
// are); the rest is what the far end sends, in turns separated by kTurnBreak. The first turn is
// on the line from the start; each further one arrives when the receiver has answered (written
// ENQ, ACK or NAK). When the turns run out the line is silent.
#pragma once

#include "platform/SerialLine.h"
#include "transfer/CableChannel.h"
#include "transfer/ListName.h"
#include "transfer/SerialFrames.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace brovant::test {

inline constexpr QByteArrayView kTurnBreak = "\xFE\xFF";

class ScriptedLine final : public SerialLine {
public:
    explicit ScriptedLine(QByteArrayView input)
    {
        if (input.isEmpty())
            return;
        m_chunk = uchar(input[0]) == 0 ? kMaxStep : uchar(input[0]);
        QByteArrayView rest = input.sliced(1);
        for (qsizetype at = rest.indexOf(kTurnBreak); at >= 0; at = rest.indexOf(kTurnBreak)) {
            m_turns.append(rest.first(at).toByteArray());
            rest = rest.sliced(at + kTurnBreak.size());
        }
        m_turns.append(rest.toByteArray());
        m_queue = m_turns.value(0);
        m_next = 1;
    }

    bool write(QByteArrayView bytes) override
    {
        m_written.append(bytes);
        const bool answered = bytes.contains(frames::kEnq) || bytes.contains(frames::kAck)
                              || bytes.contains(frames::kNak);
        if (answered && m_next < m_turns.size())
            m_queue.append(m_turns[m_next++]);
        return true;
    }

    QByteArray read(int maxBytes, int) override
    {
        const qsizetype n = std::min<qsizetype>(
            {qsizetype(std::max(maxBytes, 0)), qsizetype(m_chunk), m_queue.size()});
        QByteArray out = m_queue.first(n);
        m_queue.remove(0, n);
        return out;
    }

    const QByteArray& written() const { return m_written; }
    // Whether the far end ever sent an EOT the receiver could have read.
    bool offeredEot() const
    {
        return std::any_of(m_turns.begin(), m_turns.end(),
                           [](const QByteArray& turn) { return turn.contains(frames::kEot); });
    }

private:
    static constexpr int kMaxStep = frames::kMaxStep;
    QList<QByteArray> m_turns;
    qsizetype m_next = 0;
    QByteArray m_queue;
    int m_chunk = kMaxStep;
    QByteArray m_written;
};

// Everything below `dir` but the files and links directly in `skipFilesIn` (a host path):
// folders, links with their targets, files with their bytes. Two equal snapshots: nothing else
// changed.
inline QMap<QString, QByteArray> snapshot(const QString& dir, const QString& skipFilesIn)
{
    QMap<QString, QByteArray> entries;
    const QString skip = QDir::cleanPath(skipFilesIn);
    QDirIterator it(dir, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        if (!info.isDir() || info.isSymLink()) {
            if (QDir::cleanPath(info.absolutePath()) == skip)
                continue;
        }
        if (info.isSymLink()) {
            entries[path] = "link " + QFile::encodeName(info.symLinkTarget());
        } else if (info.isDir()) {
            entries[path] = "folder";
        } else {
            QFile file(path);
            entries[path] = file.open(QIODevice::ReadOnly) ? file.readAll() : "<unreadable>";
        }
    }
    return entries;
}

// The receiver's answers: nothing but `allowed` bytes, one ACK for every accepted line, never
// more NAKs in a row than the protocol allows.
inline QString checkAnswers(QByteArrayView written, QByteArrayView allowed, quint64 lines)
{
    quint64 acks = 0;
    int naksInRow = 0;
    for (const char b : written) {
        if (!allowed.contains(b))
            return QStringLiteral("wrote byte 0x%1").arg(uchar(b), 2, 16, QChar(u'0'));
        if (b == frames::kAck) {
            ++acks;
            naksInRow = 0;
        } else if (b == frames::kNak && ++naksInRow > CableChannel::kMaxNaks) {
            return QStringLiteral("%1 NAKs in a row").arg(naksInRow);
        }
    }
    if (acks != lines)
        return QStringLiteral("%1 ACKs for %2 accepted lines").arg(acks).arg(lines);
    return {};
}

// Header names that were refused must be the ones a receiver may not create.
inline QString checkRefused(const QStringList& refused)
{
    for (QString name : refused) {
        while (name.endsWith(u' '))
            name.chop(1);
        if (listname::isFileName(name))
            return QStringLiteral("refused the plain name \"%1\"").arg(name);
    }
    return {};
}

// The plain files in `folder` (a host path) are exactly `reported`, none a link, each a list
// file's name, or one kept beside an earlier file of that name ("ONE_2.DAT"), and each begun by
// its header line and ended by CR LF. `planted` links may stay.
inline QString checkReceivedFiles(const QString& folder, const QStringList& reported,
                                  const QStringList& planted = {})
{
    QStringList found;
    for (const QFileInfo& info :
         QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name)) {
        if (info.isSymLink()) {
            if (!planted.contains(info.fileName()))
                return QStringLiteral("a link %1 appeared").arg(info.fileName());
            continue;
        }
        found << info.fileName();
        static const QRegularExpression number(QStringLiteral("_[0-9]+(?=\\.[^.]*$|$)"));
        if (!listname::isFileName(info.fileName())
            && !listname::isFileName(QString(info.fileName()).remove(number)))
            return QStringLiteral("wrote the file \"%1\"").arg(info.fileName());
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("cannot read %1").arg(info.fileName());
        const QByteArray bytes = file.readAll();
        if (!frames::isHeader(bytes) || !bytes.endsWith("\r\n"))
            return QStringLiteral("%1 is not header lines and CR LF").arg(info.fileName());
    }
    QStringList expected = reported;
    expected.sort();
    found.sort();
    if (found != expected)
        return QStringLiteral("files %1, reported %2").arg(found.join(u'/'), expected.join(u'/'));
    return {};
}

} // namespace brovant::test
