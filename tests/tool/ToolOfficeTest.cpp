// The office commands: the real tool against the device's cable channel over a pseudo-terminal in
// both directions, and the ActiveSync handshake (their refusals: data/command_lines.txt).
#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/PosixSerialLine.h"
#include "support/PseudoTerminal.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/CableChannel.h"
#include "transfer/PeerLine.h"

#include <QThread>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

const QString kData = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/");

QByteArray header(const QByteArray& name12)
{
    return "TD0" + name12 + "Quendrax     0Brovant_V300_D\r\n";
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
    PtyCable pty; // end 0 the device's, end 1 the tool's
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
        {"office-receive", "--port", pty.end(1), "--out", office.path(), "--timeout", "20"});
    const std::unique_ptr<SerialLine> line = PosixSerialLine::open(pty.end(0), 38400);
    ASSERT_TRUE(line);
    CableChannel cable = channel(*line);
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
}

TEST_F(OfficeOverPty, OfficeSendsToDeviceReceive)
{
    ASSERT_TRUE(pty.ok());
    root.writeFile(QStringLiteral("Import/OLD.DAT"), "from before");
    ToolProcess tool({"office-send", "--port", pty.end(1), "--timeout", "20", kData + "4711.DAT",
                      kData + "MUEHLE.DAT"});
    const std::unique_ptr<SerialLine> line = PosixSerialLine::open(pty.end(0), 38400);
    ASSERT_TRUE(line);
    CableChannel cable = channel(*line);
    EXPECT_TRUE(cable.receive());
    const ToolRun r = tool.finish();
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(filesIn(root.host(QStringLiteral("Import"))),
              (QMap<QString, QByteArray>{{"4711    .DAT", readAll(kData + "4711.DAT")},
                                         {"MÜHLE   .DAT", readAll(kData + "MUEHLE.DAT")}}));
    EXPECT_EQ(r.out, QStringLiteral("4711.DAT\nMUEHLE.DAT\n16 Zeilen gesendet\n"));
}

TEST_F(OfficeOverPty, HostileNamesFailTheTransferOnBothSides)
{
    ASSERT_TRUE(pty.ok());
    const QByteArray evil =
        header("GOOD.DAT    ") + "001good\r\n" + header("../EVIL.DAT ") + "001evil\r\n";
    root.writeFile(QStringLiteral("Export/X.DAT"), evil);
    TempRoot office;
    {
        ToolProcess tool({"office-receive", "--port", pty.end(1), "--out",
                          office.host(QStringLiteral("out")), "--timeout", "20"});
        const std::unique_ptr<SerialLine> line = PosixSerialLine::open(pty.end(0), 38400);
        ASSERT_TRUE(line);
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
    ToolProcess tool({"office-send", "--port", pty.end(1), "--timeout", "20",
                      office.host(QStringLiteral("evil.dat"))});
    const std::unique_ptr<SerialLine> line = PosixSerialLine::open(pty.end(0), 38400);
    ASSERT_TRUE(line);
    CableChannel cable = channel(*line);
    EXPECT_FALSE(cable.receive());
    EXPECT_EQ(tool.finish().status, 1);
    EXPECT_EQ(cable.summary().refusedNames, QStringList{"../EVIL.DAT "});
    EXPECT_EQ(dialogs.asked(),
              QStringList{QStringLiteral(
                  "Fehler bei der Übertragung!|Dateiname nicht zulässig:|\"../EVIL.DAT\"")});
    EXPECT_FALSE(QFile::exists(root.host(QStringLiteral("EVIL.DAT"))));
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

} // namespace
} // namespace brovant::test
