#include "office/WebServer.h"

#include "office/Inbox.h"
#include "office/ListReading.h"
#include "office/Passwords.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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

    std::mutex failuresMutex;
    struct Failures {
        int count = 0;
        qint64 lastMs = 0;
    };
    std::map<QString, Failures> failures;

    explicit Impl(OfficeStore& s) : store(s) {}

    // The user the request's Basic credentials name, if the password is right and the name is
    // not waiting out its failed attempts; else the response is set.
    std::optional<User> authorised(const httplib::Request& req, httplib::Response& res, Role need)
    {
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
        {
            std::lock_guard lock(failuresMutex);
            const Failures& f = failures[name];
            if (f.count >= kFreeFailures) {
                const qint64 wait =
                    std::min(kMaxWaitMs, qint64(1000) << std::min(16, f.count - kFreeFailures));
                if (now - f.lastMs < wait) {
                    res.set_header("Retry-After", std::to_string((wait + 999) / 1000));
                    sendError(res, 429, QStringLiteral("Zu viele Fehlversuche, bitte warten"));
                    return std::nullopt;
                }
            }
        }
        const auto user = store.user(name);
        if (!user || !passwordMatches(*user, password)) {
            std::lock_guard lock(failuresMutex);
            Failures& f = failures[name];
            ++f.count;
            f.lastMs = now;
            res.set_header("WWW-Authenticate", "Basic realm=\"Brovant\", charset=\"UTF-8\"");
            sendError(res, 401, QStringLiteral("Name oder Passwort falsch"));
            return std::nullopt;
        }
        {
            std::lock_guard lock(failuresMutex);
            failures.erase(name);
        }
        if (int(user->role) < int(need)) {
            sendError(res, 403, QStringLiteral("Keine Berechtigung"));
            return std::nullopt;
        }
        return user;
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
    }
};

WebServer::WebServer(OfficeStore& store) : d(std::make_unique<Impl>(store))
{
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
