// The ActiveSync channel against a scripted office PC that acts while the handheld sleeps: both
// directions, both time-outs on the clock the channel waited by (minutes of waiting run in
// milliseconds), the progress texts and messages with the moment they came, and what the
// handheld's folders hold afterwards; the office PC's own end against it. Also which channel the
// transfer settings choose.
#include "transfer/ActiveSyncChannel.h"
#include "transfer/ActiveSyncOffice.h"
#include "transfer/SettingsChannels.h"

#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"
#include "support/CaseFile.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"

#include <QDir>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>

namespace brovant {
namespace {

// The handheld's clock and dialogs; every sleep first moves time on, then lets the office PC do
// what its script holds for that moment. Times are milliseconds waited since the start; messages
// are kept as "<waited ms> info <show> l1|l2|l3" and "<waited ms> notice l1|l2|l3".
class OfficeClock final : public Clock, public ScriptedDialogs {
public:
    QStringList events;

    QDateTime now() const override { return m_start.addMSecs(m_waited); }
    bool setNow(const QDateTime&) override { return false; }
    void sleepMs(int milliseconds) override
    {
        m_longestSleep = std::max(m_longestSleep, milliseconds);
        m_waited += milliseconds;
        while (!m_script.empty() && m_script.begin()->first <= m_waited) {
            auto action = std::move(m_script.begin()->second);
            m_script.erase(m_script.begin());
            action();
        }
    }
    void at(qint64 waited, std::function<void()> action)
    {
        m_script.emplace(waited, std::move(action));
    }
    qint64 waited() const { return m_waited; }
    int longestSleep() const { return m_longestSleep; }

    void info(int show, const QString& l1, const QString& l2, const QString& l3) override
    {
        events << QStringLiteral("%1 info %2 %3|%4|%5").arg(m_waited).arg(show).arg(l1, l2, l3);
        ScriptedDialogs::info(show, l1, l2, l3);
    }
    void notice(const QString& l1, const QString& l2, const QString& l3, const QString& caption,
                bool sound) override
    {
        events << QStringLiteral("%1 notice %2|%3|%4").arg(m_waited).arg(l1, l2, l3);
        ScriptedDialogs::notice(l1, l2, l3, caption, sound);
    }

private:
    QDateTime m_start = QDateTime(QDate(2026, 5, 4), QTime(7, 30, 0));
    qint64 m_waited = 0;
    int m_longestSleep = 0;
    std::multimap<qint64, std::function<void()>> m_script;
};

constexpr qint64 kNever = -1;
const QByteArray kWald = "TD0WALD    .DAT\r\n001T00300\r\n";
const QByteArray kFeld = "TD0FELD    .DAT\r\n001T00300\r\n";

// One handheld with its office PC.
struct Bench {
    test::TempRoot root;
    DeviceSession session{root.path()};
    OfficeClock clock;
    OfficeClock& dialogs = clock;
    ActiveSyncChannel channel{session.root(), dialogs, clock, &session.keepAwake()};
    // What the PC found in the handheld's folder when it began, and what it took home.
    QStringList seenAtStart;
    std::map<QString, QByteArray> taken;

    Bench()
    {
        session.root().makeFolder(QStringLiteral("\\Export"));
        session.root().makeFolder(QStringLiteral("\\Import"));
        session.registry().setDword(Hive::LocalMachine, QString::fromUtf16(KeepAwake::kTimeoutsKey),
                                    QString::fromUtf16(KeepAwake::kValue), 180);
        session.keepAwake().readSaved();
    }

    std::optional<quint32> suspendTimeout()
    {
        return session.registry().dword(Hive::LocalMachine,
                                        QString::fromUtf16(KeepAwake::kTimeoutsKey),
                                        QString::fromUtf16(KeepAwake::kValue));
    }

    QStringList folder(const QString& name) const
    {
        return QDir(root.host(name))
            .entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
    void touch(const QString& relative) const { root.writeFile(relative, {}); }

    // The PC's side: it begins at `startAt` (a receive's two list files come in soon after),
    // takes a send's list files home, and confirms at `endAt`.
    void office(bool send, qint64 startAt, qint64 endAt, const QString& start = "start.tmp",
                const QString& end = "end.tmp")
    {
        const QString dir = QLatin1StringView(send ? "Export" : "Import");
        if (startAt == kNever)
            return;
        clock.at(startAt, [=, this] {
            seenAtStart = folder(dir);
            touch(dir + u'/' + start);
        });
        if (!send) {
            clock.at(startAt + 500, [this] {
                root.writeFile("Import/WALD.DAT", kWald);
                root.writeFile("Import/FELD.DAT", kFeld);
            });
        }
        if (endAt != kNever)
            clock.at(endAt, [=, this] {
                for (const QString& name : folder(dir))
                    if (send && name.endsWith(".DAT"))
                        taken[name] = root.readFile(dir + u'/' + name);
                touch(dir + u'/' + end);
            });
    }
};

const QString kWaitSend = QStringLiteral("0 info 5 ActiveSync|Warten auf Computeranfrage...|");
const QString kWaitReceive = QStringLiteral("0 info 5 ActiveSync|Warten auf Datenempfang...|");
const QString kFailure = QStringLiteral("notice ActiveSync|Fehler bei der Übertragung!|");

// The events after the first, written "M0 T2550 H6550 F6550": the marker that cannot be made
// (M), the transfer's text (T), the window hidden (H) and the failure (F), each at the moment it
// came.
QStringList events(bool send, const char* codes)
{
    const QMap<QChar, QString> texts{
        {u'M', QStringLiteral("notice Datei kann nicht erzeugt werden!||")},
        {u'T', send ? QStringLiteral("info 5 ActiveSync|Datenübertragung läuft...|")
                    : QStringLiteral("info 5 Datenübertragung läuft...||")},
        {u'H', QStringLiteral("info 0 ||")},
        {u'F', kFailure}};
    QStringList out{send ? kWaitSend : kWaitReceive};
    for (const QString& code : QString::fromLatin1(codes).split(u' ', Qt::SkipEmptyParts))
        out << code.mid(1) + u' ' + texts.value(code[0], QStringLiteral("?"));
    return out;
}

// One transfer a line of data/activesync_waits.txt.
TEST(ActiveSyncChannel, WaitsForThePcAndKeepsOnlyWhatItConfirmed)
{
    for (const test::Case& row :
         test::readCases(QStringLiteral("transfer/data/activesync_waits.txt"))) {
        SCOPED_TRACE(row.where().constData());
        const auto at = [&](int i) {
            return row.text(i) == QStringLiteral("-") ? kNever : row.fields[i].toLongLong();
        };
        const bool send = row.text(0) == QStringLiteral("send");
        const qint64 startAt = at(2);
        const bool ok = row.text(6) == QStringLiteral("yes");
        const qint64 waited = at(7);
        const QString marker = send ? "Export/export.tmp" : "Import/import.tmp";
        const bool blocked = row.fields.value(9) == "blocked";
        Bench bench;
        if (blocked) {
            ASSERT_TRUE(QDir().mkpath(bench.root.host(marker)));
        }
        if (send) {
            bench.root.writeFile("Export/WALD.DAT", kWald);
            bench.root.writeFile("Export/FELD.DAT", kFeld);
        } else {
            // What an earlier transfer left, markers included, must not count for this one.
            bench.root.writeFile("Import/ALT.DAT", kFeld);
            bench.touch("Import/start.tmp");
            bench.touch("Import/end.tmp");
        }
        bench.office(send, startAt, at(3), row.text(4), row.text(5));
        std::optional<quint32> during;
        bench.clock.at(500, [&] { during = bench.suspendTimeout(); });
        EXPECT_EQ(send ? bench.channel.send() : bench.channel.receive(), ok);
        // The handheld stays awake while it waits; after it, the time-out too, as it was.
        EXPECT_EQ(during, 0u);
        EXPECT_EQ(bench.suspendTimeout(), 180u);
        EXPECT_EQ(bench.clock.waited(), waited);
        EXPECT_LE(bench.clock.longestSleep(), ActiveSyncChannel::kStepMs);
        EXPECT_EQ(bench.dialogs.events, events(send, row.fields.value(8).constData()));
        if (startAt != kNever && startAt <= waited) {
            EXPECT_EQ(bench.seenAtStart, (send ? QStringList{"FELD.DAT", "WALD.DAT", "export.tmp"}
                                               : QStringList{"import.tmp"}));
        }
        // A send empties "\Export" either way, a failed one leaving the lists marked; a receive
        // keeps the files only when the PC confirmed. A folder is no file to delete.
        const QStringList delivered{"FELD.DAT", "WALD.DAT", "import.tmp"};
        const QStringList left = blocked && send ? QStringList{"export.tmp"} : QStringList();
        EXPECT_EQ(bench.folder(send ? "Export" : "Import"), send || !ok ? left : delivered);
        if (ok && send) {
            EXPECT_EQ(bench.taken,
                      (std::map<QString, QByteArray>{{"FELD.DAT", kFeld}, {"WALD.DAT", kWald}}));
        } else if (ok) {
            EXPECT_EQ(bench.root.readFile("Import/WALD.DAT"), kWald);
        }
    }
}

TEST(ActiveSyncOffice, AnswersTheHandheldsRequest)
{
    const struct {
        bool collect;
        const char* exported; // in "\Export" before the send
        QString error;        // empty: the files are copied
    } cases[] = {
        {true, "FELD.DAT", ""},
        // Without end.tmp the handheld's send fails and its lists stay marked.
        {true, "AB#3    .DAT", "Dateiname abgelehnt: \"AB#3    .DAT\""},
        {false, "FELD.DAT", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.exported) + (c.collect ? ", collected" : ", delivered"));
        const bool ok = c.error.isEmpty();
        const QStringList copied = ok ? QStringList{"FELD.DAT", "WALD.DAT"} : QStringList();
        Bench bench;
        test::TempRoot office;
        bench.root.writeFile("Export/" + QString::fromLatin1(c.exported), kFeld);
        bench.root.writeFile("Export/WALD.DAT", kWald);
        office.writeFile("FELD.DAT", kFeld);
        office.writeFile("WALD.DAT", kWald);
        ManualClock officeClock;
        ActiveSyncOffice peer(bench.session.root(), officeClock);
        ActiveSyncOffice::Result result;
        bench.clock.at(1000, [&] {
            result = c.collect
                         ? peer.collect(office.host("in"), 0)
                         : peer.deliver({office.host("FELD.DAT"), office.host("WALD.DAT")}, 0);
        });
        EXPECT_EQ(c.collect ? bench.channel.send() : bench.channel.receive(), ok);
        EXPECT_EQ(result.ok, ok);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(result.files, copied);
        EXPECT_EQ(c.collect ? QDir(office.host("in")).entryList(QDir::Files)
                            : bench.folder("Import"),
                  c.collect ? copied : copied + QStringList{"import.tmp"});
        EXPECT_EQ(c.collect ? office.readFile("in/WALD.DAT")
                            : bench.root.readFile("Import/WALD.DAT"),
                  ok ? kWald : QByteArray());
    }

    // The handheld never asks: no answer, after the time given.
    Bench bench;
    ManualClock officeClock;
    const ActiveSyncOffice::Result result =
        ActiveSyncOffice(bench.session.root(), officeClock).collect(bench.root.host("in"), 3000);
    EXPECT_EQ(result.error, QStringLiteral("Keine Anfrage vom Gerät (\\Export\\export.tmp)"));
    EXPECT_EQ(officeClock.sleptMs(), 3000);
    EXPECT_EQ(bench.folder("Export"), QStringList());
}

// One setting a line of data/settings_channels.txt.
TEST(SettingsChannels, TheSettingsInForceChooseTheChannel)
{
    Bench bench;
    SettingsStore& store = bench.session.store();
    SettingsChannels channels(bench.session.root(), store, bench.dialogs, bench.clock);
    const QString ftp = QStringLiteral("info 5 Verbinden...||");
    store.writeText(Setting::FtpServer, 0, QStringLiteral("127.0.0.1:1"));
    for (const test::Case& c :
         test::readCases(QStringLiteral("transfer/data/settings_channels.txt"))) {
        SCOPED_TRACE(c.where().constData());
        if (c.fields[0] != "-") {
            store.writeInt(Setting::DueMode, 0, c.fields[0].toInt());
            store.writeInt(Setting::DuePort, 0, c.fields.value(1).toInt());
        }
        for (const bool send : {true, false}) {
            const qint64 begin = bench.clock.waited();
            const QString first = c.text(send ? 2 : 3);
            const bool activeSync = first.startsWith(QStringLiteral("info 5 ActiveSync|"));
            if (activeSync)
                bench.office(send, begin + 1000, begin + 2000);
            bench.dialogs.events.clear();
            EXPECT_EQ(send ? channels.send() : channels.receive(), activeSync) << send;
            ASSERT_FALSE(bench.dialogs.events.isEmpty());
            EXPECT_EQ(bench.dialogs.events[0].section(u' ', 1), first) << send;
            if (first != ftp) {
                EXPECT_EQ(bench.dialogs.events.size(), activeSync ? 3 : 1) << send;
            }
            EXPECT_EQ(bench.clock.waited() - begin, activeSync ? 2000 : 0) << send;
        }
    }
}

} // namespace
} // namespace brovant
