// The cable protocol's two ends against scripted far ends: the device's (with its modem) and the
// office's; clean runs, noise, NAK storms, silence, refused names and the modem dialogue.
#include "transfer/CableChannel.h"
#include "transfer/CableOffice.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/MessageDialogs.h"
#include "platform/Registry.h"
#include "support/CaseFile.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/PeerLine.h"
#include "transfer/SerialFrames.h"

#include <QFile>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

using namespace frames;

const QString kFailed = QStringLiteral("Fehler bei der Übertragung!||");

// Two list files, eleven lines between them, so the sequence digit wraps.
const QByteArray kFileA = headerLine("A       .DAT") + "001A       Liste\r\nREGREVIER1 FI 12\r\n";
const QByteArray kFileB = headerLine("B       .DAT")
                          + "001B       Liste\r\n10A0001001FI 032\r\n10A0001002BU 045\r\n"
                            "10B0002001\xC4I 051\r\n10A0002002FI 028\r\n10A0002003FI 030\r\n"
                            "712REVIER1 FI 12\r\n";

// A device with a line to the test: the fixture's, or one of its own for a case of a table.
struct Device {
    Device()
    {
        device.makeFolder(QStringLiteral("\\Export"));
        device.makeFolder(QStringLiteral("\\Import"));
    }

    CableChannel channel(int port = 3)
    {
        return CableChannel(
            device, dialogs, clock,
            [this](int number) -> std::unique_ptr<SerialLine> {
                openedPorts.append(number);
                if (portMissing)
                    return nullptr;
                return std::make_unique<LineRef>(line);
            },
            port);
    }

    void exportFiles()
    {
        root.writeFile(QStringLiteral("Export/A.DAT"), kFileA);
        root.writeFile(QStringLiteral("Export/b.dat"), kFileB);
        root.writeFile(QStringLiteral("Export/notes.txt"), "not a list\r\n");
    }

    QStringList infoLines() const
    {
        QStringList lines;
        for (const auto& m : dialogs.messages()) {
            if (m.kind == ScriptedDialogs::Kind::Info && m.showCommand == MessageDialogs::Show)
                lines << m.lines.join(u'|');
        }
        return lines;
    }

    TempRoot root;
    DeviceRoot device{root.path()};
    ScriptedDialogs dialogs;
    ManualClock clock;
    PeerLine line;
    QList<int> openedPorts;
    bool portMissing = false;
};

class CableChannelTest : public ::testing::Test, public Device {};

// One run a line of data/cable_send.txt, of the two list files.
TEST(CableSenders, RepeatARefusedFrameAtMostTenTimes)
{
    const QList<std::pair<QString, QByteArray>> files{{"A.DAT", kFileA}, {"b.dat", kFileB}};
    const QStringList lines =
        QString::fromLatin1(kFileA + kFileB).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    const QString key = QString::fromUtf16(KeepAwake::kTimeoutsKey);
    const QString value = QString::fromUtf16(KeepAwake::kValue);
    for (const Case& row : readCases(QStringLiteral("transfer/data/cable_send.txt"))) {
        std::vector<QByteArray> answers;
        for (const QByteArray& answer : row.fields.value(2).split(' ')) {
            if (!row.fields.value(2).isEmpty())
                answers.push_back(answer == "-" ? QByteArray() : answer);
        }
        for (const bool office : {false, true}) {
            SCOPED_TRACE((row.where() + (office ? ", office" : ", device")).constData());
            Device d;
            d.line.send(row.fields[1]);
            // Suspend stays off while the device's lines go out.
            Registry registry(d.root.host(QStringLiteral("Registry")));
            registry.setDword(Hive::LocalMachine, key, value, 180);
            KeepAwake keepAwake(registry);
            keepAwake.readSaved();
            std::vector<quint32> suspend;
            // The fourth frame gets the row's answers attempt by attempt before its ACK.
            int sends = 0;
            QByteArray digits;
            QStringList payloads;
            // The far end taking frames: a frame written again keeps its index.
            d.line.onWrite = [&, index = -1, attempt = 0,
                              last = QByteArray()](const QByteArray& frame) mutable {
                if (!frame.startsWith("\x16\x16\x01"))
                    return;
                attempt = frame == last ? attempt + 1 : 0;
                index += frame != last;
                last = frame;
                suspend.push_back(registry.dword(Hive::LocalMachine, key, value).value_or(99));
                if (attempt == 0) {
                    digits += frame.mid(6, 1);
                    payloads << QString::fromLatin1(takeApart(frame).payload);
                }
                const size_t at = size_t(index == 3 ? sends++ : answers.size());
                d.line.send(at < answers.size() ? answers[at] : QByteArray(1, kAck));
            };
            bool ok = false;
            if (office) {
                OfficeTiming timing;
                timing.enquiryWaitMs = 300;
                const OfficeResult r = CableOffice(d.line, d.clock, timing).send(files);
                ok = r.ok;
                if (ok) {
                    EXPECT_EQ(r.files, (QStringList{"A.DAT", "b.dat"}));
                    EXPECT_EQ(r.lines, 11u);
                }
            } else {
                d.exportFiles();
                CableChannel cable = d.channel(4);
                cable.setKeepAwake(&keepAwake);
                ok = cable.send();
                EXPECT_EQ(d.openedPorts, QList<int>{4});
                EXPECT_EQ(d.dialogs.asked(), ok ? QStringList() : QStringList{kFailed});
                EXPECT_EQ(suspend, std::vector<quint32>(suspend.size(), 0u));
                EXPECT_EQ(registry.dword(Hive::LocalMachine, key, value), 180u);
                // Waiting is the line's: nothing slept, every read waited the pause plus the read
                // time-out.
                EXPECT_EQ(d.clock.sleptMs(), 0);
                EXPECT_EQ(d.line.waits(), std::vector<int>(d.line.waits().size(), 10 + 100 + 1000));
                if (ok) {
                    EXPECT_EQ(cable.summary().lines, 11u);
                    EXPECT_EQ(d.infoLines().first(),
                              QStringLiteral("Warten auf Computeranfrage...||"));
                    EXPECT_EQ(d.infoLines().last(),
                              QStringLiteral("Datenübertragung läuft...|Zeile: 11|"));
                    EXPECT_EQ(d.dialogs.messages().back().showCommand, MessageDialogs::Hide);
                    EXPECT_EQ(d.line.written().last(), QByteArray(1, kEot));
                }
            }
            const int expected = row.fields.value(office ? 4 : 3).toInt();
            EXPECT_EQ(ok, expected > 0);
            EXPECT_EQ(sends, std::abs(expected));
            EXPECT_EQ(d.line.allWritten().endsWith(kEot), ok);
            if (ok) {
                EXPECT_EQ(digits, "12345678901");
                EXPECT_EQ(payloads, lines);
            }
            if (expected == 0) {
                EXPECT_EQ(d.line.waits().size(), office ? 3u : 50u);
            }
        }
    }
}

// A port that does not open is the opener's notice. Which names are refused is the list name
// rule's (TextCasesTest); a refused one ends the receive before anything is written and is shown
// with what cannot be printed as "?".
TEST_F(CableChannelTest, APortThatDoesNotOpenOrARefusedNameWritesNothing)
{
    exportFiles();
    root.writeFile(QStringLiteral("Import/OLD.DAT"), "old");
    portMissing = true;
    CableChannel cable = channel(7);
    EXPECT_FALSE(cable.send());
    EXPECT_FALSE(cable.receive());
    EXPECT_EQ(openedPorts, (QList<int>{7, 7}));
    EXPECT_TRUE(dialogs.asked().isEmpty());
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Import/OLD.DAT"))));

    portMissing = false;
    const QMap<QString, QByteArray> before = filesIn(root.path());
    SendingPeer office(line, {headerLine("A\tB.DAT     "), "001X\r\n"});
    EXPECT_FALSE(cable.receive());
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral(
                  "Fehler bei der Übertragung!|Dateiname nicht zulässig:|\"A?B.DAT\"")});
    EXPECT_EQ(filesIn(root.path()), before);
}

// A frame spoilt as a line of data/cable_receive.txt says.
QByteArray spoilt(const QByteArray& how, QByteArray f)
{
    const qsizetype etx = f.indexOf(kEtx);
    if (how == "wrong digit")
        return f.replace(6, 1, "7");
    if (how == "SOH lost")
        return f.remove(2, 1);
    if (how == "ETX lost")
        return f.remove(etx, 1);
    if (how == "cut after 9 bytes")
        return f.first(9);
    if (how == "noise in front")
        return QByteArray("\xFF\x00\x7F", 3) + f;
    if (how == "checksum wrong")
        return f.replace(etx + 2, 1, f[etx + 2] == 'A' ? "B" : "A");
    if (how == "payload byte lost")
        return f.remove(9, 1);
    if (how == "EOT for a payload byte")
        return f.replace(9, 1, "\x04");
    if (how == "cut after 9 bytes, EOT")
        return f.first(9) + kEot;
    ADD_FAILURE() << "no way to spoil a frame called " << how.constData();
    return f;
}

// "A2 N15 A10" as the answers it stands for.
QByteArray answersOf(const QByteArray& runs)
{
    QByteArray answers;
    for (const QByteArray& run : runs.split(' '))
        answers += QByteArray(run.mid(1).toInt(), run[0]);
    return answers;
}

// One run a line of data/cable_receive.txt.
TEST(CableReceivers, AnswerEveryFrameAndKeepWhatCameWhole)
{
    const QMap<QString, QByteArray> files{{"A       .DAT", kFileA}, {"B       .DAT", kFileB}};
    for (const Case& row : readCases(QStringLiteral("transfer/data/cable_receive.txt"))) {
        const auto given = [&](int i) {
            return row.fields.value(i) != "-";
        };
        const bool ok = row.fields.value(6) == "yes";
        for (const bool office : {false, true}) {
            SCOPED_TRACE((row.where() + (office ? ", office" : ", device")).constData());
            if (!given(office ? 8 : 7))
                continue;
            const QByteArray answers = answersOf(row.fields.value(office ? 8 : 7));
            Device d;
            d.line.chunk = given(5) ? row.fields[5].toInt() : 1 << 20;
            SendingPeer far(d.line, QList<QByteArray>{"001stray line before any header\r\n"}
                                        + fileLines(kFileA) + fileLines(kFileB));
            // The frame of the row spoilt on its first attempts.
            far.mangle = [&](int i, int attempt, const QByteArray& frame) {
                return given(3) && i == row.fields[1].toInt() && attempt < row.fields[2].toInt()
                           ? spoilt(row.fields[3], frame)
                           : frame;
            };
            if (given(4))
                far.stopAfter = row.fields[4].toInt();
            if (office) {
                const OfficeResult r =
                    CableOffice(d.line, d.clock, OfficeTiming{}).receive(d.root.host("Import"));
                EXPECT_EQ(r.ok, ok) << r.error.toStdString();
            } else {
                d.root.writeFile(QStringLiteral("Import/OLD.DAT"), "left from before");
                d.root.writeFile(QStringLiteral("Import/b.dat"), "will be replaced");
                CableChannel cable = d.channel(2);
                // The modem is only for sending.
                cable.dialFirst({QStringLiteral("ATZ"), QStringLiteral("0815")});
                EXPECT_EQ(cable.receive(), ok);
                EXPECT_EQ(d.dialogs.asked(), ok ? QStringList() : QStringList{kFailed});
                EXPECT_EQ(d.clock.sleptMs(), 100 * answers.count('N'));
                EXPECT_FALSE(d.line.allWritten().contains("AT"));
                // The poll: SYN, SYN, ENQ as three writes.
                EXPECT_EQ(d.line.written().mid(0, 3),
                          (QList<QByteArray>{QByteArray(1, kSyn), QByteArray(1, kSyn),
                                             QByteArray(1, kEnq)}));
                if (ok) {
                    EXPECT_EQ(cable.summary().files, QStringList(files.keys()));
                    EXPECT_EQ(cable.summary().lines, 12u);
                    EXPECT_EQ(d.infoLines().first(),
                              QStringLiteral("Warten auf Datenempfang...||"));
                    EXPECT_EQ(d.infoLines().last(), QStringLiteral("Datenempfang...|Zeile: 12|"));
                }
            }
            EXPECT_EQ(far.answers(), answers);
            if (ok || office) {
                EXPECT_EQ(filesIn(d.root.host("Import")),
                          (ok ? files : QMap<QString, QByteArray>()));
            }
        }
    }
}

// A second file of a name, in any case, is kept beside the first, and a third beside both.
TEST(OfficeReceive, KeepsEveryDeliveryOfAName)
{
    TempRoot out;
    const auto receive = [&out](const QList<QByteArray>& lines) {
        PeerLine device;
        SendingPeer sender(device, lines);
        ManualClock clock;
        return CableOffice(device, clock, OfficeTiming{}).receive(out.path());
    };
    const QByteArray name = "AB.3    .DAT";
    for (const char* text : {"001first\r\n", "001second\r\n", "001third\r\n"})
        EXPECT_TRUE(receive({headerLine(name), text}).ok);
    EXPECT_EQ(filesIn(out.path()),
              (QMap<QString, QByteArray>{{"AB.3    .DAT", headerLine(name) + "001first\r\n"},
                                         {"AB.3_2.DAT", headerLine(name) + "001second\r\n"},
                                         {"AB.3_3.DAT", headerLine(name) + "001third\r\n"}}));
    const OfficeResult refused = receive({headerLine("AB/3    .DAT"), "001x\r\n"});
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, QStringLiteral("Dateiname abgelehnt: \"AB/3    .DAT\""));
    EXPECT_EQ(filesIn(out.path()).size(), 3);
}

// One dialogue a line of data/cable_modem.txt.
TEST(CableModem, DialsBeforeSending)
{
    for (const Case& c : readCases(QStringLiteral("transfer/data/cable_modem.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const bool ok = c.fields[1] == "yes";
        const bool dialled = c.fields[2] == "yes";
        std::vector<QByteArray> replies(c.fields[4].toInt(), QByteArray(""));
        replies.insert(replies.end(), c.fields.begin() + 5, c.fields.end());
        Device d;
        d.root.writeFile(QStringLiteral("Export/A.DAT"), kFileA);
        bool connected = false;
        d.line.onWrite = [&](const QByteArray& bytes) {
            if (bytes == "ATZ\r") {
                d.line.send(c.fields[3]);
            } else if (bytes == "ATDT0815\r") {
                connected = true;
            } else if (bytes.startsWith("\x16\x16\x01")) {
                d.line.send(QByteArray(1, kAck));
            }
        };
        size_t replyIndex = 0;
        // After ATDT the modem's replies come one per read (an empty one is a silent read); after
        // them the office asks.
        d.line.beforeRead = [&] {
            if (connected && replyIndex < replies.size())
                d.line.send(replies[replyIndex]);
            else if (connected && replyIndex == replies.size())
                d.line.send(QByteArray(1, kEnq));
            replyIndex += connected;
        };
        CableChannel cable = d.channel(1);
        cable.dialFirst({QStringLiteral("ATZ"), QStringLiteral("0815")});
        EXPECT_EQ(cable.send(), ok);
        EXPECT_EQ(d.line.written().first(), "ATZ\r");
        EXPECT_EQ(d.line.written().contains("ATDT0815\r"), dialled);
        EXPECT_EQ(d.dialogs.asked(), ok ? QStringList() : QStringList{kFailed});
        EXPECT_EQ(d.line.written().last() == QByteArray(1, kEot), ok);
        const QStringList shown = d.infoLines();
        EXPECT_TRUE(shown.contains(QStringLiteral("Initialisiere Modem...||")));
        EXPECT_EQ(shown.contains(QStringLiteral("0815 ...||")), dialled);
    }
}

} // namespace
} // namespace brovant::test
