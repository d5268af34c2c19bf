// The brovant-office program as an office runs it: its commands' output forms and exit codes, and
// "serve" with its inbox and JSON API over real HTTP.
#include "OfficeFixture.h"

#include "masterdata/DeviceSession.h"
#include "masterdata/SettingsStore.h"
#include "support/TempRoot.h"
#include "transfer/FtpTestServer.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <httplib.h>

namespace brovant::test {
namespace {

class OfficeProgramTest : public ::testing::Test {
protected:
    ToolRun office(QStringList args, const QByteArray& input = {})
    {
        QProcess p;
        p.start(QStringLiteral(BROVANT_OFFICE_PATH),
                QStringList{QStringLiteral("--data"), dir.path()} + args);
        p.write(input);
        p.closeWriteChannel();
        p.waitForFinished(60000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                QString::fromUtf8(p.readAllStandardOutput()),
                QString::fromUtf8(p.readAllStandardError())};
    }
    QString file(const char* name, const QByteArray& bytes)
    {
        const QString path = dir.filePath(QLatin1StringView(name));
        writeAll(path, bytes);
        return path;
    }

    QTemporaryDir dir;
};

TEST_F(OfficeProgramTest, CommandsPrintTheirFormsAndExitCodes)
{
    const QByteArray list = deviceFile("export_all_pairs.dat");
    const QString a = file("HIEB01.DAT", list);
    const QString b = file("L2.DAT", deviceFile("export_second_texts.dat"));
    const QString bad = file("bad.DAT", "kein Inhalt\r\n");

    ToolRun r = office({"import", a, b});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "imported HIEB01 1\nimported L2 2\n");
    r = office({"import", a, bad});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "duplicate HIEB01 1\nrejected " + bad + ": keine Listendatei\n");

    r = office({"lists"});
    EXPECT_EQ(r.status, 0);
    const QStringList lines = r.out.split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    const QStringList cells = lines[0].split(u'\t');
    ASSERT_EQ(cells.size(), 9) << lines[0].toStdString();
    EXPECT_EQ(cells.mid(0, 5), (QStringList{"1", "HIEB01", "1", "04.05.2026", "WR01"}));
    EXPECT_TRUE(cells[8].startsWith(QDateTime::currentDateTimeUtc().toString("yyyy-MM-dd")));

    r = office({"user", "add", "anna", "--role", "clerk"}, "Fichte 1\n");
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    r = office({"user", "add", "anna", "--role", "chef"}, "x\n");
    EXPECT_EQ(r.status, 2);
    r = office({"user", "add", "anna", "--role", "clerk"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(office({"frobnicate"}).status, 2);
    EXPECT_EQ(office({"import"}).status, 2);
}

// "serve" in the background: its address read from its first line.
class Server {
public:
    Server(const QString& data, const QString& inbox)
    {
        m_process.start(QStringLiteral(BROVANT_OFFICE_PATH),
                        {"--data", data, "serve", "--listen", "127.0.0.1:0", "--inbox", inbox});
        m_process.waitForReadyRead(30000);
        const QString first = QString::fromUtf8(m_process.readLine());
        const auto match = QRegularExpression("http://127.0.0.1:(\\d+)").match(first);
        if (match.hasMatch())
            port = match.captured(1).toInt();
    }
    ~Server() { exitCode(); }
    // Lines printed since the start, waiting up to a while for `count` of them.
    QStringList lines(int count)
    {
        for (int i = 0; i < 200 && m_lines.size() < count; ++i) {
            m_process.waitForReadyRead(100);
            while (m_process.canReadLine())
                m_lines << QString::fromUtf8(m_process.readLine()).trimmed();
        }
        return m_lines;
    }
    int exitCode()
    {
        m_process.terminate();
        m_process.waitForFinished(10000);
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    int port = 0;

private:
    QProcess m_process;
    QStringList m_lines;
};

QJsonDocument json(const httplib::Result& r)
{
    return r ? QJsonDocument::fromJson(QByteArray::fromStdString(r->body)) : QJsonDocument();
}

// The inbox "serve" takes is the FTP test's; here the API's answers and refusals.
TEST_F(OfficeProgramTest, ServeAnswersTheApi)
{
    ASSERT_EQ(office({"user", "add", "clerk", "--role", "clerk"}, "geheim\n").status, 0);
    ASSERT_EQ(office({"user", "add", "leser", "--role", "reader"}, "lesen\n").status, 0);
    ASSERT_EQ(office({"import", file("HIEB01.DAT", deviceFile("export_all_pairs.dat"))}).status, 0);
    Server server(dir.path(), dir.filePath("inbox"));
    ASSERT_GT(server.port, 0);
    httplib::Client http("127.0.0.1", server.port);
    EXPECT_EQ(http.Get("/api/lists")->status, 401);
    http.set_basic_auth("leser", "lesen");
    auto lists = http.Get("/api/lists");
    ASSERT_TRUE(lists);
    EXPECT_EQ(lists->status, 200);
    const QJsonArray rows = json(lists).array();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0]["liste_nr"].toString(), "HIEB01");

    EXPECT_EQ(json(http.Get("/api/lists/1")).object()["trees_list"].toArray().size(), 3);
    EXPECT_EQ(http.Get("/api/lists/99")->status, 404);

    // A reader may not upload; a clerk may, and a file with path parts is just bytes.
    const std::string second = deviceFile("export_second_texts.dat").toStdString();
    EXPECT_EQ(http.Post("/api/lists", second, "application/octet-stream")->status, 403);
    httplib::Client clerk("127.0.0.1", server.port);
    clerk.set_basic_auth("clerk", "geheim");
    auto posted = clerk.Post("/api/lists", second, "application/octet-stream");
    ASSERT_TRUE(posted);
    EXPECT_EQ(posted->status, 201);
    EXPECT_EQ(json(posted).object()["liste_nr"].toString(), "L2");
    EXPECT_EQ(clerk.Post("/api/lists", "TD0 kaputt", "application/octet-stream")->status, 422);
    // Too large is refused before it is read.
    const std::string huge(17 * 1024 * 1024, 'x');
    auto tooLarge = clerk.Post("/api/lists", huge, "application/octet-stream");
    EXPECT_TRUE(!tooLarge || tooLarge->status == 413);

    // A wrong password again and again: after a few, even the right one has to wait.
    httplib::Client guess("127.0.0.1", server.port);
    guess.set_basic_auth("leser", "falsch");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(guess.Get("/api/lists")->status, 401);
    EXPECT_EQ(guess.Get("/api/lists")->status, 429);
    EXPECT_EQ(http.Get("/api/lists")->status, 429);

    EXPECT_EQ(server.exitCode(), 0);
}

// The pages as a browser uses them: the log-in's token, the session cookie's flags, forms refused
// without the session's token, an uploaded name reduced to its last part, totals across lists.
TEST_F(OfficeProgramTest, PagesKeepTheirSessionAndFormTokens)
{
    ASSERT_EQ(office({"user", "add", "clerk", "--role", "clerk"}, "geheim\n").status, 0);
    ASSERT_EQ(office({"import", file("A.DAT", deviceFile("export_all_pairs.dat"))}).status, 0);
    Server server(dir.path(), dir.filePath("inbox"));
    ASSERT_GT(server.port, 0);
    httplib::Client http("127.0.0.1", server.port);
    const auto hidden = [](const std::string& body) {
        const auto m = QRegularExpression("name=\"csrf\" value=\"([^\"]+)\"")
                           .match(QString::fromStdString(body));
        return m.captured(1).toStdString();
    };
    const auto cookieOf = [](const httplib::Result& r, const char* name) {
        const auto m = QRegularExpression(QStringLiteral("%1=([^;]*)").arg(name))
                           .match(QString::fromStdString(r->get_header_value("Set-Cookie")));
        return m.captured(1).toStdString();
    };

    auto form = http.Get("/login");
    const std::string loginToken = hidden(form->body);
    ASSERT_EQ(cookieOf(form, "brovant_login"), loginToken);
    const httplib::Params credentials{{"name", "clerk"}, {"password", "geheim"}, {"csrf", loginToken}};
    // Without the form's cookie the token counts for nothing.
    EXPECT_EQ(http.Post("/login", credentials)->status, 200);
    auto login = http.Post("/login", {{"Cookie", "brovant_login=" + loginToken}}, credentials);
    ASSERT_EQ(login->status, 303);
    const std::string setCookie = login->get_header_value("Set-Cookie");
    EXPECT_NE(setCookie.find("HttpOnly"), std::string::npos);
    EXPECT_NE(setCookie.find("SameSite=Strict"), std::string::npos);
    const httplib::Headers session{{"Cookie", "brovant_session=" + cookieOf(login, "brovant_session")}};

    auto lists = http.Get("/", session);
    ASSERT_EQ(lists->status, 200);
    const std::string token = hidden(lists->body);
    const std::string second = deviceFile("export_second_texts.dat").toStdString();
    const auto upload = [&](const std::string& csrf) {
        return http.Post("/upload", session,
                         httplib::MultipartFormDataItems{
                             {"csrf", csrf, "", ""},
                             {"file", second, "../../etc/L2.DAT", "application/octet-stream"}});
    };
    EXPECT_EQ(upload("falsch")->status, 400);
    EXPECT_EQ(upload(token)->status, 200);
    EXPECT_EQ(office({"lists"}).out.split(u'\n', Qt::SkipEmptyParts).size(), 2);
    httplib::Client api("127.0.0.1", server.port);
    api.set_basic_auth("clerk", "geheim");
    EXPECT_EQ(json(api.Get("/api/lists/2")).object()["file"].toString(), "L2.DAT");

    auto totals = http.Get("/totals.csv?id=1&id=2", session);
    ASSERT_EQ(totals->status, 200);
    EXPECT_EQ(totals->body.substr(0, 18), "HA;Stufe;Stk;Kub.\r");
    auto pdf = http.Get("/totals.pdf?id=1&id=2", session);
    ASSERT_EQ(pdf->status, 200);
    EXPECT_EQ(pdf->body.substr(0, 5), "%PDF-");
    // Logging out needs the token as well; afterwards the session is gone.
    EXPECT_EQ(http.Post("/logout", session, httplib::Params{{"csrf", token}})->status, 303);
    EXPECT_EQ(http.Get("/", session)->status, 303);
}

// Killed at any moment while it takes an inbox, the next run finishes the job: every list stored
// once, every file in done/, none left behind.
TEST_F(OfficeProgramTest, AKillAnywhereInTheInboxLosesNothing)
{
    const QString inbox = dir.filePath("inbox");
    QDir().mkpath(inbox);
    const QByteArray list = deviceFile("export_all_pairs.dat");
    const int files = 60;
    for (int i = 0; i < files; ++i) {
        const QByteArray name = QStringLiteral("K%1").arg(i, 5, 10, QChar(u'0')).toLatin1();
        const QString path = inbox + "/" + name + ".DAT";
        ASSERT_TRUE(writeAll(path, QByteArray(list).replace("HIEB01", name.leftJustified(6, ' '))));
        // Settled: written a while ago.
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::ReadWrite));
        f.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime);
    }
    QRandomGenerator random(20261124);
    for (int round = 0; round < 12; ++round) {
        QProcess p;
        p.start(QStringLiteral(BROVANT_OFFICE_PATH), {"--data", dir.path(), "inbox", inbox});
        ASSERT_TRUE(p.waitForStarted());
        QThread::msleep(random.bounded(30, 400));
        p.kill();
        p.waitForFinished();
    }
    const ToolRun last = office({"inbox", inbox});
    EXPECT_EQ(last.status, 0) << last.err.toStdString();
    EXPECT_EQ(office({"lists"}).out.count(u'\n'), files);
    EXPECT_EQ(QDir(inbox).entryList(QDir::Files).size(), 0);
    QStringList done = QDir(inbox + "/done").entryList(QDir::Files);
    EXPECT_EQ(done.size(), files) << done.join(u' ').toStdString();
}

// A device sends its marked lists by FTP to a server whose upload folder is the office's inbox;
// the lists appear in the office's page and API with the device's own totals.
TEST_F(OfficeProgramTest, ListsSentByFtpAppearInTheOffice)
{
    FtpTestServer ftp;
    QString why;
    ASSERT_TRUE(ftp.start(QStringLiteral(BROVANT_SOURCE_DIR "/tests/transfer/ftp_server.py"),
                          "office", "s3cret", why))
        << why.toStdString();
    const QString inbox = ftp.path("data");
    ASSERT_TRUE(QDir().mkpath(inbox));

    TempRoot device;
    ASSERT_EQ(demoDevice(device.path(), {"HIEB01", "HIEB02"}), "");
    ASSERT_EQ(failure(tool(device.path(), {"tally", "HIEB01", "--bhd", "42", "--species", "FI",
                                           "--stk", "2", "--tarif", "FI01"})),
              "");
    ASSERT_EQ(failure(tool(device.path(), {"tally", "HIEB02", "--bhd", "31", "--species", "BU",
                                           "--tarif", "BU01"})),
              "");
    {
        DeviceSession session(device.path());
        SettingsStore& settings = session.store();
        settings.writeInt(Setting::DueMode, 0, 3);
        settings.writeText(Setting::FtpServer, 0, ftp.address());
        settings.writeText(Setting::FtpName, 0, "office");
        settings.writeText(Setting::FtpPassword, 0, "s3cret");
        settings.writeText(Setting::FtpDirectory, 0, "data");
    }
    for (const char* name : {"HIEB01", "HIEB02"})
        ASSERT_EQ(failure(tool(device.path(), {"mark", name})), "");

    ASSERT_EQ(office({"user", "add", "leser", "--role", "reader"}, "lesen\n").status, 0);
    Server server(dir.path(), inbox);
    ASSERT_GT(server.port, 0);
    const ToolRun sent = tool(device.path(), {"send"});
    ASSERT_EQ(failure(sent), "");
    QStringList taken = server.lines(2);
    for (QString& line : taken)
        line.remove(QRegularExpression(" \\d+$"));
    taken.sort();
    EXPECT_EQ(taken, (QStringList{"imported HIEB01", "imported HIEB02"}));

    httplib::Client http("127.0.0.1", server.port);
    http.set_basic_auth("leser", "lesen");
    for (const char* name : {"HIEB01", "HIEB02"}) {
        const QJsonArray found = json(http.Get(("/api/lists?q=" + std::string(name)).c_str())).array();
        ASSERT_EQ(found.size(), 1) << name;
        const qint64 id = found[0].toObject()["id"].toInteger();
        QStringList office;
        for (const auto& value : json(http.Get(("/api/lists/" + std::to_string(id) + "/totals").c_str())).array()) {
            const QJsonObject row = value.toObject();
            office << QStringList{row["species"].toString(), row["volume"].toString(),
                                  row["count"].toString(), row["mean"].toString()}
                          .join(u'|');
        }
        // The device's table without its blank padding and the line above the sum.
        QString shown = tool(device.path(), {"totals", name}).out;
        shown.replace(QRegularExpression(" *\\| *"), "|");
        QStringList deviceRows = shown.split(u'\n', Qt::SkipEmptyParts);
        deviceRows.removeAll("|||");
        EXPECT_EQ(office, deviceRows) << name;
    }
}

} // namespace
} // namespace brovant::test
