// "brovant-tool send", "receive" and "fetch-config" run as processes against the office end: the
// cable with "office-receive" or "office-send" at the far end of two bridged pseudo-terminals (the
// tool's own way to the serial port), ActiveSync with "office-activesync" beside them, FTP against
// a loopback server. The channels themselves are the transfer tests'; the ActiveSync send goes
// through in FaultInjection, the FTP send in OfficeProgramTest.ListsSentByFtpAppearInTheOffice.
// The office commands' refusals: data/command_lines.txt.
#include "masterdata/DeviceSession.h"
#include "support/PseudoTerminal.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/FtpTestServer.h"

#include <QDir>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

namespace brovant::test {
namespace {

const QString kFtpScript = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/ftp_server.py");
const QString kFtpUser = QStringLiteral("office");
const QString kFtpPassword = QStringLiteral("s3cret");

// An office list as the office sends it: a header naming the file, then its records.
QByteArray officeList(const QByteArray& number, const QByteArray& records,
                      const QByteArray& structure = "T00300")
{
    return "TD0" + number.leftJustified(8, ' ') + ".DATQuendrax     0Brovant_V300_D\r\n"
           + officeHeader(number, structure) + records;
}

// The device at root set to transfer in `mode` (3 is FTP) with the server's lists in "data" and
// the configuration in "conf".
void useFtp(const QString& root, const FtpTestServer& server, int mode)
{
    DeviceSession session(root);
    SettingsStore& store = session.store();
    store.writeInt(Setting::DueMode, 0, mode);
    store.writeText(Setting::FtpServer, 0, server.address());
    store.writeText(Setting::FtpName, 0, kFtpUser);
    store.writeText(Setting::FtpPassword, 0, kFtpPassword);
    store.writeText(Setting::FtpDirectory, 0, QStringLiteral("data"));
    store.writeText(Setting::FtpDirectory2, 0, QStringLiteral("conf"));
}

// A device with the demo configuration, the list HIEB01 with two trees and the empty list LEER.
class ToolChannels : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(demoDevice(root.path(), {"HIEB01", "LEER"}), "");
        for (const char* bhd : {"25", "40"}) {
            const ToolRun r =
                run({"tally", "HIEB01", "--bhd", bhd, "--species", "FI", "--tarif", "FI01"});
            ASSERT_EQ(r.status, 0) << r.err.toStdString();
        }
    }

    ToolRun run(const QStringList& args) { return tool(root.path(), args); }

    std::string lists()
    {
        return sqlRows(root.host(QStringLiteral("Brovant/Brovant.cdb")),
                       "SELECT h.LISTE_NR, h.DUE_MARK, h.EXPORTED_N_NI, COUNT(t.ID) FROM "
                       "Brov_Kopfdaten h LEFT JOIN Brov_Holzdaten t ON t.ID_FILE = h.ID_FILE "
                       "GROUP BY h.rowid ORDER BY h.rowid")
            .join(u' ')
            .toStdString();
    }

    // The transfer by cable on COM1, as the settings screen sets it; dev/COM1 linked to `target`
    // unless it is empty.
    void useCable(const QString& target)
    {
        DeviceSession(root.path()).store().writeInt(Setting::DuePort, 0, 1);
        if (target.isEmpty())
            return;
        ASSERT_TRUE(QDir().mkpath(root.host(QStringLiteral("dev"))));
        QFile::remove(root.host(QStringLiteral("dev/COM1")));
        ASSERT_TRUE(QFile::link(target, root.host(QStringLiteral("dev/COM1"))));
    }

    TempRoot root;
};

TEST_F(ToolChannels, SendDeliversTheMarkedListsAndThenUnmarksThem)
{
    // Names with every character the list-name keyboard offers but "/" arrive as they are.
    for (const char* name : {"HIEB01", "A B.3", "Ä(1),&_-"}) {
        if (name != std::string("HIEB01")) {
            ASSERT_EQ(newList(root.path(), QString::fromUtf8(name)), "");
        }
        ASSERT_EQ(run({"mark", QString::fromUtf8(name)}).status, 0);
    }
    // What the send must deliver: the same files the export writes without a transfer.
    ASSERT_EQ(run({"export-lists"}).status, 0);
    QMap<QString, QByteArray> expected = filesIn(root.host(QStringLiteral("Export")));
    ASSERT_EQ(expected.keys(), (QStringList{"A B.3   .DAT", "HIEB01  .DAT", "Ä(1),&_-.DAT"}));
    QDir(root.host(QStringLiteral("Export"))).removeRecursively();
    qsizetype lines = 0;
    for (const QByteArray& file : expected)
        lines += file.count('\n');
    // A file of the name from an earlier send stays; the new one is kept beside it.
    expected[QStringLiteral("HIEB01_2.DAT")] = expected.take(QStringLiteral("HIEB01  .DAT"));
    expected[QStringLiteral("HIEB01  .DAT")] = "delivered before";

    TempRoot office;
    office.writeFile(QStringLiteral("HIEB01  .DAT"), "delivered before");
    PtyCable cable;
    ASSERT_TRUE(cable.ok());
    useCable(cable.end(0));
    ToolProcess peer(
        {"office-receive", "--port", cable.end(1), "--out", office.path(), "--timeout", "30"});

    const ToolRun r = run({"send"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, QStringLiteral("HIEB01\nA B.3\nÄ(1),&_-\n"));
    EXPECT_EQ(r.err, QString());
    const ToolRun o = peer.finish();
    EXPECT_EQ(o.status, 0) << o.err.toStdString();
    EXPECT_EQ(filesIn(office.path()), expected);
    EXPECT_EQ(o.out,
              QStringLiteral("A B.3   .DAT\nHIEB01_2.DAT\nÄ(1),&_-.DAT\n%1 Zeilen empfangen\n")
                  .arg(lines));
    EXPECT_EQ(o.err, QStringLiteral("Warten auf Daten vom Gerät...\n"
                                    "Datei \"HIEB01  .DAT\" gibt es schon, gespeichert als "
                                    "\"HIEB01_2.DAT\"\n"));
    EXPECT_EQ(lists(), "HIEB01|0|1|2 LEER|0|0|0 A B.3|0|1|0 Ä(1),&_-|0|1|0");
}

TEST_F(ToolChannels, ReceiveImportsWhatTheOfficeDelivers)
{
    // By ActiveSync: the lists before a file the import refuses are named.
    TempRoot office;
    office.writeFile(QStringLiteral("A.DAT"), officeList("ERSTE", ""));
    office.writeFile(QStringLiteral("B.DAT"), officeList("FALSCH", "", "T00299"));
    office.writeFile(QStringLiteral("C.DAT"), officeList("DRITTE", ""));
    ToolProcess deliver({"office-activesync", "--root", root.path(), "--timeout", "30", "--deliver",
                         office.host(QStringLiteral("A.DAT")), office.host(QStringLiteral("B.DAT")),
                         office.host(QStringLiteral("C.DAT"))});
    const ToolRun refused = run({"receive"});
    EXPECT_EQ(deliver.finish().status, 0);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, QStringLiteral("ERSTE\n"));
    EXPECT_EQ(refused.err, QStringLiteral("Falsche Struktur der Liste!\n"));
    EXPECT_EQ(lists(), "HIEB01|0|0|2 LEER|0|0|0 ERSTE   |0|0|0");

    // By cable.
    office.writeFile(QStringLiteral("NEU1.DAT"),
                     officeList("NEU1",
                                "REGWR01    FI FI01 \r\n10A1     1FI  2626   0.59    FI01 \r\n"
                                "10A1     1FI  3030   0.90    FI01 \r\n"));
    office.writeFile(QStringLiteral("MUEHLE.DAT"),
                     officeList("M\xDCHLE", "REGWR01    FI FI01 \r\n"));
    office.writeFile(QStringLiteral("PUNKT.DAT"), officeList("\xC4(1),&_-", ""));
    root.writeFile(QStringLiteral("Import/STALE.DAT"), officeList("ALT", ""));
    PtyCable cable;
    ASSERT_TRUE(cable.ok());
    useCable(cable.end(0));
    ToolProcess peer({"office-send", "--port", cable.end(1), "--timeout", "30",
                      office.host(QStringLiteral("NEU1.DAT")),
                      office.host(QStringLiteral("MUEHLE.DAT")),
                      office.host(QStringLiteral("PUNKT.DAT"))});

    const ToolRun r = run({"receive"});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    // In the order of their names; the file left from before is not among them.
    EXPECT_EQ(r.out, QStringLiteral("MÜHLE\nNEU1\nÄ(1),&_-\n"));
    EXPECT_EQ(r.err, QString());
    const ToolRun o = peer.finish();
    EXPECT_EQ(o.status, 0) << o.err.toStdString();
    // Five lines, three and two.
    EXPECT_EQ(o.out, QStringLiteral("NEU1.DAT\nMUEHLE.DAT\nPUNKT.DAT\n10 Zeilen gesendet\n"));
    const std::string received = "HIEB01|0|0|2 LEER|0|0|0 ERSTE   |0|0|0 MÜHLE   |0|0|0 "
                                 "NEU1    |0|0|2 Ä(1),&_-|0|0|0";
    EXPECT_EQ(lists(), received);
    EXPECT_EQ(filesIn(root.host(QStringLiteral("Import"))), (QMap<QString, QByteArray>{}));

    // A name that would leave \Import ends the receive on both sides; nothing is written.
    office.writeFile(QStringLiteral("evil.dat"), "TD0../EVIL.DAT Quendrax     0Brovant_V300_D\r\n"
                                                 "001evil\r\n");
    ToolProcess evil({"office-send", "--port", cable.end(1), "--timeout", "30",
                      office.host(QStringLiteral("evil.dat"))});
    const ToolRun hostile = run({"receive"});
    EXPECT_EQ(evil.finish().status, 1);
    EXPECT_EQ(hostile.status, 1);
    EXPECT_EQ(hostile.out, QString());
    EXPECT_TRUE(hostile.err.contains(
        QStringLiteral("Fehler bei der Übertragung!\nDateiname nicht zulässig:\n\"../EVIL.DAT\"")))
        << hostile.err.toStdString();
    EXPECT_EQ(lists(), received);
    EXPECT_EQ(filesIn(root.path()).keys().filter(QStringLiteral("EVIL")), QStringList());
}

TEST_F(ToolChannels, FailedTransfersChangeNoList)
{
    // FTP's own failures (a wrong password...): FtpChannelTest; here one reaching the command line.
    FtpTestServer gone;
    QString why;
    ASSERT_TRUE(gone.start(kFtpScript, kFtpUser, kFtpPassword, why)) << why.toStdString();
    gone.stop();

    const QString noPort = QStringLiteral("Schnittstelle COM1: kann nicht\ngeöffnet werden!\n");
    const struct {
        const char* what;
        const char* command;
        std::function<void()> setUp;
        QString err; // lines stderr holds
    } cases[] = {
        {"no dev/COM1 link", "send", [&] { useCable({}); },
         noPort + QStringLiteral("keine Verknüpfung dev/COM1\n")},
        {"no dev/COM1 link", "receive", [] {},
         noPort + QStringLiteral("keine Verknüpfung dev/COM1\n")},
        {"dev/COM1 points nowhere", "send", [&] { useCable(root.host(QStringLiteral("ttyNONE"))); },
         noPort + QStringLiteral("open: No such file or directory\n")},
        {"FTP server gone", "send", [&] { useFtp(root.path(), gone, 3); },
         QStringLiteral("Fehler!\nFehler:7\n")},
    };
    ASSERT_EQ(run({"mark", "HIEB01"}).status, 0);
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.command) + ", " + c.what);
        c.setUp();
        const ToolRun r = run({c.command});
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.out, QString());
        EXPECT_TRUE(r.err.contains(c.err)) << r.err.toStdString();
        EXPECT_EQ(lists(), "HIEB01|1|0|2 LEER|0|0|0");
    }

    // Nothing marked is nothing failed.
    ASSERT_EQ(run({"mark", "HIEB01"}).status, 0);
    const ToolRun none = run({"send"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.err, QString::fromUtf8("Keine Liste für DÜ markiert!\n"));
}

TEST(ToolFetchConfig, FetchesByFtpAndLoadsTheConfiguration)
{
    const QByteArray configuration =
        readAll(QStringLiteral(BROVANT_SOURCE_DIR "/demo/passive.dtr"));
    ASSERT_FALSE(configuration.isEmpty());
    const struct {
        const char* what;
        const char* served; // the file's name on the server, none when absent
        int mode;
        int status;
        const char* err; // a line stderr holds
    } cases[] = {
        // Fetched by FTP whatever the mode; either name (FtpChannelTest) will do.
        {"lower-case name, cable mode", "conf/stamm.dat", 1, 0, "-> JA"},
        {"no file", nullptr, 3, 1, "'STAMM.DAT' oder 'stamm.dat'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot root;
        FtpTestServer server;
        QString why;
        ASSERT_TRUE(server.start(kFtpScript, kFtpUser, kFtpPassword, why)) << why.toStdString();
        ASSERT_TRUE(QDir().mkpath(server.path(QStringLiteral("conf"))));
        if (c.served) {
            ASSERT_TRUE(writeAll(server.path(QString::fromLatin1(c.served)), configuration));
        }
        useFtp(root.path(), server, c.mode);

        const ToolRun r = tool(root.path(), {"fetch-config"});
        EXPECT_EQ(r.status, c.status) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(QString::fromUtf8(c.err))) << r.err.toStdString();
        const ToolRun settings = tool(root.path(), {"settings"});
        EXPECT_TRUE(settings.out.startsWith(
            QStringLiteral("KONFIG/Loaded: %1\n").arg(c.status == 0 ? 1 : 0)))
            << settings.out.toStdString();
        EXPECT_EQ(root.readFile(QStringLiteral("Brovant/passive.dtr")),
                  c.status == 0 ? configuration : QByteArray());
        EXPECT_EQ(filesIn(root.host(QStringLiteral("Import"))), (QMap<QString, QByteArray>{}));
    }
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
