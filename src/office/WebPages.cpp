#include "office/WebPages.h"

namespace brovant::office::html {
namespace {

QString volume(std::int64_t hundredths)
{
    return QString::asprintf("%.2f", double(hundredths) / 100.0);
}

const char* const kStyle = R"(
body{font-family:sans-serif;margin:0;color:#222}
header{background:#2f5d34;color:#fff;padding:.5em 1em;display:flex;gap:1em;align-items:center}
header a{color:#fff}header form{margin-left:auto}
main{padding:1em}
table{border-collapse:collapse;margin:.5em 0}
th,td{border:1px solid #bbb;padding:.2em .5em;text-align:left}
td.n,th.n{text-align:right}
tr.total td{font-weight:bold}
.notice{background:#ffd;border:1px solid #cc8;padding:.5em}
form.filter label{margin-right:.8em}
)";

QString page(const Frame* frame, const QString& title, const QString& body)
{
    QString head;
    if (frame) {
        head = QStringLiteral("<header><strong>Brovant Büro</strong><a href=\"/\">Listen</a>");
        if (frame->role == Role::Admin)
            head += QStringLiteral("<a href=\"/admin/users\">Benutzer</a>");
        head += QStringLiteral("<span>%1 (%2)</span><form method=\"post\" action=\"/logout\">"
                               "<input type=\"hidden\" name=\"csrf\" value=\"%3\">"
                               "<button>Abmelden</button></form></header>")
                    .arg(escaped(frame->user), roleName(frame->role), escaped(frame->csrf));
    }
    QString notice;
    if (frame && !frame->notice.isEmpty())
        notice = QStringLiteral("<p class=\"notice\" id=\"notice\">%1</p>").arg(escaped(frame->notice));
    return QStringLiteral("<!DOCTYPE html><html lang=\"de\"><head><meta charset=\"utf-8\">"
                          "<meta name=\"viewport\" content=\"width=device-width\">"
                          "<title>%1 – Brovant Büro</title><style>%2</style></head><body>%3"
                          "<main><h1>%1</h1>%4%5</main></body></html>")
        .arg(escaped(title), QString::fromLatin1(kStyle), head, notice, body);
}

QString totalsTable(const std::vector<TotalsRow>& rows, const QString& id)
{
    QString out = QStringLiteral("<table id=\"%1\"><tr><th>HA</th><th class=\"n\">Kub.</th>"
                                 "<th class=\"n\">Stk</th><th class=\"n\">d-Kub.</th></tr>")
                      .arg(id);
    for (size_t i = 0; i < rows.size(); ++i) {
        const TotalsRow& row = rows[i];
        // The screen's empty line before the grand total is spacing only.
        if (i + 1 < rows.size() && row[0].isEmpty())
            continue;
        const bool total = i + 1 == rows.size();
        out += QStringLiteral("<tr%1><td>%2</td><td class=\"n\">%3</td><td class=\"n\">%4</td>"
                              "<td class=\"n\">%5</td></tr>")
                   .arg(total ? QStringLiteral(" class=\"total\"") : QString(),
                        total ? QStringLiteral("Gesamt") : escaped(row[0]),
                        escaped(row[1].trimmed()), escaped(row[2].trimmed()),
                        escaped(row[3].trimmed()));
    }
    return out + QStringLiteral("</table>");
}

QString hiddenCsrf(const Frame& frame)
{
    return QStringLiteral("<input type=\"hidden\" name=\"csrf\" value=\"%1\">").arg(escaped(frame.csrf));
}

} // namespace

QString escaped(const QString& text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QStringLiteral("&amp;");
            break;
        case '<':
            out += QStringLiteral("&lt;");
            break;
        case '>':
            out += QStringLiteral("&gt;");
            break;
        case '"':
            out += QStringLiteral("&quot;");
            break;
        case '\'':
            out += QStringLiteral("&#39;");
            break;
        default:
            out += c;
        }
    }
    return out;
}

QString loginPage(const QString& message, const QString& csrf)
{
    QString body;
    if (!message.isEmpty())
        body += QStringLiteral("<p class=\"notice\" id=\"notice\">%1</p>").arg(escaped(message));
    body += QStringLiteral("<form method=\"post\" action=\"/login\">"
                           "<input type=\"hidden\" name=\"csrf\" value=\"%1\">"
                           "<p><label>Name <input name=\"name\" id=\"name\" autocomplete=\"username\" "
                           "required></label></p>"
                           "<p><label>Passwort <input type=\"password\" name=\"password\" "
                           "id=\"password\" autocomplete=\"current-password\" required></label></p>"
                           "<p><button id=\"login\">Anmelden</button></p></form>")
                .arg(escaped(csrf));
    return page(nullptr, QStringLiteral("Anmelden"), body);
}

QString listsPage(const Frame& frame, const ListQuery& query, const QUrlQuery& params,
                  const std::vector<ListSummary>& lists, int total, const QStringList& regions)
{
    QString regionOptions = QStringLiteral("<option value=\"\">alle</option>");
    for (const QString& region : regions)
        regionOptions += QStringLiteral("<option%1>%2</option>")
                             .arg(region == query.region ? QStringLiteral(" selected") : QString(),
                                  escaped(region));
    QString body = QStringLiteral(
                       "<form class=\"filter\" method=\"get\" action=\"/\">"
                       "<label>von <input type=\"date\" name=\"from\" id=\"from\" value=\"%1\"></label>"
                       "<label>bis <input type=\"date\" name=\"to\" id=\"to\" value=\"%2\"></label>"
                       "<label>Wuchsregion <select name=\"region\" id=\"region\">%3</select></label>"
                       "<label>Text <input name=\"q\" id=\"q\" value=\"%4\"></label>"
                       "<button id=\"filter\">Filtern</button></form>")
                       .arg(escaped(query.fromDay), escaped(query.toDay), regionOptions,
                            escaped(query.text));
    // Column headers sort; the filter stays.
    const auto sortLink = [&](const char* key, const QString& caption, ListQuery::Column column) {
        QUrlQuery link = params;
        link.removeAllQueryItems(QStringLiteral("sort"));
        link.removeAllQueryItems(QStringLiteral("order"));
        link.removeAllQueryItems(QStringLiteral("page"));
        link.addQueryItem(QStringLiteral("sort"), QLatin1StringView(key));
        const bool ascending = query.sort == column && !query.descending;
        link.addQueryItem(QStringLiteral("order"), ascending ? QStringLiteral("desc") : QStringLiteral("asc"));
        const QString mark = query.sort == column ? (query.descending ? QStringLiteral(" ▼") : QStringLiteral(" ▲"))
                                                  : QString();
        return QStringLiteral("<a href=\"/?%1\" id=\"sort-%2\">%3%4</a>")
            .arg(escaped(link.toString(QUrl::FullyEncoded)), QLatin1StringView(key), caption, mark);
    };
    body += QStringLiteral("<form method=\"get\" action=\"/totals\"><table id=\"lists\"><tr><th></th>"
                           "<th>%1</th><th>%2</th><th>%3</th><th>Kopfdaten</th><th class=\"n\">%4</th>"
                           "<th class=\"n\">%5</th><th>%6</th><th>%7</th></tr>")
                .arg(sortLink("liste_nr", QStringLiteral("Liste"), ListQuery::Column::Number),
                     sortLink("date", QStringLiteral("Datum"), ListQuery::Column::Date),
                     sortLink("region", QStringLiteral("Wuchsregion"), ListQuery::Column::Region),
                     sortLink("trees", QStringLiteral("Stk"), ListQuery::Column::Trees),
                     sortLink("volume", QStringLiteral("Kub."), ListQuery::Column::Volume),
                     sortLink("device", QStringLiteral("Gerät"), ListQuery::Column::Device),
                     sortLink("received", QStringLiteral("Empfangen"), ListQuery::Column::Received));
    for (const ListSummary& l : lists) {
        QString header = escaped(l.headerText);
        header.replace(u'\n', QStringLiteral("<br>"));
        body += QStringLiteral("<tr><td><input type=\"checkbox\" name=\"id\" value=\"%1\"></td>"
                               "<td><a href=\"/lists/%1\">%2</a></td><td>%3</td><td>%4</td><td>%5</td>"
                               "<td class=\"n\">%6</td><td class=\"n\">%7</td><td>%8</td><td>%9</td></tr>")
                    .arg(QString::number(l.id), escaped(l.listNumber), escaped(l.date),
                         escaped(l.region), header, QString::number(l.treeCount), volume(l.volume),
                         escaped(l.device), l.received.toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm")));
    }
    body += QStringLiteral("</table><button id=\"sum\">Summe der gewählten Listen</button></form>");
    // Pages.
    const int size = std::max(1, query.limit);
    const int pages = std::max(1, (total + size - 1) / size);
    const int current = query.offset / size + 1;
    body += QStringLiteral("<p id=\"pages\">%1 Listen, Seite %2 von %3").arg(total).arg(current).arg(pages);
    for (int p : {current - 1, current + 1}) {
        if (p < 1 || p > pages)
            continue;
        QUrlQuery link = params;
        link.removeAllQueryItems(QStringLiteral("page"));
        link.addQueryItem(QStringLiteral("page"), QString::number(p));
        body += QStringLiteral(" <a href=\"/?%1\" id=\"%2\">%3</a>")
                    .arg(escaped(link.toString(QUrl::FullyEncoded)),
                         p < current ? QStringLiteral("prev") : QStringLiteral("next"),
                         p < current ? QStringLiteral("zurück") : QStringLiteral("weiter"));
    }
    body += QStringLiteral("</p>");
    if (frame.role != Role::Reader)
        body += QStringLiteral("<h2>Liste einlesen</h2><form method=\"post\" action=\"/upload\" "
                               "enctype=\"multipart/form-data\">%1<input type=\"file\" name=\"file\" "
                               "id=\"file\"> <button id=\"upload\">Einlesen</button></form>")
                    .arg(hiddenCsrf(frame));
    return page(&frame, QStringLiteral("Listen"), body);
}

QString svgChart(const ReportChart& chart)
{
    const int n = int(chart.labels.size());
    const int bar = 24, gap = 6, height = 160, left = 10, top = 20;
    const int width = left * 2 + std::max(1, n) * (bar + gap);
    const std::int64_t max = std::max<std::int64_t>(1, chart.maximum());
    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" id=\"chart\" "
                                 "width=\"%1\" height=\"%2\" role=\"img\" aria-label=\"%3\">")
                      .arg(width)
                      .arg(height + top + 30)
                      .arg(escaped(chart.title));
    for (int i = 0; i < n; ++i) {
        const std::int64_t value = chart.total(i);
        const int h = int(value * height / max);
        const int x = left + i * (bar + gap);
        svg += QStringLiteral("<rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" fill=\"#2f5d34\">"
                              "<title>%5: %6</title></rect>"
                              "<text x=\"%7\" y=\"%8\" font-size=\"10\" text-anchor=\"middle\">%6</text>"
                              "<text x=\"%7\" y=\"%9\" font-size=\"10\" text-anchor=\"middle\">%5</text>")
                   .arg(x)
                   .arg(top + height - h)
                   .arg(bar)
                   .arg(h)
                   .arg(escaped(chart.labels[i]))
                   .arg(value)
                   .arg(x + bar / 2)
                   .arg(top + height - h - 3)
                   .arg(top + height + 14);
    }
    svg += QStringLiteral("<text x=\"%1\" y=\"%2\" font-size=\"11\">%3</text></svg>")
               .arg(left)
               .arg(top + height + 28)
               .arg(escaped(chart.axisCaption));
    return svg;
}

QString listPage(const Frame& frame, const ListSummary& list, const ListContent& content,
                 const std::vector<TotalsRow>& totals, const std::optional<ReportChart>& chart,
                 const Assortments& assortments, const std::vector<ListSummary>& versions)
{
    QString body = QStringLiteral("<table id=\"head\"><tr><th>Liste</th><td>%1</td></tr>"
                                  "<tr><th>Datum</th><td>%2</td></tr><tr><th>Wuchsregion</th><td>%3</td></tr>"
                                  "<tr><th>Korrektur</th><td>%4 %</td></tr>")
                       .arg(escaped(content.listNumber), escaped(content.date), escaped(content.region))
                       .arg(content.factor);
    for (const HeaderField& field : content.header)
        if (!field.text.isEmpty())
            body += QStringLiteral("<tr><th>%1</th><td>%2</td></tr>").arg(escaped(field.label), escaped(field.text));
    body += QStringLiteral("<tr><th>Gerät</th><td>%1</td></tr><tr><th>Version</th><td>%2</td></tr></table>")
                .arg(escaped(list.device))
                .arg(list.version);
    if (frame.role != Role::Reader)
        body += QStringLiteral("<p>Herunterladen: <a id=\"download-file\" href=\"/lists/%1/file\">Listendatei</a> · "
                               "<a id=\"download-csv\" href=\"/lists/%1/csv\">CSV</a> · "
                               "<a id=\"download-pdf\" href=\"/lists/%1/pdf\">PDF</a></p>")
                    .arg(list.id);
    body += QStringLiteral("<h2>Gesamtsumme</h2>") + totalsTable(totals, QStringLiteral("totals"));
    if (chart && !chart->labels.isEmpty())
        body += QStringLiteral("<h2>Durchmesserverteilung</h2>") + svgChart(*chart);
    if (!assortments.rows.empty()) {
        body += QStringLiteral("<h2>Holzsorten</h2><table id=\"assortments\"><tr><th>HA</th>");
        for (const QString& name : assortments.names)
            body += QStringLiteral("<th class=\"n\">%1</th>").arg(escaped(name));
        body += QStringLiteral("<th class=\"n\">ohne</th><th class=\"n\">Kub.</th></tr>");
        for (size_t i = 0; i < assortments.rows.size(); ++i) {
            const auto& row = assortments.rows[i];
            const bool all = i + 1 == assortments.rows.size();
            body += QStringLiteral("<tr%1><td>%2</td>")
                        .arg(all ? QStringLiteral(" class=\"total\"") : QString(),
                             all ? QStringLiteral("Gesamt") : escaped(row.species));
            for (std::int64_t v : row.volumes)
                body += QStringLiteral("<td class=\"n\">%1</td>").arg(volume(v));
            body += QStringLiteral("<td class=\"n\">%1</td><td class=\"n\">%2</td></tr>")
                        .arg(volume(row.unsorted), volume(row.volume));
        }
        body += QStringLiteral("</table>");
    }
    body += QStringLiteral("<h2>Bäume</h2><table id=\"trees\"><tr><th>Art</th><th>Parz.</th>"
                           "<th class=\"n\">Stk</th><th>HA</th><th class=\"n\">BHD</th><th>Stufe</th>"
                           "<th class=\"n\">Kub.</th><th>NA</th><th>KA</th><th>Tarif</th></tr>");
    for (const StoredTree& t : content.trees)
        body += QStringLiteral("<tr><td>%1</td><td>%2</td><td class=\"n\">%3</td><td>%4</td>"
                               "<td class=\"n\">%5</td><td>%6</td><td class=\"n\">%7</td><td>%8</td>"
                               "<td>%9</td><td>%10</td></tr>")
                    .arg(t.kind == 1 ? QStringLiteral("10A") : QStringLiteral("10B"), escaped(t.parcel))
                    .arg(t.count)
                    .arg(escaped(t.species))
                    .arg(t.diameter)
                    .arg(escaped(t.diameterClass), volume(t.volume), escaped(t.na), escaped(t.ka),
                         escaped(t.tariff));
    body += QStringLiteral("</table>");
    if (versions.size() > 1) {
        body += QStringLiteral("<h2>Versionen</h2><ul id=\"versions\">");
        for (const ListSummary& v : versions)
            body += QStringLiteral("<li><a href=\"/lists/%1\">Version %2</a>, empfangen %3%4</li>")
                        .arg(v.id)
                        .arg(v.version)
                        .arg(v.received.toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm")),
                             v.current ? QStringLiteral(" (aktuell)") : QString());
        body += QStringLiteral("</ul>");
    }
    return page(&frame, QStringLiteral("Liste ") + content.listNumber, body);
}

QString totalsPage(const Frame& frame, const std::vector<ListSummary>& lists,
                   const std::vector<TotalsRow>& totals, const std::vector<ClassTotal>& classes,
                   const QString& idsQuery)
{
    QString body = QStringLiteral("<p>Listen: ");
    QStringList names;
    for (const ListSummary& l : lists)
        names << QStringLiteral("<a href=\"/lists/%1\">%2</a>").arg(l.id).arg(escaped(l.listNumber));
    body += names.join(QStringLiteral(", ")) + QStringLiteral("</p>");
    if (frame.role != Role::Reader)
        body += QStringLiteral("<p><a id=\"download-totals-csv\" href=\"/totals.csv?%1\">CSV</a> · "
                               "<a id=\"download-totals-pdf\" href=\"/totals.pdf?%1\">PDF</a></p>")
                    .arg(escaped(idsQuery));
    body += QStringLiteral("<h2>Je Holzart</h2>") + totalsTable(totals, QStringLiteral("totals"));
    body += QStringLiteral("<h2>Je Holzart und Stufe</h2><table id=\"classes\"><tr><th>HA</th>"
                           "<th>Stufe</th><th class=\"n\">Stk</th><th class=\"n\">Kub.</th></tr>");
    for (const ClassTotal& c : classes)
        body += QStringLiteral("<tr><td>%1</td><td>%2</td><td class=\"n\">%3</td><td class=\"n\">%4</td></tr>")
                    .arg(escaped(c.species), escaped(c.diameterClass))
                    .arg(c.count)
                    .arg(volume(c.volume));
    body += QStringLiteral("</table>");
    return page(&frame, QStringLiteral("Summe"), body);
}

QString usersPage(const Frame& frame, const std::vector<User>& users)
{
    QString body = QStringLiteral("<table id=\"users\"><tr><th>Name</th><th>Rolle</th></tr>");
    for (const User& u : users)
        body += QStringLiteral("<tr><td>%1</td><td>%2</td></tr>").arg(escaped(u.name), roleName(u.role));
    body += QStringLiteral("</table><h2>Benutzer anlegen</h2><form method=\"post\" action=\"/admin/users\">%1"
                           "<label>Name <input name=\"name\" required></label> "
                           "<label>Passwort <input type=\"password\" name=\"password\" required></label> "
                           "<select name=\"role\"><option>reader</option><option>clerk</option>"
                           "<option>admin</option></select> <button>Anlegen</button></form>"
                           "<h2>Konfiguration veröffentlichen</h2><form method=\"post\" "
                           "action=\"/admin/configuration\" enctype=\"multipart/form-data\">%1"
                           "<input type=\"file\" name=\"file\" id=\"configuration\"> "
                           "<button id=\"publish\">Veröffentlichen</button></form>")
                .arg(hiddenCsrf(frame));
    return page(&frame, QStringLiteral("Benutzer"), body);
}

QString messagePage(const Frame& frame, const QString& title, const QString& text)
{
    return page(&frame, title, QStringLiteral("<p id=\"message\">%1</p><p><a href=\"/\">Zu den Listen</a></p>")
                                   .arg(escaped(text)));
}

} // namespace brovant::office::html
