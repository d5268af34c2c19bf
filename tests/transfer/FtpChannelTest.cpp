#include "transfer/FtpChannel.h"

#include "masterdata/SettingsStore.h"
#include "platform/Clock.h"
#include "platform/DeviceRoot.h"
#include "platform/MessageDialogs.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "support/CaseFile.h"
#include "support/TempRoot.h"
#include "tool/ToolRun.h"
#include "transfer/FtpTestServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include <sys/stat.h>

using namespace brovant;
using brovant::test::filesIn;
using brovant::test::FtpTestServer;
using brovant::test::TempRoot;

namespace {

const QString kScript = QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/ftp_server.py");
using Files = QMap<QString, QByteArray>;

// A file's content as data/ftp_transfers.txt writes it.
QByteArray content(QByteArray field)
{
    QByteArray binary = "Kopf;1;\r\nZeile;2;\r\n";
    for (int i = 0; i < 256; ++i)
        binary += char(i);
    return field.replace("{binary}", binary).replace("{70000 k}", QByteArray(70000, 'k'));
}

// The files of a case from field `at` on, name and content in turn.
Files filesOf(const test::Case& c, int at)
{
    Files files;
    for (int i = at; i + 1 < c.fields.size(); i += 2)
        files[c.text(i)] = content(c.fields[i + 1]);
    return files;
}

// The dialler's calls and the notices in the order they came, and what the dialogs showed.
class Watched final : public ScriptedDialogs, public Dialer {
public:
    QStringList events;
    std::function<void(double)> onProgress;

    void dial(const QString& entry) override { events << "dial " + entry; }
    void hangUp(const QString& entry) override { events << "hangUp " + entry; }
    void notice(const QString& line1, const QString& line2, const QString& line3,
                const QString& caption, bool sound) override
    {
        events << "notice";
        ScriptedDialogs::notice(line1, line2, line3, caption, sound);
    }
    void progress(double percent) override
    {
        ScriptedDialogs::progress(percent);
        if (onProgress)
            onProgress(percent);
    }

    // The information window's lines as shown, "-" where it was hidden.
    QStringList infoLines() const
    {
        QStringList lines;
        for (const Message& m : messages()) {
            if (m.kind == Kind::Info)
                lines << (m.showCommand == Hide ? QStringLiteral("-") : m.lines.first());
        }
        return lines;
    }
};

// Serves the default name and password, or those given.
void start(FtpTestServer& server, const QStringList& options = {},
           const QString& name = SettingsStore::defaultText(Setting::FtpName),
           const QString& password = SettingsStore::defaultText(Setting::FtpPassword))
{
    QString why;
    ASSERT_TRUE(server.start(kScript, name, password, why, options)) << why.toStdString();
    ASSERT_TRUE(QDir().mkpath(server.path("data")));
}

class FtpChannelTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(start(server)); }

    FtpTestServer server;
    TempRoot root;
    DeviceRoot device{root.path()};
    Registry registry{root.host("Registry")};
    Profile profile{registry};
    SettingsStore store{profile};
    Watched dialogs;
};

const QStringList kDialledClean{"dial GPRS", "hangUp GPRS"};
const QStringList kDialledNotice{"dial GPRS", "notice", "hangUp GPRS"};

// One transfer a line of data/ftp_transfers.txt.
TEST_F(FtpChannelTest, SendsAndFetchesAsTheCasesSay)
{
    FtpTestServer gone;
    ASSERT_NO_FATAL_FAILURE(start(gone));
    gone.stop();
    const Files imported{{"STAMM.DAT", "alte Konfiguration"}, {"L0001.DAT", "alt"}};
    for (const test::Case& c : test::readCases(QStringLiteral("transfer/data/ftp_transfers.txt"))) {
        SCOPED_TRACE(c.where().constData());
        const bool sending = c.fields[0] == "send";
        const bool ok = c.fields[6] == "-";
        store.writeText(Setting::FtpServer, 0,
                        c.text(2)
                            .replace(QStringLiteral("{server}"), server.address())
                            .replace(QStringLiteral("{gone}"), gone.address()));
        store.writeText(Setting::FtpPassword, 0,
                        c.fields[3] == "-" ? SettingsStore::defaultText(Setting::FtpPassword)
                                           : c.text(3));
        store.writeText(Setting::FtpDirectory, 0, QStringLiteral("data"));
        store.writeText(sending ? Setting::FtpDirectory : Setting::FtpDirectory2, 0, c.text(5));
        for (const char* top : {"data", "konfig", "eingang"})
            QDir(server.path(top)).removeRecursively();
        for (const QString& folder : c.text(4).split(u'|', Qt::SkipEmptyParts))
            ASSERT_TRUE(QDir().mkpath(server.path(folder)));
        QDir(root.host("Export")).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(root.host("Export")));
        const Files files = filesOf(c, 9);
        for (const auto& [name, bytes] : files.asKeyValueRange()) {
            const QString path = sending ? root.host("Export/" + name) : server.path(name);
            ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()) && test::writeAll(path, bytes));
        }
        for (const auto& [name, bytes] : imported.asKeyValueRange())
            root.writeFile("Import/" + name, bytes);
        dialogs.events.clear();
        dialogs.clear();

        FtpChannel ftp(device, store, dialogs, &dialogs, FtpChannel::Timeouts{2, 2, 1});
        EXPECT_EQ(sending ? ftp.send() : ftp.fetchConfiguration(), ok);
        EXPECT_EQ(dialogs.asked(), ok ? QStringList() : QStringList{c.text(6)});
        EXPECT_EQ(dialogs.events, ok ? kDialledClean : kDialledNotice);
        EXPECT_EQ(dialogs.infoLines(), c.text(7).split(u'|'));
        if (!sending) {
            const Files fetched{{"STAMM.DAT", content(c.fields[8])}};
            EXPECT_EQ(filesIn(root.host("Import")), ok ? fetched : Files());
            EXPECT_EQ(filesIn(server.folder()), files);
            continue;
        }
        Files held;
        for (const QString& path : c.text(8).split(u'|', Qt::SkipEmptyParts))
            held[path] = files.value(path.section(u'/', -1));
        EXPECT_EQ(filesIn(server.folder()), held);
        // Nothing is deleted locally: the next export empties the folder.
        EXPECT_EQ(filesIn(root.host("Export")), files);
        EXPECT_EQ(filesIn(root.host("Import")), imported);
        if (!ok)
            continue;
        const QString remote = server.path(c.text(5).mid(c.text(5).startsWith(u'/')));
        EXPECT_TRUE(QDir(remote).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
        const std::vector<double> progress = dialogs.progressValues();
        ASSERT_FALSE(progress.empty());
        EXPECT_EQ(progress.front(), 0);
        EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
        qsizetype bytes = 0;
        for (const QByteArray& content : held)
            bytes += content.size();
        EXPECT_EQ(progress.back(), bytes > 0 ? 100 : 0);
    }
}

// One transfer a line of data/ftp_lost.txt.
TEST_F(FtpChannelTest, LostServersLimitsAndCancelEndInTheUsualNotice)
{
    for (const test::Case& row : test::readCases(QStringLiteral("transfer/data/ftp_lost.txt"))) {
        SCOPED_TRACE(row.where().constData());
        const auto given = [&](int i) {
            return row.fields.value(i) != "-";
        };
        const bool sending = row.fields[1] == "send";
        const QByteArray lost = row.fields[2];
        FtpChannel::Timeouts limits;
        if (given(5))
            limits = {60, 60, 60, row.fields[5].toInt(),
                      given(6) ? row.fields[6].toLongLong() : limits.maxFetchBytes};
        const QString notice = given(8) ? row.text(8) : QString();
        FtpTestServer own;
        ASSERT_NO_FATAL_FAILURE(start(own, given(3) ? QStringList{row.text(3)} : QStringList()));
        const QByteArray file(row.fields[4].toLongLong(), 'k');
        ASSERT_TRUE(test::writeAll(own.path("data/STAMM.DAT"), file));
        QDir(root.host("Export")).removeRecursively();
        if (sending)
            root.writeFile("Export/STAMM.DAT", file);
        store.writeText(Setting::FtpServer, 0, own.address());
        dialogs.events.clear();
        dialogs.clear();
        dialogs.cancelAtProgress(given(7) ? row.fields[7].toDouble() : -1);
        // A silent or trickling server is waited out by the whole-transfer limit: its time passes
        // at once, and the second name of a fetch does not wait again.
        ManualClock clock;
        bool acted = false;
        dialogs.onProgress = [&](double percent) {
            if (lost == "stays" || percent < (lost == "trickles" ? 0.01 : 1)
                || std::exchange(acted, true))
                return;
            if (lost == "killed")
                own.stop();
            if (lost == "silent")
                own.freeze();
            if (lost != "killed")
                clock.advanceMs(60'000);
        };
        FtpChannel ftp(device, store, dialogs, &dialogs, limits, &clock);
        EXPECT_EQ(sending ? ftp.send() : ftp.fetchConfiguration(), notice.isEmpty());
        dialogs.onProgress = nullptr;
        EXPECT_EQ(dialogs.asked(), notice.isEmpty() ? QStringList() : QStringList{notice});
        EXPECT_EQ(dialogs.events, notice.isEmpty() ? kDialledClean : kDialledNotice);
        EXPECT_FALSE(dialogs.cancelOffered());
        if (lost == "killed" || lost == "silent") {
            ASSERT_GE(dialogs.progressValues().size(), 2u);
            EXPECT_LT(dialogs.progressValues().back(), 100);
        }
        if (!sending) {
            const Files fetched = notice.isEmpty() ? Files{{"STAMM.DAT", file}} : Files{};
            EXPECT_EQ(filesIn(root.host("Import")), fetched);
        }
    }
}

TEST_F(FtpChannelTest, CredentialsComeFromAnOwnerOnlyHive)
{
    // Characters that would break a URL must reach the server untouched.
    const QString name = QString::fromUtf8("förster");
    const QString password = QString::fromUtf8("p@ss:wört/#?");
    FtpTestServer own;
    ASSERT_NO_FATAL_FAILURE(start(own, {}, name, password));

    const mode_t oldMask = ::umask(0);
    store.writeText(Setting::FtpServer, 0, own.address());
    store.writeText(Setting::FtpName, 0, name);
    store.writeText(Setting::FtpPassword, 0, password);
    EXPECT_TRUE(registry.setDword(Hive::LocalMachine, "ControlPanel\\Backlight", "Level", 3));
    ::umask(oldMask);
    for (const char* hive : {"HKEY_CURRENT_USER.reg", "HKEY_LOCAL_MACHINE.reg"}) {
        struct stat info {};
        ASSERT_EQ(::stat(QFile::encodeName(root.host("Registry/") + hive).constData(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0600u) << hive;
    }

    // What the channel reads is what a later session finds in the hive file.
    Registry reopened(root.host("Registry"));
    Profile reopenedProfile(reopened);
    SettingsStore reopenedStore(reopenedProfile);
    EXPECT_EQ(reopenedStore.readText(Setting::FtpPassword), password);
    root.writeFile("Export/L0001.DAT", "1;\r\n");
    EXPECT_TRUE(FtpChannel(device, reopenedStore, dialogs, &dialogs).send())
        << dialogs.asked().join('\n').toStdString();
    EXPECT_EQ(filesIn(own.path("data")), (Files{{"L0001.DAT", "1;\r\n"}}));
}

// One case a line of data/nmcli_calls.txt.
TEST(NetworkManagerDialer, DialsOnlyWhereNetworkManagerRuns)
{
    const QByteArray oldPath = qgetenv("PATH");
    for (const test::Case& c : test::readCases(QStringLiteral("transfer/data/nmcli_calls.txt"))) {
        SCOPED_TRACE(c.where().constData());
        TempRoot bin;
        if (c.fields.value(1) == "yes") {
            ASSERT_TRUE(
                QFile::copy(QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/data/nmcli.sh"),
                            bin.host("nmcli")));
            ASSERT_TRUE(QFile::setPermissions(
                bin.host("nmcli"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        }
        qputenv("PATH", bin.path().toLocal8Bit());
        qputenv("FAKE_NMCLI_LOG", bin.host("calls.log").toLocal8Bit());
        qputenv("FAKE_NMCLI_STATE", c.fields.value(2));
        NetworkManagerDialer dialer;
        dialer.dial("GPRS");
        dialer.hangUp("GPRS");
        // A second hang-up without dialling does nothing.
        dialer.hangUp("GPRS");
        qputenv("PATH", oldPath);
        const QString log = QString::fromLocal8Bit(bin.readFile("calls.log"));
        EXPECT_EQ(log.split(u'\n', Qt::SkipEmptyParts), c.text(3).split(u'|', Qt::SkipEmptyParts));
    }
    qunsetenv("FAKE_NMCLI_LOG");
    qunsetenv("FAKE_NMCLI_STATE");
}

} // namespace
