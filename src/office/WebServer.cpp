#include "office/WebServer.h"

#include "office/Inbox.h"
#include "office/ListReading.h"
#include "office/OfficeDevice.h"
#include "office/Passwords.h"
#include "office/WebPages.h"
#include "transfer/ListCsvExport.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QDir>
#include <QRandomGenerator>
#include <QUrlQuery>

#include <httplib.h>

#include <chrono>
#include <map>
#include <mutex>
#include <thread>

namespace brovant::office {
namespace {

// After this many failed log-ins a name waits, doubling with each further failure.
constexpr int kFreeFailures = 3;
constexpr qint64 kMaxWaitMs = 60 * 1000;

QJsonObject summaryJson(const ListSummary& s)
{
    return QJsonObject{{QStringLiteral("id"), qint64(s.id)},
                       {QStringLiteral("liste_nr"), s.listNumber},
                       {QStringLiteral("version"), s.version},
                       {QStringLiteral("current"), s.current},
                       {QStringLiteral("date"), s.date},
                       {QStringLiteral("region"), s.region},
                       {QStringLiteral("header"), s.headerText},
                       {QStringLiteral("trees"), qint64(s.treeCount)},
                       {QStringLiteral("volume"), QString::asprintf("%.2f", double(s.volume) / 100)},
                       {QStringLiteral("device"), s.device},
                       {QStringLiteral("file"), s.fileName},
                       {QStringLiteral("received"), s.received.toString(Qt::ISODate)}};
}

void sendJson(httplib::Response& res, const QJsonValue& value, int status = 200)
{
    const QByteArray body = value.isArray()
                                ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                                : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
    res.status = status;
    res.set_content(body.toStdString(), "application/json; charset=utf-8");
}

void sendError(httplib::Response& res, int status, const QString& message)
{
    sendJson(res, QJsonObject{{QStringLiteral("error"), message}}, status);
}

QString param(const httplib::Request& req, const char* name)
{
    return req.has_param(name) ? QString::fromStdString(req.get_param_value(name)) : QString();
}

ListQuery queryOf(const httplib::Request& req)
{
    ListQuery q;
    q.fromDay = param(req, "from");
    q.toDay = param(req, "to");
    q.region = param(req, "region");
    q.text = param(req, "q");
    static const std::map<QString, ListQuery::Column> columns = {
        {QStringLiteral("liste_nr"), ListQuery::Column::Number},
        {QStringLiteral("date"), ListQuery::Column::Date},
        {QStringLiteral("region"), ListQuery::Column::Region},
        {QStringLiteral("trees"), ListQuery::Column::Trees},
        {QStringLiteral("volume"), ListQuery::Column::Volume},
        {QStringLiteral("device"), ListQuery::Column::Device},
        {QStringLiteral("received"), ListQuery::Column::Received}};
    if (const auto found = columns.find(param(req, "sort")); found != columns.end())
        q.sort = found->second;
    q.descending = param(req, "order") != QLatin1String("asc");
    q.offset = std::max(0, param(req, "offset").toInt());
    const int limit = param(req, "limit").toInt();
    q.limit = limit > 0 ? std::min(limit, 1000) : 50;
    return q;
}

} // namespace

struct WebServer::Impl {
    OfficeStore& store;
    httplib::Server http;
    std::thread thread;
    int port = 0;
    QString host;

    QString publishFolder; // where the devices fetch the configuration (STAMM.DAT)

    bool publish(const QByteArray& bytes)
    {
        if (publishFolder.isEmpty() || !QDir().mkpath(publishFolder))
            return false;
        QSaveFile file(QDir(publishFolder).filePath(QStringLiteral("STAMM.DAT")));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    }

    std::mutex mutex; // guards failures and sessions
    struct Failures {
        int count = 0;
        qint64 lastMs = 0;
    };
    std::map<QString, Failures> failures;
    struct Session {
        QString user;
        Role role = Role::Reader;
        QString csrf;
        qint64 expiresMs = 0;
    };
    std::map<QString, Session> sessions;

    static constexpr qint64 kSessionMs = 8 * 3600 * 1000;

    static QString token()
    {
        QByteArray bytes(32, Qt::Uninitialized);
        QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), 8);
        return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    }

    static QString cookie(const httplib::Request& req, const char* name)
    {
        const QString all = QString::fromStdString(req.get_header_value("Cookie"));
        for (const QString& part : all.split(u';')) {
            const QString item = part.trimmed();
            const QString key = QLatin1StringView(name) + u'=';
            if (item.startsWith(key))
                return item.mid(key.size());
        }
        return {};
    }

    // How long a name must still wait after its failed log-ins (0: it may try).
    qint64 waitFor(const QString& name, qint64 now)
    {
        std::lock_guard lock(mutex);
        const auto found = failures.find(name);
        if (found == failures.end() || found->second.count < kFreeFailures)
            return 0;
        const qint64 wait = std::min(
            kMaxWaitMs, qint64(1000) << std::min(16, found->second.count - kFreeFailures));
        return std::max<qint64>(0, found->second.lastMs + wait - now);
    }

    // The user if name and password are right; a failure counts against the name from the moment
    // it is answered, so the time the hash took does not shorten the wait.
    std::optional<User> checkPassword(const QString& name, const QString& password)
    {
        const auto user = store.user(name);
        const bool matches = user && passwordMatches(*user, password);
        std::lock_guard lock(mutex);
        if (!matches) {
            Failures& f = failures[name];
            ++f.count;
            f.lastMs = QDateTime::currentMSecsSinceEpoch();
            return std::nullopt;
        }
        failures.erase(name);
        return user;
    }

    std::optional<Session> sessionOf(const httplib::Request& req)
    {
        const QString id = cookie(req, "brovant_session");
        if (id.isEmpty())
            return std::nullopt;
        std::lock_guard lock(mutex);
        const auto found = sessions.find(id);
        if (found == sessions.end())
            return std::nullopt;
        if (found->second.expiresMs < QDateTime::currentMSecsSinceEpoch()) {
            sessions.erase(found);
            return std::nullopt;
        }
        return found->second;
    }

    // The user of the request: its session, or (for the API) its Basic credentials. Else the
    // response is set: 401, 429 while the name waits, 403 for too small a role.
    std::optional<User> authorised(const httplib::Request& req, httplib::Response& res, Role need)
    {
        if (const auto session = sessionOf(req)) {
            if (int(session->role) < int(need)) {
                sendError(res, 403, QStringLiteral("Keine Berechtigung"));
                return std::nullopt;
            }
            return User{session->user, session->role, {}, {}, 0};
        }
        const std::string header = req.get_header_value("Authorization");
        QString name, password;
        if (header.rfind("Basic ", 0) == 0) {
            const QString pair = QString::fromUtf8(
                QByteArray::fromBase64(QByteArray::fromStdString(header.substr(6))));
            const qsizetype colon = pair.indexOf(u':');
            if (colon > 0) {
                name = pair.left(colon);
                password = pair.mid(colon + 1);
            }
        }
        if (name.isEmpty()) {
            res.set_header("WWW-Authenticate", "Basic realm=\"Brovant\", charset=\"UTF-8\"");
            sendError(res, 401, QStringLiteral("Anmeldung erforderlich"));
            return std::nullopt;
        }
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        if (const qint64 wait = waitFor(name, now)) {
            res.set_header("Retry-After", std::to_string((wait + 999) / 1000));
            sendError(res, 429, QStringLiteral("Zu viele Fehlversuche, bitte warten"));
            return std::nullopt;
        }
        const auto user = checkPassword(name, password);
        if (!user) {
            res.set_header("WWW-Authenticate", "Basic realm=\"Brovant\", charset=\"UTF-8\"");
            sendError(res, 401, QStringLiteral("Name oder Passwort falsch"));
            return std::nullopt;
        }
        if (int(user->role) < int(need)) {
            sendError(res, 403, QStringLiteral("Keine Berechtigung"));
            return std::nullopt;
        }
        return user;
    }

    // A page's session; without one the browser goes to the log-in, with too small a role it
    // gets a refusal.
    std::optional<Session> pageSession(const httplib::Request& req, httplib::Response& res, Role need)
    {
        const auto session = sessionOf(req);
        if (!session) {
            res.set_redirect("/login", 303);
            return std::nullopt;
        }
        if (int(session->role) < int(need)) {
            html::Frame frame{session->user, session->role, session->csrf, {}};
            sendHtml(res, html::messagePage(frame, QStringLiteral("Keine Berechtigung"),
                                            QStringLiteral("Diese Seite ist Ihrer Rolle nicht "
                                                           "zugänglich.")),
                     403);
            return std::nullopt;
        }
        return session;
    }

    // A form's token must be the session's: another site cannot read it, so cannot post for us.
    static bool csrfOk(const httplib::Request& req, const Session& session)
    {
        return req.has_param("csrf") &&
               QString::fromStdString(req.get_param_value("csrf")) == session.csrf;
    }

    static void sendHtml(httplib::Response& res, const QString& page, int status = 200)
    {
        res.status = status;
        res.set_content(page.toStdString(), "text/html; charset=utf-8");
    }

    static html::Frame frameOf(const Session& s, const QString& notice = {})
    {
        return html::Frame{s.user, s.role, s.csrf, notice};
    }

    QString listsHtml(const httplib::Request& req, const Session& session, const QString& notice)
    {
        ListQuery q = queryOf(req);
        q.limit = 50;
        q.offset = (std::max(1, param(req, "page").toInt()) - 1) * q.limit;
        QUrlQuery params;
        for (const char* key : {"from", "to", "region", "q", "sort", "order"})
            if (req.has_param(key))
                params.addQueryItem(QLatin1StringView(key), param(req, key));
        return html::listsPage(frameOf(session, notice), q, params, store.lists(q), store.count(q),
                               store.regions());
    }

    // The selected lists of a totals request ("id" repeated), as stored.
    std::vector<ListSummary> selected(const httplib::Request& req, std::vector<QByteArray>& files,
                                      QString& idsQuery)
    {
        std::vector<ListSummary> lists;
        QUrlQuery ids;
        const size_t n = req.get_param_value_count("id");
        for (size_t i = 0; i < n && i < 1000; ++i) {
            bool ok = false;
            const qint64 id = QString::fromStdString(req.get_param_value("id", i)).toLongLong(&ok);
            const auto list = ok ? store.list(id) : std::nullopt;
            const auto bytes = list ? store.fileBytes(id) : std::nullopt;
            if (!bytes)
                continue;
            lists.push_back(*list);
            files.push_back(*bytes);
            ids.addQueryItem(QStringLiteral("id"), QString::number(id));
        }
        idsQuery = ids.toString(QUrl::FullyEncoded);
        return lists;
    }

    void loginForm(const httplib::Request&, httplib::Response& res, const QString& message,
                   int status = 200)
    {
        const QString csrf = token();
        res.set_header("Set-Cookie", ("brovant_login=" + csrf +
                                      "; Path=/login; HttpOnly; SameSite=Strict; Max-Age=3600")
                                         .toStdString());
        sendHtml(res, html::loginPage(message, csrf), status);
    }

    void routes()
    {
        http.set_payload_max_length(size_t(kMaxListFileBytes));
        http.Get("/api/lists", [this](const httplib::Request& req, httplib::Response& res) {
            if (!authorised(req, res, Role::Reader))
                return;
            const ListQuery q = queryOf(req);
            QJsonArray rows;
            for (const ListSummary& s : store.lists(q))
                rows.append(summaryJson(s));
            res.set_header("X-Total-Count", std::to_string(store.count(q)));
            sendJson(res, rows);
        });
        http.Get(R"(/api/lists/(\d+))", [this](const httplib::Request& req, httplib::Response& res) {
            if (!authorised(req, res, Role::Reader))
                return;
            const auto list = store.list(std::stoll(req.matches[1]));
            const auto content = list ? store.content(list->id) : std::nullopt;
            if (!list || !content)
                return sendError(res, 404, QStringLiteral("Liste nicht gefunden"));
            QJsonObject out = summaryJson(*list);
            QJsonArray header, regions, trees, history;
            for (const HeaderField& f : content->header)
                header.append(QJsonObject{{QStringLiteral("label"), f.label},
                                          {QStringLiteral("text"), f.text}});
            for (const StoredRegion& r : content->regions)
                regions.append(QJsonObject{{QStringLiteral("region"), r.region},
                                           {QStringLiteral("species"), r.species},
                                           {QStringLiteral("tariff"), r.tariff}});
            for (const StoredTree& t : content->trees)
                trees.append(QJsonObject{{QStringLiteral("kind"), t.kind == 1 ? "10A" : "10B"},
                                         {QStringLiteral("parcel"), t.parcel},
                                         {QStringLiteral("count"), t.count},
                                         {QStringLiteral("species"), t.species},
                                         {QStringLiteral("diameter"), t.diameter},
                                         {QStringLiteral("class"), t.diameterClass},
                                         {QStringLiteral("volume"),
                                          QString::asprintf("%.2f", double(t.volume) / 100)},
                                         {QStringLiteral("na"), t.na},
                                         {QStringLiteral("ka"), t.ka},
                                         {QStringLiteral("tariff"), t.tariff}});
            for (const ListSummary& v : store.versions(list->listNumber))
                if (v.id != list->id)
                    history.append(summaryJson(v));
            out.insert(QStringLiteral("factor"), content->factor);
            out.insert(QStringLiteral("header_fields"), header);
            out.insert(QStringLiteral("regions"), regions);
            out.insert(QStringLiteral("trees_list"), trees);
            out.insert(QStringLiteral("history"), history);
            sendJson(res, out);
        });
        http.Get(R"(/api/lists/(\d+)/totals)",
                 [this](const httplib::Request& req, httplib::Response& res) {
                     if (!authorised(req, res, Role::Reader))
                         return;
                     const auto bytes = store.fileBytes(std::stoll(req.matches[1]));
                     if (!bytes)
                         return sendError(res, 404, QStringLiteral("Liste nicht gefunden"));
                     QJsonArray rows;
                     const auto totals = totalsOf({*bytes});
                     for (size_t i = 0; i < totals.size(); ++i) {
                         const TotalsRow& row = totals[i];
                         // The empty row between the species and the grand total is the
                         // screen's spacing, not a row.
                         if (i + 1 < totals.size() && row[0].isEmpty())
                             continue;
                         rows.append(QJsonObject{{QStringLiteral("species"), row[0].trimmed()},
                                                 {QStringLiteral("volume"), row[1].trimmed()},
                                                 {QStringLiteral("count"), row[2].trimmed()},
                                                 {QStringLiteral("mean"), row[3].trimmed()}});
                     }
                     sendJson(res, rows);
                 });
        http.Get(R"(/api/lists/(\d+)/file)", [this](const httplib::Request& req,
                                                     httplib::Response& res) {
            if (!authorised(req, res, Role::Clerk))
                return;
            const auto list = store.list(std::stoll(req.matches[1]));
            const auto bytes = list ? store.fileBytes(list->id) : std::nullopt;
            if (!bytes)
                return sendError(res, 404, QStringLiteral("Liste nicht gefunden"));
            res.set_header("Content-Disposition",
                           "attachment; filename=\"liste-" + std::to_string(list->id) + ".dat\"");
            res.set_content(bytes->toStdString(), "application/octet-stream");
        });
        http.Post("/api/lists", [this](const httplib::Request& req, httplib::Response& res) {
            if (!authorised(req, res, Role::Clerk))
                return;
            const QByteArray bytes = QByteArray::fromStdString(req.body);
            const IntakeResult result = intakeBytes(store, bytes, QStringLiteral("upload.dat"));
            QJsonObject out{{QStringLiteral("result"), describe(result).section(u' ', 0, 0)},
                            {QStringLiteral("liste_nr"), result.listNumber},
                            {QStringLiteral("id"), qint64(result.id)}};
            if (result.kind == IntakeResult::Kind::Rejected) {
                out.insert(QStringLiteral("reason"), result.reason);
                return sendJson(res, out, 422);
            }
            sendJson(res, out, result.kind == IntakeResult::Kind::Imported ? 201 : 200);
        });

        // Pages. Every answer forbids framing and loading anything from elsewhere.
        http.set_post_routing_handler([](const httplib::Request&, httplib::Response& res) {
            res.set_header("Content-Security-Policy",
                           "default-src 'self'; style-src 'self' 'unsafe-inline'; "
                           "img-src 'self' data:; frame-ancestors 'none'");
            res.set_header("X-Content-Type-Options", "nosniff");
            res.set_header("Referrer-Policy", "same-origin");
        });
        http.Get("/login", [this](const httplib::Request& req, httplib::Response& res) {
            loginForm(req, res, {});
        });
        http.Post("/login", [this](const httplib::Request& req, httplib::Response& res) {
            // The log-in form's token is a cookie set with the form (double submit).
            const QString expected = cookie(req, "brovant_login");
            if (expected.isEmpty() || param(req, "csrf") != expected)
                return loginForm(req, res, QStringLiteral("Bitte erneut anmelden."));
            const QString name = param(req, "name");
            const qint64 now = QDateTime::currentMSecsSinceEpoch();
            if (const qint64 wait = waitFor(name, now))
                return loginForm(req, res,
                                 QStringLiteral("Zu viele Fehlversuche. Bitte %1 s warten.")
                                     .arg((wait + 999) / 1000),
                                 429);
            const auto user = checkPassword(name, param(req, "password"));
            if (!user)
                return loginForm(req, res, QStringLiteral("Name oder Passwort falsch."), 401);
            const QString id = token();
            {
                std::lock_guard lock(mutex);
                sessions[id] = Session{user->name, user->role, token(), now + kSessionMs};
            }
            res.set_header("Set-Cookie", ("brovant_session=" + id +
                                          "; Path=/; HttpOnly; SameSite=Strict; Max-Age=28800")
                                             .toStdString());
            res.set_redirect("/", 303);
        });
        http.Post("/logout", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = sessionOf(req);
            if (session && csrfOk(req, *session)) {
                std::lock_guard lock(mutex);
                sessions.erase(cookie(req, "brovant_session"));
            }
            res.set_header("Set-Cookie", "brovant_session=; Path=/; HttpOnly; SameSite=Strict; Max-Age=0");
            res.set_redirect("/login", 303);
        });
        http.Get("/", [this](const httplib::Request& req, httplib::Response& res) {
            if (const auto session = pageSession(req, res, Role::Reader))
                sendHtml(res, listsHtml(req, *session, {}));
        });
        http.Get(R"(/lists/(\d+))", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = pageSession(req, res, Role::Reader);
            if (!session)
                return;
            const auto list = store.list(std::stoll(req.matches[1]));
            const auto content = list ? store.content(list->id) : std::nullopt;
            const auto bytes = list ? store.fileBytes(list->id) : std::nullopt;
            if (!list || !content || !bytes)
                return sendHtml(res,
                                html::messagePage(frameOf(*session), QStringLiteral("Nicht gefunden"),
                                                  QStringLiteral("Diese Liste gibt es nicht.")),
                                404);
            OfficeDevice device(store.configuration());
            device.add(*bytes, 1);
            html::Assortments sorts;
            if (const auto a = device.assortments(1)) {
                for (int k = 0; k < AssortmentDistribution::kAssortments; ++k)
                    sorts.names << device.assortmentName(k);
                sorts.rows = a->species();
                sorts.rows.push_back(a->all());
            }
            // One throw-away device gives every figure of the page.
            sendHtml(res, html::listPage(frameOf(*session), *list, *content, device.totals(1),
                                         device.distribution(1), sorts,
                                         store.versions(list->listNumber)));
        });
        http.Get(R"(/lists/(\d+)/csv)", [this](const httplib::Request& req, httplib::Response& res) {
            if (!pageSession(req, res, Role::Clerk))
                return;
            const auto list = store.list(std::stoll(req.matches[1]));
            const auto bytes = list ? store.fileBytes(list->id) : std::nullopt;
            OfficeDevice device(store.configuration());
            const auto csv = bytes && device.add(*bytes, 1) ? device.csv(1) : std::nullopt;
            if (!csv)
                return sendError(res, 404, QStringLiteral("Liste nicht gefunden"));
            res.set_header("Content-Disposition",
                           "attachment; filename=\"liste-" + std::to_string(list->id) + ".csv\"");
            res.set_content(csv->toStdString(), "text/csv; charset=windows-1252");
        });
        http.Get(R"(/lists/(\d+)/pdf)", [this](const httplib::Request& req, httplib::Response& res) {
            if (!pageSession(req, res, Role::Clerk))
                return;
            const auto list = store.list(std::stoll(req.matches[1]));
            const auto bytes = list ? store.fileBytes(list->id) : std::nullopt;
            OfficeDevice device(store.configuration());
            const auto pdf = bytes && device.add(*bytes, 1) ? device.listingPdf(1) : std::nullopt;
            if (!pdf)
                return sendError(res, 404, QStringLiteral("Liste nicht gefunden"));
            res.set_header("Content-Disposition",
                           "attachment; filename=\"liste-" + std::to_string(list->id) + ".pdf\"");
            res.set_content(pdf->toStdString(), "application/pdf");
        });
        http.Post("/admin/configuration", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = pageSession(req, res, Role::Admin);
            if (!session)
                return;
            const bool tokenOk = req.has_file("csrf") &&
                                 QString::fromStdString(req.get_file_value("csrf").content) == session->csrf;
            if (!tokenOk || !req.has_file("file"))
                return sendHtml(res, html::usersPage(frameOf(*session, QStringLiteral("Nicht veröffentlicht.")),
                                                     store.users()),
                                400);
            const QByteArray bytes = QByteArray::fromStdString(req.get_file_value("file").content);
            // Only what a device would load goes out to the devices.
            const QString why = checkConfiguration(bytes);
            if (!why.isEmpty())
                return sendHtml(res, html::usersPage(frameOf(*session, QStringLiteral("Nicht veröffentlicht: ") + why),
                                                     store.users()),
                                422);
            if (!publish(bytes) || !store.publishConfiguration(bytes, session->user))
                return sendHtml(res, html::usersPage(frameOf(*session, QStringLiteral("Datei kann nicht erzeugt werden!")),
                                                     store.users()),
                                500);
            sendHtml(res, html::usersPage(frameOf(*session, QStringLiteral("Konfiguration veröffentlicht.")),
                                          store.users()));
        });
        http.Get("/totals", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = pageSession(req, res, Role::Reader);
            if (!session)
                return;
            std::vector<QByteArray> files;
            QString ids;
            const auto lists = selected(req, files, ids);
            if (lists.empty())
                return sendHtml(res, listsHtml(req, *session, QStringLiteral("Keine Liste gewählt.")));
            sendHtml(res, html::totalsPage(frameOf(*session), lists, totalsOf(files),
                                           classTotalsOf(files), ids));
        });
        http.Get("/totals.csv", [this](const httplib::Request& req, httplib::Response& res) {
            if (!pageSession(req, res, Role::Clerk))
                return;
            std::vector<QByteArray> files;
            QString ids;
            selected(req, files, ids);
            QString csv = QStringLiteral("HA;Stufe;Stk;Kub.\r\n");
            for (const ClassTotal& c : classTotalsOf(files))
                csv += ListCsvExport::quoted(ListCsvExport::guarded(c.species)) + u';' +
                       ListCsvExport::quoted(ListCsvExport::guarded(c.diameterClass)) + u';' +
                       QString::number(c.count) + u';' + ListCsvExport::hundredths(c.volume) +
                       QStringLiteral("\r\n");
            res.set_header("Content-Disposition", "attachment; filename=\"summe.csv\"");
            res.set_content(csv.toStdString(), "text/csv; charset=utf-8");
        });
        http.Get("/totals.pdf", [this](const httplib::Request& req, httplib::Response& res) {
            if (!pageSession(req, res, Role::Clerk))
                return;
            std::vector<QByteArray> files;
            QString ids;
            const auto lists = selected(req, files, ids);
            OfficeDevice device(store.configuration());
            Report report;
            report.title = QStringLiteral("Summe");
            report.fileTag = QStringLiteral("Summe");
            report.company = device.companyLines();
            report.created = QDateTime::currentDateTime();
            QStringList numbers;
            for (const ListSummary& l : lists)
                numbers << l.listNumber;
            report.header.push_back({QStringLiteral("Listen:"), numbers.join(QStringLiteral(", "))});
            ReportTable species{QStringLiteral("Je Holzart"),
                                {{QStringLiteral("HA"), 4}, {QStringLiteral("Kub."), 9, true},
                                 {QStringLiteral("Stk"), 6, true}, {QStringLiteral("d-Kub."), 7, true}},
                                {}};
            const auto totals = totalsOf(files);
            for (size_t i = 0; i < totals.size(); ++i) {
                if (i + 1 < totals.size() && totals[i][0].isEmpty())
                    continue;
                const bool all = i + 1 == totals.size();
                species.rows.push_back({{all ? QStringLiteral("Gesamt") : totals[i][0], totals[i][1].trimmed(),
                                         totals[i][2].trimmed(), totals[i][3].trimmed()},
                                        all ? RowStyle::Total : RowStyle::Normal});
            }
            report.addTable(species);
            ReportTable classes{QStringLiteral("Je Holzart und Stufe"),
                                {{QStringLiteral("HA"), 4}, {QStringLiteral("Stufe"), 5},
                                 {QStringLiteral("Stk"), 6, true}, {QStringLiteral("Kub."), 9, true}},
                                {}};
            for (const ClassTotal& c : classTotalsOf(files))
                classes.rows.push_back({{c.species, c.diameterClass, QString::number(c.count),
                                         QString::asprintf("%.2f", double(c.volume) / 100)},
                                        RowStyle::Normal});
            report.addTable(classes);
            const auto pdf = device.pdf(report);
            if (lists.empty() || !pdf)
                return sendError(res, 404, QStringLiteral("Keine Liste gewählt"));
            res.set_header("Content-Disposition", "attachment; filename=\"summe.pdf\"");
            res.set_content(pdf->toStdString(), "application/pdf");
        });
        http.Post("/upload", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = pageSession(req, res, Role::Clerk);
            if (!session)
                return;
            const bool tokenOk = req.has_file("csrf") &&
                                 QString::fromStdString(req.get_file_value("csrf").content) == session->csrf;
            if (!tokenOk || !req.has_file("file"))
                return sendHtml(res, listsHtml(req, *session, QStringLiteral("Nicht eingelesen.")), 400);
            const auto& file = req.get_file_value("file");
            // Only the last part of the name the browser sends, and only for showing.
            QString name = QString::fromStdString(file.filename).section(u'/', -1).section(u'\\', -1);
            const IntakeResult result =
                intakeBytes(store, QByteArray::fromStdString(file.content), name);
            sendHtml(res, listsHtml(req, *session, describe(result)),
                     result.kind == IntakeResult::Kind::Rejected ? 422 : 200);
        });
        http.Get("/admin/users", [this](const httplib::Request& req, httplib::Response& res) {
            if (const auto session = pageSession(req, res, Role::Admin))
                sendHtml(res, html::usersPage(frameOf(*session), store.users()));
        });
        http.Post("/admin/users", [this](const httplib::Request& req, httplib::Response& res) {
            const auto session = pageSession(req, res, Role::Admin);
            if (!session)
                return;
            const auto role = roleFromName(param(req, "role"));
            const QString name = param(req, "name").trimmed();
            if (!csrfOk(req, *session) || !role || name.isEmpty() || param(req, "password").isEmpty())
                return sendHtml(res, html::messagePage(frameOf(*session), QStringLiteral("Benutzer"),
                                                       QStringLiteral("Nicht angelegt.")),
                                400);
            store.addUser(hashedUser(name, *role, param(req, "password")));
            res.set_redirect("/admin/users", 303);
        });
    }
};

WebServer::WebServer(OfficeStore& store, const QString& publishFolder)
    : d(std::make_unique<Impl>(store))
{
    d->publishFolder = publishFolder;
    d->routes();
}

WebServer::~WebServer()
{
    stop();
}

bool WebServer::listen(const QString& address)
{
    const qsizetype colon = address.lastIndexOf(u':');
    if (colon <= 0)
        return false;
    bool ok = false;
    const int port = address.mid(colon + 1).toInt(&ok);
    if (!ok || port < 0 || port > 65535)
        return false;
    d->host = address.left(colon);
    const std::string host = d->host.toStdString();
    d->port = port == 0 ? d->http.bind_to_any_port(host) : (d->http.bind_to_port(host, port) ? port : -1);
    if (d->port <= 0)
        return false;
    d->thread = std::thread([this] { d->http.listen_after_bind(); });
    return true;
}

QString WebServer::address() const
{
    return QStringLiteral("%1:%2").arg(d->host).arg(d->port);
}

void WebServer::stop()
{
    if (d->thread.joinable()) {
        d->http.stop();
        d->thread.join();
    }
}

} // namespace brovant::office
