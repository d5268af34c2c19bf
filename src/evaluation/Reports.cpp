#include "evaluation/Reports.h"

#include "evaluation/DiameterDistribution.h"
#include "evaluation/ReportAssortments.h"
#include "evaluation/ReportSources.h"
#include "evaluation/Totals.h"
#include "masterdata/MasterTables.h"
#include "masterdata/SettingsStore.h"

#include <algorithm>

namespace brovant::reports {
namespace {

constexpr int kDefaultPageLength = 68;

ReportColumn left(const QString& caption, int width)
{
    return {caption, width, false};
}

ReportColumn right(const QString& caption, int width)
{
    return {caption, width, true};
}

// A count or volume cell that shows nothing for nothing, so the filled classes stand out.
QString countCell(std::int64_t count)
{
    return count == 0 ? QString() : QString::number(count);
}

QString volumeCell(std::int64_t volume, std::int64_t count)
{
    return volume == 0 && count == 0 ? QString() : formatVolume(volume);
}

QString share(std::int64_t part, std::int64_t whole)
{
    if (whole == 0)
        return QString();
    return QString::asprintf("%.1f", double(part) * 100.0 / double(whole));
}

std::optional<Report> withListHeader(const ReportSources& sources, std::int64_t listId,
                                     const QString& title, const QString& tag)
{
    const auto header = report::listHeader(sources.db, sources.store, listId);
    if (!header)
        return std::nullopt;
    Report r;
    r.title = title;
    r.fileTag = tag;
    r.listNo = header->listNo;
    r.company = report::companyLines(sources.store);
    r.header = header->fields;
    r.created = sources.now;
    return r;
}

QString correctionNote(int factor)
{
    return QStringLiteral("Kubatur in m³, je Datensatz mit dem Korrekturfaktor %1 % berechnet.")
        .arg(factor);
}

ReportTable speciesTable(const DiameterDistribution& d, const DiameterDistribution::Series& s)
{
    ReportTable t;
    t.title = QStringLiteral("Holzart %1").arg(s.species);
    t.columns = {left(QStringLiteral("Stufe"), 6), right(QStringLiteral("BHD cm"), 7),
                 right(QStringLiteral("Kub. m³"), 10), right(QStringLiteral("Stk"), 7),
                 right(QStringLiteral("d-Kub. m³"), 10)};
    for (size_t i = 0; i < d.classes().size(); ++i) {
        const DiameterDistribution::Cell& cell = s.cells[i];
        if (cell.count == 0 && cell.volume == 0)
            continue;
        const DiameterDistribution::DiameterClass& c = d.classes()[i];
        t.rows.push_back({{c.label(), c.known ? QString::number(c.diameter) : QString(),
                           formatVolume(cell.volume), QString::number(cell.count),
                           formatMean(cell.volume, cell.count)}});
    }
    t.rows.push_back({{QStringLiteral("Summe %1").arg(s.species), QString(), formatVolume(s.volume),
                       QString::number(s.count), formatMean(s.volume, s.count)},
                      RowStyle::Subtotal});
    return t;
}

// The totals screen's rows, cell for cell.
ReportTable summaryTable(const Totals& totals)
{
    ReportTable t;
    t.title = QStringLiteral("Zusammenstellung nach Holzarten");
    t.columns = {left(QStringLiteral("HA"), 8), right(QStringLiteral("Kub. m³"), 10),
                 right(QStringLiteral("Stk"), 7), right(QStringLiteral("d-Kub. m³"), 10)};
    for (const SpeciesTotal& s : totals.species()) {
        const Totals::Row cells = Totals::cells(s.species, s.volume, s.count);
        t.rows.push_back({{cells[0], cells[1].trimmed(), cells[2].trimmed(), cells[3].trimmed()}});
    }
    const Totals::Row sum = Totals::cells(QString(), totals.volume(), totals.count());
    t.rows.push_back(
        {{QStringLiteral("Gesamt"), sum[1].trimmed(), sum[2].trimmed(), sum[3].trimmed()},
         RowStyle::Total});
    return t;
}

ReportTable assortmentTable(const MasterTables& tables, const AssortmentDistribution::Species& s,
                            const QString& name)
{
    ReportTable t;
    t.title = QStringLiteral("Holzsorten-Verteilung für '%1'").arg(name);
    t.columns = {left(QStringLiteral("Sorte"), 12), right(QStringLiteral("Kub. m³"), 10),
                 right(QStringLiteral("Anteil %"), 9)};
    // A species the assortment rows do not cover shows its volume as unsorted alone.
    const bool sorted = s.unsorted != s.volume || s.volume == 0;
    for (int k = 0; sorted && k < AssortmentDistribution::kAssortments; ++k) {
        const std::int64_t v = s.volumes[size_t(k)];
        t.rows.push_back(
            {{AssortmentDistribution::name(tables, k), formatVolume(v), share(v, s.volume)}});
    }
    if (s.unsorted != 0) {
        t.rows.push_back({{QStringLiteral("ohne Sortierung"), formatVolume(s.unsorted),
                           share(s.unsorted, s.volume)}});
    }
    t.rows.push_back({{QStringLiteral("Summe"), formatVolume(s.volume),
                       s.volume == 0 ? QString() : QStringLiteral("100.0")},
                      RowStyle::Subtotal});
    return t;
}

} // namespace

int pageLength(const MasterTables& tables)
{
    if (tables.fieldSoftware)
        return tables.fieldSoftwarePageLength;
    if (tables.printerType >= 0 && size_t(tables.printerType) < tables.pageLength.size())
        return tables.pageLength[size_t(tables.printerType)];
    return kDefaultPageLength;
}

bool askBeforePrinting(const MasterTables& tables)
{
    return (tables.fieldSoftware ? tables.fieldSoftwareAsk : tables.activeAskBeforePrinting) != 0;
}

QString fileName(const Report& report)
{
    if (report.listNo.isEmpty())
        return report.fileTag + QStringLiteral(".pdf");
    QString name;
    for (const QChar c : report.listNo) {
        const bool plain = (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z')
                           || (c >= u'a' && c <= u'z') || c == u'-' || c == u'_';
        name += plain ? c : QChar(u'_');
    }
    return name + u'_' + report.fileTag + QStringLiteral(".pdf");
}

std::optional<Report> listing(const ReportSources& sources, std::int64_t listId)
{
    auto r = withListHeader(sources, listId, QStringLiteral("Holzliste nach Holzart und Stufe"),
                            QStringLiteral("Ausdruck"));
    const auto totals = Totals::compute(sources.db, listId);
    const auto distribution = DiameterDistribution::compute(sources.db, listId, sources.tables);
    const auto assortments = AssortmentDistribution::compute(sources.db, listId);
    if (!r || !totals || !distribution || !assortments)
        return std::nullopt;

    for (const DiameterDistribution::Series& s : distribution->species())
        r->addTable(speciesTable(*distribution, s));
    r->addTable(summaryTable(*totals));
    r->addText(correctionNote(totals->factor()));

    r->addHeading(QStringLiteral("Durchmesserverteilung"));
    r->addChart(distribution->stackedChart());

    for (const AssortmentDistribution::Species& s : assortments->species())
        r->addTable(assortmentTable(sources.tables, s, s.species));
    if (assortments->species().size() > 1)
        r->addTable(
            assortmentTable(sources.tables, assortments->all(), QStringLiteral("alle Holzarten")));
    r->addText(
        QStringLiteral("Sorten nach den Sortenanteilen der Stammdaten je Holzart und Stufe."));
    return r;
}

std::optional<Report> classTable(const ReportSources& sources, std::int64_t listId)
{
    auto r = withListHeader(sources, listId, QStringLiteral("Stufentabelle"),
                            QStringLiteral("Sortiment"));
    const auto distribution = DiameterDistribution::compute(sources.db, listId, sources.tables);
    if (!r || !distribution)
        return std::nullopt;
    const DiameterDistribution& d = *distribution;

    // The first classes of the class rows, as many as the settings name (at most 50); trees of
    // any other class are summed on one line so that the sums still hold every tree.
    int lines = std::min(sources.store.readInt(Setting::Stufenanzahl), kMaxClasses);
    lines = std::clamp(lines, 0,
                       int(std::count_if(d.classes().begin(), d.classes().end(),
                                         [](const auto& c) { return c.known; })));

    std::vector<const DiameterDistribution::Series*> columns;
    for (const auto& s : d.species())
        columns.push_back(&s);
    const int blocks =
        std::max(1, int((columns.size() + kSpeciesPerClassTable - 1) / kSpeciesPerClassTable));
    for (int block = 0; block < blocks; ++block) {
        std::vector<const DiameterDistribution::Series*> shown(
            columns.begin() + std::min<ptrdiff_t>(block * kSpeciesPerClassTable, columns.size()),
            columns.begin()
                + std::min<ptrdiff_t>((block + 1) * kSpeciesPerClassTable, columns.size()));
        shown.push_back(&d.all());

        ReportTable t;
        t.title = blocks > 1
                      ? QStringLiteral("Stufentabelle, Teil %1 von %2").arg(block + 1).arg(blocks)
                      : QString();
        t.columns = {left(QStringLiteral("Stufe"), 6), right(QStringLiteral("BHD"), 4)};
        for (const auto* s : shown) {
            const QString name = s->species.isEmpty() ? QStringLiteral("Ges.") : s->species;
            t.columns.push_back(right(name + QStringLiteral(" Stk"), 8));
            t.columns.back().divider = true;
            t.columns.push_back(right(name + QStringLiteral(" m³"), 9));
        }
        const auto rowFor = [&](const QString& code, const QString& diameter, auto cellOf) {
            ReportRow row{{code, diameter}};
            for (const auto* s : shown) {
                const DiameterDistribution::Cell cell = cellOf(*s);
                row.cells << countCell(cell.count) << volumeCell(cell.volume, cell.count);
            }
            return row;
        };
        for (int i = 0; i < lines; ++i) {
            const auto& c = d.classes()[size_t(i)];
            t.rows.push_back(
                rowFor(c.label(), QString::number(c.diameter),
                       [i](const DiameterDistribution::Series& s) { return s.cells[size_t(i)]; }));
        }
        const auto rest = [lines](const DiameterDistribution::Series& s) {
            DiameterDistribution::Cell sum;
            for (size_t i = size_t(lines); i < s.cells.size(); ++i) {
                sum.count += s.cells[i].count;
                sum.volume += s.cells[i].volume;
            }
            return sum;
        };
        const DiameterDistribution::Cell restAll = rest(d.all());
        if (restAll.count != 0 || restAll.volume != 0)
            t.rows.push_back(rowFor(QStringLiteral("übrige"), QString(), rest));
        ReportRow sum =
            rowFor(QStringLiteral("Summe"), QString(), [](const DiameterDistribution::Series& s) {
                return DiameterDistribution::Cell{s.count, s.volume};
            });
        sum.style = RowStyle::Total;
        // The sums show 0 too: they are what the totals screen shows.
        for (size_t i = 0; i < shown.size(); ++i) {
            sum.cells[2 + 2 * int(i)] = QString::number(shown[i]->count);
            sum.cells[3 + 2 * int(i)] = formatVolume(shown[i]->volume);
        }
        t.rows.push_back(std::move(sum));
        r->addTable(std::move(t));
    }
    r->addText(QStringLiteral("%1 Stufen laut Stammdaten (Stufenanzahl %2, höchstens %3).")
                   .arg(lines)
                   .arg(sources.store.readInt(Setting::Stufenanzahl))
                   .arg(kMaxClasses)
               + u'\n' + correctionNote(d.factor()));
    return r;
}

Report testPage(const ReportSources& sources)
{
    const MasterTables& t = sources.tables;
    Report r;
    r.title = QStringLiteral("Drucker-Testseite");
    r.fileTag = QStringLiteral("Testseite");
    r.company = report::companyLines(sources.store);
    r.created = sources.now;

    ReportTable settings;
    settings.title = QStringLiteral("Druckereinstellungen");
    settings.columns = {left(QStringLiteral("Einstellung"), 26), left(QStringLiteral("Wert"), 30)};
    const auto yesNo = [](bool on) {
        return on ? QStringLiteral("ja") : QStringLiteral("nein");
    };
    settings.rows = {
        {{QStringLiteral("Druckertyp"), QString::number(t.printerType)}},
        {{QStringLiteral("Seitenlänge (Zeilen)"), QString::number(pageLength(t))}},
        {{QStringLiteral("Frage vor dem Druck"), yesNo(askBeforePrinting(t))}},
        {{QStringLiteral("Anschluss"), QStringLiteral("COM%1").arg(t.printerPort)}},
        {{QStringLiteral("Baudrate"), QString::number(t.printerBaudrate)}},
        {{QStringLiteral("Druckpfad"), t.printerPath}},
        {{QStringLiteral("FieldSoftware"), yesNo(t.fieldSoftware != 0)}},
    };
    r.addTable(std::move(settings));

    ReportTable sample;
    sample.title = QStringLiteral("Mustertabelle");
    sample.columns = {left(QStringLiteral("HA"), 8), right(QStringLiteral("Kub. m³"), 10),
                      right(QStringLiteral("Stk"), 7), right(QStringLiteral("d-Kub. m³"), 10)};
    const struct {
        const char* species;
        std::int64_t volume;
        std::int64_t count;
    } samples[] = {{"FI", 134, 3}, {"KI", 1250, 14}, {"BU", 875, 6}};
    std::int64_t volume = 0;
    std::int64_t count = 0;
    for (const auto& s : samples) {
        sample.rows.push_back({{QString::fromLatin1(s.species), formatVolume(s.volume),
                                QString::number(s.count), formatMean(s.volume, s.count)}});
        volume += s.volume;
        count += s.count;
    }
    sample.rows.push_back({{QStringLiteral("Gesamt"), formatVolume(volume), QString::number(count),
                            formatMean(volume, count)},
                           RowStyle::Total});
    r.addTable(std::move(sample));
    r.addText(QStringLiteral("Zeichen: ÄÖÜ äöüß m³ Ø 0123456789 ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
    return r;
}

std::optional<Report> build(ReportKind kind, const ReportSources& sources, std::int64_t listId)
{
    switch (kind) {
    case ReportKind::Listing:
        return listing(sources, listId);
    case ReportKind::ClassTable:
        return classTable(sources, listId);
    case ReportKind::TestPage:
        return testPage(sources);
    }
    return std::nullopt;
}

} // namespace brovant::reports
