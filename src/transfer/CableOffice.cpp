#include "transfer/CableOffice.h"

#include "platform/Clock.h"
#include "platform/SerialLine.h"
#include "transfer/CableChannel.h"
#include "transfer/ListName.h"
#include "transfer/SerialFrames.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace brovant {
namespace {

// Reads that brought neither ACK nor NAK before a frame counts as unanswered.
constexpr int kMaxStrayReads = 64;

int rounds(int totalMs, int everyMs)
{
    return std::max(1, totalMs / std::max(1, everyMs));
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

} // namespace

CableOffice::CableOffice(SerialLine& line, Clock& clock, const OfficeTiming& timing)
    : m_line(line)
    , m_clock(clock)
    , m_timing(timing)
{
}

char CableOffice::awaitAnswer()
{
    const QDateTime start = m_clock.now();
    for (int reads = 0; reads < kMaxStrayReads; ++reads) {
        const qint64 left = m_timing.answerWaitMs - start.msecsTo(m_clock.now());
        const QByteArray bytes = m_line.read(1000, int(std::max<qint64>(left, 0)));
        if (bytes.contains(frames::kAck))
            return frames::kAck;
        if (bytes.contains(frames::kNak))
            return frames::kNak;
        // Stray SYN SYN ENQ of the device's polling are no answer.
        if (bytes.isEmpty() || left <= 0)
            return 0;
    }
    return 0;
}

OfficeResult CableOffice::receive(const QString& outDir)
{
    OfficeResult result;
    frames::Collector collector(frames::Collector::Eot::BetweenFrames);
    QByteArray step;
    for (int round = 0;
         round < rounds(m_timing.enquiryWaitMs, m_timing.askEveryMs) && step.isEmpty(); ++round) {
        if (!frames::writeByte(m_line, frames::kEnq)) {
            result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
            return result;
        }
        step = frames::readStep(m_line, collector, m_timing.askEveryMs);
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
                    result.error = QStringLiteral("Dateiname abgelehnt: \"%1\"")
                                       .arg(listname::printable(field));
                    frames::refuseFrame(m_line, collector, CableChannel::kMaxNaks,
                                        m_timing.frameWaitMs);
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
            frames::discardPending(m_line);
        }
        if (!frames::writeByte(m_line, answer)) {
            result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
            return result;
        }
        collector.clear();
        step = frames::readStep(m_line, collector, m_timing.frameWaitMs);
    }

    result.ok = arrivals.keep(result);
    return result;
}

OfficeResult CableOffice::send(const QList<std::pair<QString, QByteArray>>& files)
{
    OfficeResult result;
    bool asked = false;
    for (int round = 0; round < rounds(m_timing.enquiryWaitMs, m_timing.askEveryMs) && !asked;
         ++round)
        asked = m_line.read(1000, m_timing.askEveryMs).contains(frames::kEnq);
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
                if (!m_line.write(frame)) {
                    result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
                    return result;
                }
                accepted = awaitAnswer() == frames::kAck;
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
    if (!frames::writeByte(m_line, frames::kEot)) {
        result.error = QStringLiteral("Schnittstelle nicht beschreibbar");
        return result;
    }
    result.ok = true;
    return result;
}

} // namespace brovant
