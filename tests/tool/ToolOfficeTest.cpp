// The office end: its serial peer against scripted devices, the real tool against the device's
// cable channel over a pseudo-terminal in both directions, and the ActiveSync handshake.
#include "tool/ToolOffice.h"

#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/PosixSerialLine.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/CableChannel.h"
#include "transfer/PeerLine.h"
#include "transfer/SerialFrames.h"
#include "transfer/TranscriptLine.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QThread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

namespace brovant::test {
namespace {

using namespace frames;

const QString kData = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/");

QByteArray header(const QByteArray& name12)
{
    return "TD0" + name12 + "Quendrax     0Brovant_V300_D\r\n";
}

// Device frames for the office's receive: the SendingPeer answers ENQ, ACK and NAK as the
// device does when it sends.
OfficeResult receiveFrom(const QList<QByteArray>& lines, const QString& out,
                         std::function<QByteArray(int, int, const QByteArray&)> mangle = {},
                         int stopAfter = 1 << 20, QByteArray* answers = nullptr)
{
    PeerLine device;
    SendingPeer sender(device, lines);
    sender.mangle = std::move(mangle);
    sender.stopAfter = stopAfter;
    const OfficeResult result = officeReceive(device, out, OfficeTiming{});
    if (answers)
        *answers = sender.answers();
    return result;
}

TEST(OfficeReceive, ChecksEveryFrameAndWritesFilesAfterEot)
{
    const auto spoilChecksum = [](int index, int times) {
        return [=](int i, int attempt, const QByteArray& frame) {
            QByteArray f = frame;
            if (i == index && attempt < times)
                f[f.indexOf(kEtx) + 2] = f[f.indexOf(kEtx) + 2] == 'A' ? 'B' : 'A';
            return f;
        };
    };
    const auto spoilPayload = [](int index) {
        return [=](int i, int attempt, const QByteArray& frame) {
            return i == index && attempt == 0 ? QByteArray(frame).remove(9, 1) : frame;
        };
    };
    const auto spoilDigit = [](int index) {
        return [=](int i, int attempt, const QByteArray& frame) {
            return i == index && attempt == 0 ? QByteArray(frame).replace(6, 1, "5") : frame;
        };
    };
    // A byte of the payload turned into EOT, the rest of the frame following, or nothing.
    const auto eotInPayload = [](int index, bool cut) {
        return [=](int i, int attempt, const QByteArray& frame) {
            if (i != index || (!cut && attempt > 0))
                return frame;
            return cut ? frame.first(9) + kEot : QByteArray(frame).replace(9, 1, "\x04");
        };
    };
    const QList<QByteArray> lines{"001before any header\r\n", header("ONE.DAT     "), "001one\r\n",
                                  header("one.dat     "), "001one again\r\n"};
    const struct {
        const char* what;
        std::function<QByteArray(int, int, const QByteArray&)> mangle;
        int stopAfter;
        bool ok;
        QByteArray answers;
    } cases[] = {
        {"clean", {}, 1 << 20, true, "AAAAA"},
        {"checksum wrong twice", spoilChecksum(2, 2), 1 << 20, true, "AANNAAA"},
        {"payload byte lost", spoilPayload(3), 1 << 20, true, "AAANAA"},
        {"wrong digit", spoilDigit(3), 1 << 20, true, "AAANAA"},
        {"EOT inside a frame", eotInPayload(2, false), 1 << 20, true, "AANAAA"},
        {"checksum never right", spoilChecksum(1, 99), 1 << 20, false, "A" + QByteArray(15, 'N')},
        {"frame cut short by EOT", eotInPayload(3, true), 1 << 20, false,
         "AAA" + QByteArray(15, 'N')},
        {"device goes silent", {}, 4, false, "AAAA"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot out;
        QByteArray answers;
        const OfficeResult r = receiveFrom(lines, out.path(), c.mangle, c.stopAfter, &answers);
        EXPECT_EQ(r.ok, c.ok) << r.error.toStdString();
        EXPECT_EQ(answers, c.answers);
        if (!c.ok) {
            EXPECT_TRUE(filesIn(out.path()).isEmpty()); // nothing before EOT
            continue;
        }
        // A second file of the same name, in any case, is kept beside the first.
        EXPECT_EQ(filesIn(out.path()),
                  (QMap<QString, QByteArray>{
                      {"ONE.DAT", header("ONE.DAT     ") + "001one\r\n"},
                      {"one_2.dat", header("one.dat     ") + "001one again\r\n"}}));
        EXPECT_EQ(r.files, (QStringList{"ONE.DAT", "one_2.dat"}));
        EXPECT_EQ(r.lines, 5u);
    }
}

TEST(OfficeReceive, KeepsEveryDeliveryOfAName)
{
    TempRoot out;
    const QByteArray name = "AB.3    .DAT";
    for (const char* text : {"001first\r\n", "001second\r\n", "001third\r\n"})
        EXPECT_TRUE(receiveFrom({header(name), text}, out.path()).ok);
    EXPECT_EQ(filesIn(out.path()),
              (QMap<QString, QByteArray>{{"AB.3    .DAT", header(name) + "001first\r\n"},
                                         {"AB.3_2.DAT", header(name) + "001second\r\n"},
                                         {"AB.3_3.DAT", header(name) + "001third\r\n"}}));
    const OfficeResult refused = receiveFrom({header("AB/3    .DAT"), "001x\r\n"}, out.path());
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.error, QStringLiteral("Dateiname abgelehnt: \"AB/3    .DAT\""));
    EXPECT_EQ(filesIn(out.path()).size(), 3);
}

TEST(OfficeSend, FramesEveryFileAndRepeatsOnNakOrSilence)
{
    const QList<std::pair<QString, QByteArray>> files{
        {"A.DAT", header("A.DAT       ") + "001a\r\n10A1\r\n10A2\r\n"},
        {"B.DAT", header("B.DAT       ") + "001b\r\n10A1\r\n10A2\r\n10A3\r\n10A4\r\n"}};
    const struct {
        const char* what;
        QByteArray start;                // what the device sends first
        std::vector<QByteArray> answers; // to the fourth frame, attempt by attempt
        bool ok;
        int sends;
    } cases[] = {
        {"clean", "\x16\x16\x05", {}, true, 1},
        {"stray poll before the ACK", "\x16\x16\x05", {"\x16\x16\x05\x06"}, true, 1},
        {"ten NAKs", "\x16\x16\x05", std::vector<QByteArray>(10, "\x15"), true, 11},
        {"eleven NAKs", "\x16\x16\x05", std::vector<QByteArray>(11, "\x15"), false, 11},
        {"silence, then ACK", "\x16\x16\x05", {"", "\x06"}, true, 2},
        {"silence", "\x16\x16\x05", std::vector<QByteArray>(11, ""), false, 11},
        {"nobody asks", "\x06\x15", {}, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        PeerLine device;
        device.send(c.start);
        int index = -1;
        int sends = 0;
        QByteArray previous;
        QByteArray digits;
        device.onWrite = [&](const QByteArray& bytes) {
            if (!bytes.startsWith("\x16\x16\x01"))
                return;
            if (bytes != previous)
                digits += bytes[6];
            index += bytes != previous;
            previous = bytes;
            if (index != 3) {
                device.send("\x06");
                return;
            }
            const size_t at = size_t(sends++);
            device.send(at < c.answers.size() ? c.answers[at] : QByteArray("\x06"));
        };
        OfficeTiming timing;
        timing.enquiryWaitMs = 300;
        const OfficeResult r = officeSend(device, files, timing);
        EXPECT_EQ(r.ok, c.ok) << r.error.toStdString();
        EXPECT_EQ(sends, c.sends);
        EXPECT_EQ(device.allWritten().endsWith(kEot), c.ok);
        if (c.ok) {
            EXPECT_EQ(digits, "1234567890");
            EXPECT_EQ(r.files, (QStringList{"A.DAT", "B.DAT"}));
            EXPECT_EQ(r.lines, 10u);
        }
    }
}

// A pseudo-terminal pair: the tool opens the slave by its path, the device side gets the master.
// The slave is made raw and held open here, so nothing is echoed before the tool opens it.
class PtyPair {
public:
    PtyPair()
    {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
            return;
        m_slavePath = QString::fromLocal8Bit(::ptsname(m_master));
        m_slave = ::open(::ptsname(m_master), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios tio{};
        if (m_slave >= 0 && ::tcgetattr(m_slave, &tio) == 0) {
            ::cfmakeraw(&tio);
            ::tcsetattr(m_slave, TCSANOW, &tio);
        }
    }
    ~PtyPair()
    {
        if (m_slave >= 0)
            ::close(m_slave);
        if (m_master >= 0)
            ::close(m_master);
    }
    bool ok() const { return m_slave >= 0; }
    const QString& slavePath() const { return m_slavePath; }
    std::unique_ptr<SerialLine> deviceEnd() const
    {
        return std::make_unique<PosixSerialLine>(::dup(m_master));
    }

private:
    int m_master = -1;
    int m_slave = -1;
    QString m_slavePath;
};

// With BROVANT_RECORD_TRANSCRIPTS set to a folder, the device's side of the run is written
// there; the transfer tests replay those files.
void keepTranscript(const RecordingLine& recording, const char* name, const QString& about)
{
    const QByteArray folder = qgetenv("BROVANT_RECORD_TRANSCRIPTS");
    if (folder.isEmpty())
        return;
    QFile file(QString::fromLocal8Bit(folder) + u'/' + QLatin1StringView(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(transcript::format(recording.entries(), about));
}

class OfficeOverPty : public ::testing::Test {
protected:
    OfficeOverPty()
        : device(root.path())
    {
        device.makeFolder(QStringLiteral("\\Export"));
        device.makeFolder(QStringLiteral("\\Import"));
    }

    CableChannel channel(SerialLine& line)
    {
        return CableChannel(
            device, dialogs, clock, [&line](int) { return std::make_unique<LineRef>(line); }, 1);
    }

    TempRoot root;
    DeviceRoot device;
    ScriptedDialogs dialogs;
    SystemClock clock;
    PtyPair pty;
};

TEST_F(OfficeOverPty, DeviceSendsToOfficeReceive)
{
    ASSERT_TRUE(pty.ok());
    const QByteArray first = readAll(kData + "4711.DAT");
    const QByteArray second = readAll(kData + "MUEHLE.DAT");
    root.writeFile(QStringLiteral("Export/4711    .DAT"), first);
    root.writeFile(QStringLiteral("Export/MÜHLE   .DAT"), second);
    TempRoot office;
    office.writeFile(QStringLiteral("4711    .DAT"), "delivered before");
    ToolProcess tool(
        {"office-receive", "--port", pty.slavePath(), "--out", office.path(), "--timeout", "20"});
    const std::unique_ptr<SerialLine> line = pty.deviceEnd();
    RecordingLine recording(*line);
    CableChannel cable = channel(recording);
    EXPECT_TRUE(cable.send());
    const ToolRun r = tool.finish();
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(filesIn(office.path()),
              (QMap<QString, QByteArray>{{"4711    .DAT", "delivered before"},
                                         {"4711_2.DAT", first},
                                         {"MÜHLE   .DAT", second}}));
    EXPECT_EQ(r.out, QStringLiteral("4711_2.DAT\nMÜHLE   .DAT\n16 Zeilen empfangen\n"));
    EXPECT_EQ(r.err, QStringLiteral("Warten auf Daten vom Gerät...\n"
                                    "Datei \"4711    .DAT\" gibt es schon, gespeichert als "
                                    "\"4711_2.DAT\"\n"));
    EXPECT_TRUE(dialogs.asked().isEmpty());
    keepTranscript(recording, "office-receive.transcript",
                   "The device's cable send (CableChannel) to brovant-tool office-receive over a\n"
                   "pseudo-terminal: \\Export holds 4711.DAT and MUEHLE.DAT of this folder.\n"
                   "D: written by the device; P: read by the device.");
}

TEST_F(OfficeOverPty, OfficeSendsToDeviceReceive)
{
    ASSERT_TRUE(pty.ok());
    root.writeFile(QStringLiteral("Import/OLD.DAT"), "from before");
    ToolProcess tool({"office-send", "--port", pty.slavePath(), "--timeout", "20",
                      kData + "4711.DAT", kData + "MUEHLE.DAT"});
    const std::unique_ptr<SerialLine> line = pty.deviceEnd();
    RecordingLine recording(*line);
    CableChannel cable = channel(recording);
    EXPECT_TRUE(cable.receive());
    const ToolRun r = tool.finish();
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(filesIn(root.host(QStringLiteral("Import"))),
              (QMap<QString, QByteArray>{{"4711    .DAT", readAll(kData + "4711.DAT")},
                                         {"MÜHLE   .DAT", readAll(kData + "MUEHLE.DAT")}}));
    EXPECT_EQ(r.out, QStringLiteral("4711.DAT\nMUEHLE.DAT\n16 Zeilen gesendet\n"));
    keepTranscript(recording, "office-send.transcript",
                   "The device's cable receive (CableChannel) from brovant-tool office-send over\n"
                   "a pseudo-terminal with 4711.DAT and MUEHLE.DAT of this folder.\n"
                   "D: written by the device; P: read by the device.");
}

TEST_F(OfficeOverPty, HostileNamesFailTheTransferOnBothSides)
{
    ASSERT_TRUE(pty.ok());
    const QByteArray evil =
        header("GOOD.DAT    ") + "001good\r\n" + header("../EVIL.DAT ") + "001evil\r\n";
    root.writeFile(QStringLiteral("Export/X.DAT"), evil);
    TempRoot office;
    {
        ToolProcess tool({"office-receive", "--port", pty.slavePath(), "--out",
                          office.host(QStringLiteral("out")), "--timeout", "20"});
        const std::unique_ptr<SerialLine> line = pty.deviceEnd();
        CableChannel cable = channel(*line);
        EXPECT_FALSE(cable.send());
        const ToolRun r = tool.finish();
        EXPECT_EQ(r.status, 1);
        EXPECT_TRUE(r.err.contains(QStringLiteral("Dateiname abgelehnt: \"../EVIL.DAT \"")))
            << r.err.toStdString();
    }
    EXPECT_EQ(filesIn(office.path()), (QMap<QString, QByteArray>{}));

    dialogs.clear();
    office.writeFile(QStringLiteral("evil.dat"), evil);
    ToolProcess tool({"office-send", "--port", pty.slavePath(), "--timeout", "20",
                      office.host(QStringLiteral("evil.dat"))});
    const std::unique_ptr<SerialLine> line = pty.deviceEnd();
    CableChannel cable = channel(*line);
    EXPECT_FALSE(cable.receive());
    EXPECT_EQ(tool.finish().status, 1);
    EXPECT_EQ(cable.summary().refusedNames, QStringList{"../EVIL.DAT "});
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral(
                  "Fehler bei der Übertragung!|Dateiname nicht zulässig:|\"../EVIL.DAT\"")});
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("EVIL.DAT"))));
}

TEST(OfficeCommands, RefuseWhatTheyCannotDo)
{
    TempRoot dir;
    const struct {
        QStringList args;
        int status;
        const char* err;
    } cases[] = {
        {{"office-receive", "--out", dir.path()}, 2, "office-receive --port DEV --out DIR"},
        {{"office-receive", "--port", "/dev/null"}, 2, "office-receive --port DEV --out DIR"},
        {{"office-send", "--port", "/dev/null"}, 2, "office-send --port DEV DATEI..."},
        {{"office-send", "--port", "/dev/null", "--data-bits", "6", "x"}, 2, "--data-bits 7|8"},
        {{"office-send", "--port", "/dev/null", "--timeout", "soon", "x"}, 2, "--timeout"},
        {{"office-send", "--port", "/dev/null", dir.host("missing.dat")}, 1, "nicht gelesen"},
        {{"office-receive", "--port", dir.host("ttyNONE"), "--out", dir.path()},
         1,
         "kann nicht geöffnet werden"},
        {{"office-receive", "--port", "/dev/null", "--out", dir.path(), "--baud", "12345"},
         1,
         "Baudrate nicht unterstützt"},
        {{"office-receive", "--port", "/dev/null", "--out", dir.path()},
         1,
         "kann nicht geöffnet werden"},
        {{"office-activesync", "--root", dir.path()}, 2, "--collect DIR oder --deliver"},
        {{"office-activesync", "--root", dir.path(), "--collect", dir.path(), "--deliver", "x"},
         2,
         "--collect DIR oder --deliver"},
        {{"office-activesync", "--root", dir.path(), "--deliver"},
         2,
         "--collect DIR oder --deliver"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(u' ').toStdString());
        const ToolRun r = runTool(c.args);
        EXPECT_EQ(r.status, c.status);
        EXPECT_TRUE(r.err.contains(QString::fromUtf8(c.err))) << r.err.toStdString();
    }
    EXPECT_TRUE(runTool({"--help"}).out.contains(QStringLiteral("office-activesync")));
}

TEST(OfficeActiveSync, CollectsTheExportWhenTheDeviceAsks)
{
    TempRoot root;
    TempRoot office;
    root.writeFile(QStringLiteral("Export/4711    .DAT"), "TD0 one\r\n");
    root.writeFile(QStringLiteral("Export/b.dat"), "TD0 two\r\n");
    root.writeFile(QStringLiteral("Export/notes.txt"), "not a list");
    ToolProcess tool({"office-activesync", "--root", root.path(), "--collect", office.path(),
                      "--timeout", "20"});
    QThread::msleep(300); // the device asks a little later
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Export/start.tmp"))));
    root.writeFile(QStringLiteral("Export/export.tmp"), "");
    const ToolRun r = tool.finish();
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(filesIn(office.path()), (QMap<QString, QByteArray>{{"4711    .DAT", "TD0 one\r\n"},
                                                                 {"b.dat", "TD0 two\r\n"}}));
    EXPECT_TRUE(QFile::exists(root.host(QStringLiteral("Export/start.tmp"))));
    EXPECT_TRUE(QFile::exists(root.host(QStringLiteral("Export/end.tmp"))));
}

// Without end.tmp the device's send fails and its lists stay marked.
TEST(OfficeActiveSync, RefusesANameNoListCanHave)
{
    TempRoot root;
    TempRoot office;
    root.writeFile(QStringLiteral("Export/AB.3    .DAT"), "TD0 one\r\n");
    root.writeFile(QStringLiteral("Export/AB#3    .DAT"), "TD0 two\r\n");
    root.writeFile(QStringLiteral("Export/export.tmp"), "");
    const ToolRun r = runTool({"office-activesync", "--root", root.path(), "--collect",
                               office.path(), "--timeout", "20"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Dateiname abgelehnt: \"AB#3    .DAT\"")))
        << r.err.toStdString();
    EXPECT_TRUE(filesIn(office.path()).isEmpty());
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Export/end.tmp"))));
}

TEST(OfficeActiveSync, DeliversIntoTheImportWhenTheDeviceAsks)
{
    TempRoot root;
    TempRoot office;
    root.writeFile(QStringLiteral("Import/import.tmp"), "");
    office.writeFile(QStringLiteral("4711.DAT"), "TD0 one\r\n");
    office.writeFile(QStringLiteral("MÜHLE.DAT"), "TD0 two\r\n");
    const ToolRun r = runTool({"office-activesync", "--root", root.path(), "--deliver",
                               office.host(QStringLiteral("4711.DAT")),
                               office.host(QStringLiteral("MÜHLE.DAT"))});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(filesIn(root.host(QStringLiteral("Import"))),
              (QMap<QString, QByteArray>{{"import.tmp", ""},
                                         {"start.tmp", ""},
                                         {"4711.DAT", "TD0 one\r\n"},
                                         {"MÜHLE.DAT", "TD0 two\r\n"},
                                         {"end.tmp", ""}}));
}

TEST(OfficeActiveSync, GivesUpWhenTheDeviceNeverAsks)
{
    TempRoot root;
    QDir().mkpath(root.host(QStringLiteral("Export")));
    const ToolRun r = runTool({"office-activesync", "--root", root.path(), "--collect",
                               root.host(QStringLiteral("out")), "--timeout", "1"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("Keine Anfrage vom Gerät")));
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("Export/start.tmp"))));
}

} // namespace
} // namespace brovant::test
