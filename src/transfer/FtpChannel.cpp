#include "transfer/FtpChannel.h"

#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/MediumFile.h"
#include "platform/MessageDialogs.h"
#include "transfer/ActiveSyncChannel.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include <curl/curl.h>

#include <cmath>

namespace brovant {

namespace {

const QString kExportFolder = QStringLiteral("\\Export");
const QString kImportFolder = QStringLiteral("\\Import");
const QString kConfigName = QStringLiteral("STAMM.DAT");
// Left behind by the ActiveSync handshake; it means nothing to the office.
const QString kActiveSyncMarker = QString::fromUtf16(ActiveSyncChannel::kSendRequest);

// Runs nmcli and waits for it; false when it failed or did not finish in time.
bool runNmcli(const QString& nmcli, const QStringList& arguments, int timeoutMs,
              QByteArray* output = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(nmcli, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    if (output)
        *output = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QString nmcliWhereNetworkManagerRuns()
{
    const QString nmcli = QStandardPaths::findExecutable(QStringLiteral("nmcli"));
    if (nmcli.isEmpty())
        return {};
    QByteArray state;
    const QStringList query{QStringLiteral("-t"), QStringLiteral("-f"), QStringLiteral("RUNNING"),
                            QStringLiteral("general")};
    if (!runNmcli(nmcli, query, 5000, &state) || state.trimmed() != "running")
        return {};
    return nmcli;
}

bool curlReady()
{
    static const CURLcode init = curl_global_init(CURL_GLOBAL_DEFAULT);
    return init == CURLE_OK;
}

// "data/L001.DAT" -> "data/L001.DAT" with every segment percent-encoded; a leading "/" means the
// server's root rather than the login folder, which libcurl spells "%2F".
QByteArray encodedPath(const QString& remotePath)
{
    QString path = remotePath;
    QByteArray encoded;
    if (path.startsWith(u'/')) {
        encoded = "%2F";
        path.remove(0, 1);
    }
    const QStringList segments = path.split(u'/');
    for (qsizetype i = 0; i < segments.size(); ++i) {
        if (i > 0)
            encoded += '/';
        encoded += QUrl::toPercentEncoding(segments[i]);
    }
    return encoded;
}

// Shows the share of `total` bytes done, once per whole percent, and stops the transfer when the
// user pressed "Abbruch".
struct ProgressShown {
    MessageDialogs& dialogs;
    qint64 total = 0;
    qint64 doneBefore = 0; // bytes of earlier files of the same send
    bool upload = true;
    int lastPercent = 0;
    bool cancelled = false;

    void update(qint64 done, qint64 ofTotal)
    {
        if (ofTotal <= 0)
            return;
        const double percent = std::min(100.0, 100.0 * double(done) / double(ofTotal));
        const int whole = int(std::floor(percent));
        if (whole > lastPercent) {
            lastPercent = whole;
            dialogs.progress(whole);
        }
    }

    static int callback(void* self, curl_off_t downTotal, curl_off_t downNow, curl_off_t,
                        curl_off_t upNow)
    {
        auto* shown = static_cast<ProgressShown*>(self);
        if (!shown)
            return 0; // logging out
        // libcurl calls this often while it waits too, so a hanging line can be cancelled.
        if (shown->dialogs.cancelRequested()) {
            shown->cancelled = true;
            return 1;
        }
        if (shown->upload)
            shown->update(shown->doneBefore + upNow, shown->total);
        else
            shown->update(downNow, downTotal);
        return 0;
    }
};

size_t readFromFile(char* buffer, size_t size, size_t count, void* file)
{
    const qint64 got = static_cast<QFile*>(file)->read(buffer, qint64(size * count));
    return got < 0 ? CURL_READFUNC_ABORT : size_t(got);
}

// A fetched file, which may not grow past its limit: the server's size reply is checked before
// the transfer, the bytes themselves where a server does not tell the size.
struct FetchTarget {
    QSaveFile& file;
    qint64 limit;
    qint64 written = 0;
};

size_t writeToFile(char* data, size_t size, size_t count, void* target)
{
    auto* fetched = static_cast<FetchTarget*>(target);
    const qint64 bytes = qint64(size * count);
    fetched->written += bytes;
    // A short count makes libcurl stop with a write error.
    if (fetched->written > fetched->limit)
        return 0;
    return fetched->file.write(data, bytes) == bytes ? size * count : 0;
}

} // namespace

void NetworkManagerDialer::dial(const QString& entry)
{
    const QString nmcli = nmcliWhereNetworkManagerRuns();
    if (nmcli.isEmpty())
        return;
    m_dialled = true;
    runNmcli(nmcli,
             {QStringLiteral("--wait"), QStringLiteral("30"), QStringLiteral("connection"),
              QStringLiteral("up"), QStringLiteral("id"), entry},
             35000);
}

void NetworkManagerDialer::hangUp(const QString& entry)
{
    if (!m_dialled)
        return;
    m_dialled = false;
    const QString nmcli = QStandardPaths::findExecutable(QStringLiteral("nmcli"));
    if (!nmcli.isEmpty()) {
        runNmcli(
            nmcli,
            {QStringLiteral("connection"), QStringLiteral("down"), QStringLiteral("id"), entry},
            15000);
    }
}

std::optional<FtpServer> FtpServer::parse(const QString& setting)
{
    FtpServer server;
    QString rest = setting.trimmed();
    if (rest.startsWith(QLatin1String("ftps://"), Qt::CaseInsensitive)) {
        server.tls = true;
        rest.remove(0, 7);
    } else if (rest.startsWith(QLatin1String("ftp://"), Qt::CaseInsensitive)) {
        rest.remove(0, 6);
    }
    if (rest.endsWith(u'/'))
        rest.chop(1);

    QString portText;
    if (rest.startsWith(u'[')) {
        const qsizetype close = rest.indexOf(u']');
        if (close < 0)
            return std::nullopt;
        server.host = rest.mid(1, close - 1);
        const QString after = rest.mid(close + 1);
        if (!after.isEmpty()) {
            if (!after.startsWith(u':'))
                return std::nullopt;
            portText = after.mid(1);
            if (portText.isEmpty())
                return std::nullopt;
        }
        if (!server.host.contains(u':'))
            return std::nullopt;
    } else if (rest.count(u':') == 1) {
        const qsizetype colon = rest.indexOf(u':');
        server.host = rest.left(colon);
        portText = rest.mid(colon + 1);
        if (portText.isEmpty())
            return std::nullopt;
    } else {
        // No colon, or a bare IPv6 address, which cannot carry a port without brackets.
        server.host = rest;
    }

    if (!portText.isEmpty()) {
        bool ok = false;
        const int port = portText.toInt(&ok);
        for (const QChar c : portText) {
            if (!c.isDigit())
                ok = false;
        }
        if (!ok || port < 1 || port > 65535)
            return std::nullopt;
        server.port = port;
    }
    if (server.host.isEmpty())
        return std::nullopt;
    for (const QChar c : server.host) {
        if (c.isSpace() || c == u'/' || c == u'@' || c == u'[' || c == u']' || c == u'?'
            || c == u'#' || c == u'\\' || c.unicode() < 0x20)
            return std::nullopt;
    }
    return server;
}

QString FtpServer::baseUrl() const
{
    const QString shownHost = host.contains(u':') ? u'[' + host + u']' : host;
    return QStringLiteral("ftp://%1:%2/").arg(shownHost).arg(port);
}

// One connection: the dial-up around it and the libcurl handle, which keeps the logged-in
// control connection for every transfer that follows.
class FtpChannel::Session {
public:
    explicit Session(Dialer& dialer)
        : m_dialer(dialer)
    {
        m_dialer.dial(QString::fromUtf16(kDialEntry));
    }

    ~Session()
    {
        closeHandles();
        m_dialer.hangUp(QString::fromUtf16(kDialEntry));
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool init()
    {
        if (!curlReady())
            return false;
        m_multi = curl_multi_init();
        m_curl = curl_easy_init();
        return m_multi && m_curl;
    }

    // The multi handle holds the connection; cleaning it up logs out.
    void closeHandles()
    {
        if (m_multi)
            curl_multi_cleanup(m_multi);
        if (m_curl)
            curl_easy_cleanup(m_curl);
        m_multi = nullptr;
        m_curl = nullptr;
    }

    CURLcode login(const FtpServer& server, const QString& name, const QString& password,
                   const Timeouts& timeouts, ProgressShown& shown)
    {
        m_totalMs = timeouts.totalMs;
        m_started.start();
        m_base = server.baseUrl().toUtf8();
        CURL* c = m_curl;
        curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(c, CURLOPT_ERRORBUFFER, m_error);
        curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "ftp");
        // Direct access: proxy variables of the environment do not apply.
        curl_easy_setopt(c, CURLOPT_PROXY, "");
        // libcurl copies string options, so temporaries will do.
        curl_easy_setopt(c, CURLOPT_USERNAME, name.toUtf8().constData());
        curl_easy_setopt(c, CURLOPT_PASSWORD, password.toUtf8().constData());
        curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, long(timeouts.connectSeconds));
        curl_easy_setopt(c, CURLOPT_SERVER_RESPONSE_TIMEOUT, long(timeouts.responseSeconds));
        curl_easy_setopt(c, CURLOPT_LOW_SPEED_LIMIT, long(FtpTimeouts::kMinBytesPerSecond));
        curl_easy_setopt(c, CURLOPT_LOW_SPEED_TIME, long(timeouts.stallSeconds));
        // Passive (EPSV, then PASV) is libcurl's default without CURLOPT_FTPPORT.
        curl_easy_setopt(c, CURLOPT_FTP_USE_EPSV, 1L);
        curl_easy_setopt(c, CURLOPT_TRANSFERTEXT, 0L);
        // One CWD to the folder, then the plain name: the fewest commands per file.
        curl_easy_setopt(c, CURLOPT_FTP_FILEMETHOD, long(CURLFTPMETHOD_SINGLECWD));
        curl_easy_setopt(c, CURLOPT_FTP_CREATE_MISSING_DIRS, long(CURLFTP_CREATE_DIR_NONE));
        if (server.tls)
            curl_easy_setopt(c, CURLOPT_USE_SSL, long(CURLUSESSL_ALL));
        curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, &ProgressShown::callback);

        // Logging in and nothing else: the place to tell a wrong server from a wrong file.
        curl_easy_setopt(c, CURLOPT_URL, m_base.constData());
        curl_easy_setopt(c, CURLOPT_NOBODY, 1L);
        curl_easy_setopt(c, CURLOPT_XFERINFODATA, &shown);
        return perform("login");
    }

    CURLcode put(const QString& remotePath, QFile& source, ProgressShown& shown)
    {
        const QByteArray url = m_base + encodedPath(remotePath);
        curl_easy_setopt(m_curl, CURLOPT_URL, url.constData());
        curl_easy_setopt(m_curl, CURLOPT_NOBODY, 0L);
        curl_easy_setopt(m_curl, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(m_curl, CURLOPT_READFUNCTION, &readFromFile);
        curl_easy_setopt(m_curl, CURLOPT_READDATA, &source);
        curl_easy_setopt(m_curl, CURLOPT_INFILESIZE_LARGE, curl_off_t(source.size()));
        curl_easy_setopt(m_curl, CURLOPT_XFERINFODATA, &shown);
        return perform("put");
    }

    CURLcode get(const QString& remotePath, FetchTarget& target, ProgressShown& shown)
    {
        const QByteArray url = m_base + encodedPath(remotePath);
        curl_easy_setopt(m_curl, CURLOPT_URL, url.constData());
        curl_easy_setopt(m_curl, CURLOPT_NOBODY, 0L);
        curl_easy_setopt(m_curl, CURLOPT_UPLOAD, 0L);
        curl_easy_setopt(m_curl, CURLOPT_MAXFILESIZE_LARGE, curl_off_t(target.limit));
        curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, &writeToFile);
        curl_easy_setopt(m_curl, CURLOPT_WRITEDATA, &target);
        curl_easy_setopt(m_curl, CURLOPT_XFERINFODATA, &shown);
        return perform("get");
    }

private:
    // curl_easy_perform waits up to a second whenever libcurl 7.88 forgets to ask for a wake-up,
    // which it does after every passive-mode reply: a second per file. Polling ourselves with a
    // short bound keeps each file at the speed of the line.
    CURLcode perform(const char* step)
    {
        constexpr int kPollMs = 10;
        m_error[0] = '\0';
        // What is left of the operation's time is this step's limit.
        const qint64 leftMs = m_totalMs - m_started.elapsed();
        if (leftMs <= 0) {
            qWarning("FTP %s: time limit reached", step);
            return CURLE_OPERATION_TIMEDOUT;
        }
        curl_easy_setopt(m_curl, CURLOPT_TIMEOUT_MS, long(leftMs));
        CURLcode code = CURLE_OK;
        CURLMcode state = curl_multi_add_handle(m_multi, m_curl);
        int running = 1;
        while (state == CURLM_OK && running > 0) {
            state = curl_multi_perform(m_multi, &running);
            if (state == CURLM_OK && running > 0)
                state = curl_multi_poll(m_multi, nullptr, 0, kPollMs, nullptr);
        }
        int queued = 0;
        while (CURLMsg* message = curl_multi_info_read(m_multi, &queued)) {
            if (message->msg == CURLMSG_DONE && message->easy_handle == m_curl)
                code = message->data.result;
        }
        curl_multi_remove_handle(m_multi, m_curl);
        // The step's progress ends with it; logging out later reports to nobody.
        curl_easy_setopt(m_curl, CURLOPT_XFERINFODATA, nullptr);
        if (state != CURLM_OK) {
            qWarning("FTP %s: %s", step, curl_multi_strerror(state));
            return CURLE_FAILED_INIT;
        }
        if (code != CURLE_OK) {
            qWarning("FTP %s: %d %s", step, int(code),
                     m_error[0] ? m_error : curl_easy_strerror(code));
        }
        return code;
    }

    Dialer& m_dialer;
    CURLM* m_multi = nullptr;
    CURL* m_curl = nullptr;
    QByteArray m_base;
    QElapsedTimer m_started;
    qint64 m_totalMs = 0;
    char m_error[CURL_ERROR_SIZE] = {};
};

FtpChannel::FtpChannel(const DeviceRoot& root, const SettingsStore& settings,
                       MessageDialogs& dialogs, Dialer* dialer, Timeouts timeouts)
    : m_root(root)
    , m_settings(settings)
    , m_dialogs(dialogs)
    , m_ownDialer(dialer ? nullptr : std::make_unique<NetworkManagerDialer>())
    , m_dialer(dialer ? *dialer : *m_ownDialer)
    , m_timeouts(timeouts)
{
}

FtpChannel::~FtpChannel() = default;

std::unique_ptr<FtpChannel::Session> FtpChannel::open()
{
    m_dialogs.info(MessageDialogs::Show, QStringLiteral("Verbinden..."));
    m_dialogs.progress(0);
    m_dialogs.offerCancel(true);

    auto session = std::make_unique<Session>(m_dialer);
    if (!session->init()) {
        m_dialogs.info(MessageDialogs::Hide, QString());
        m_dialogs.notice(QStringLiteral("Fehler!"), QStringLiteral("InternetOpen"));
        return nullptr;
    }

    const std::optional<FtpServer> server =
        FtpServer::parse(m_settings.readText(Setting::FtpServer));
    ProgressShown loggingIn{m_dialogs};
    const CURLcode code =
        server ? session->login(*server, m_settings.readText(Setting::FtpName),
                                m_settings.readText(Setting::FtpPassword), m_timeouts, loggingIn)
               : CURLE_URL_MALFORMAT;
    if (code != CURLE_OK) {
        session->closeHandles();
        m_dialogs.info(MessageDialogs::Hide, QString());
        m_dialogs.notice(QStringLiteral("Fehler!"),
                         QString::asprintf("Fehler:%ld", static_cast<long>(code)));
        return nullptr;
    }
    return session;
}

bool FtpChannel::send()
{
    std::unique_ptr<Session> session = open();
    if (!session)
        return false;

    const QString directory = m_settings.readText(Setting::FtpDirectory);
    const QStringList names = m_root.find(DeviceRoot::join(kExportFolder, QStringLiteral("*.*")),
                                          DeviceRoot::Kind::Files);
    ProgressShown shown{m_dialogs};
    for (const QString& name : names) {
        if (name.compare(kActiveSyncMarker, Qt::CaseInsensitive) != 0)
            shown.total += m_root.fileSize(DeviceRoot::join(kExportFolder, name));
    }

    for (const QString& name : names) {
        m_dialogs.info(MessageDialogs::Show, QStringLiteral("Sende: %1").arg(name));
        if (name.compare(kActiveSyncMarker, Qt::CaseInsensitive) == 0)
            continue;
        const QString remotePath = directory + u'/' + name;
        QFile source(m_root.hostPath(DeviceRoot::join(kExportFolder, name)));
        const bool put =
            source.open(QIODevice::ReadOnly) && session->put(remotePath, source, shown) == CURLE_OK;
        if (!put) {
            session->closeHandles();
            m_dialogs.info(MessageDialogs::Hide, QString());
            m_dialogs.notice(QStringLiteral("Fehler!"), QStringLiteral("FtpPutFile"),
                             remotePath.left(25));
            return false;
        }
        shown.doneBefore += source.size();
    }

    session.reset();
    m_dialogs.info(MessageDialogs::Hide, QString());
    return true;
}

bool FtpChannel::fetchConfiguration()
{
    m_root.removeMatching(DeviceRoot::join(kImportFolder, QStringLiteral("*.*")));
    m_root.makeFolder(kImportFolder);
    std::unique_ptr<Session> session = open();
    if (!session)
        return false;

    const QString directory = m_settings.readText(Setting::FtpDirectory2);
    const QString target = m_root.hostPath(DeviceRoot::join(kImportFolder, kConfigName));
    bool fetched = false;
    for (const QString& name : {kConfigName, kConfigName.toLower()}) {
        // Written beside the target and renamed on commit: never half a file under its name.
        QSaveFile file(target);
        ProgressShown shown{m_dialogs};
        shown.upload = false;
        if (!file.open(QIODevice::WriteOnly))
            break;
        FetchTarget into{file, m_timeouts.maxFetchBytes};
        if (session->get(directory + u'/' + name, into, shown) == CURLE_OK
            && commitToMedium(file)) {
            fetched = true;
            break;
        }
        file.cancelWriting();
        // Once cancelled the user wants nothing more; the other spelling is for a missing file.
        if (shown.cancelled)
            break;
    }

    session->closeHandles();
    // The progress window goes in both cases: the import or the notice comes next.
    m_dialogs.info(MessageDialogs::Hide, QString());
    if (!fetched) {
        m_dialogs.notice(QStringLiteral("'STAMM.DAT' oder 'stamm.dat'"),
                         QStringLiteral("konnte nicht vom FTP-Server"),
                         QStringLiteral("geladen werden!"));
    }
    return fetched;
}

} // namespace brovant
