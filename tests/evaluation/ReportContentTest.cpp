#include "evaluation/Reports.h"

#include "ReportTestData.h"
#include "evaluation/Report.h"
#include "evaluation/ReportSources.h"

namespace brovant::test {
namespace {

using ReportContent = ReportFixture;

TEST_F(ReportContent, ListingAgreesWithTheTotalsScreen)
{
    addKnownList();
    const auto report = reports::listing(sources(), 1);
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(report->fileTag, QStringLiteral("Ausdruck"));
    EXPECT_EQ(reports::fileName(*report), QStringLiteral("HIEB01_Ausdruck.pdf"));

    for (const Case& c : casesOf("listing")) {
        QStringList tables;
        for (const ReportTable* t : tablesTitled(*report, c.text(1)))
            tables << tableRows(*t).join(u';');
        EXPECT_EQ(tables.join(u'/'), c.text(2)) << c.where().constData();
    }
    const auto sorts = tablesTitled(*report, QStringLiteral("Holzsorten-Verteilung für"));
    ASSERT_EQ(sorts.size(), 3u);
    EXPECT_EQ(sorts[0]->title, QStringLiteral("Holzsorten-Verteilung für 'FI'"));
    EXPECT_EQ(sorts[2]->title, QStringLiteral("Holzsorten-Verteilung für 'alle Holzarten'"));
    EXPECT_EQ(tablesTitled(*report, QStringLiteral("Holzart FI")).at(0)->rows.back().style,
              RowStyle::Subtotal);
    EXPECT_EQ(tablesTitled(*report, QStringLiteral("Zusammenstellung")).at(0)->rows.back().style,
              RowStyle::Total);

    // The stacked chart carries every stem.
    const auto chart =
        std::find_if(report->blocks.begin(), report->blocks.end(),
                     [](const auto& b) { return b.kind == ReportBlock::Kind::Chart; });
    ASSERT_NE(chart, report->blocks.end());
    EXPECT_EQ(chart->chart.labels, (QStringList{"12", "14", "16", "18", "20"}));
    std::int64_t stems = 0;
    for (int i = 0; i < chart->chart.labels.size(); ++i)
        stems += chart->chart.total(i);
    EXPECT_EQ(stems, 6);
}

TEST_F(ReportContent, HeaderLinesAndLabels)
{
    addClasses(3);
    lists->list(1, QStringLiteral("HIEB01"), 90,
                {{u"DATUM_A", "04.05.2026"},
                 {u"REGION_A", "WR01"},
                 {u"ZUSATZ_A", "Südhang"},
                 {u"KOPF1_A", "Forstamt Nord"},
                 {u"KOPF3_A", "12"}});
    addTrees(1, {{"FI", "08", 1, 10}});

    // Nothing set: the distributor's three lines; the screen's own labels.
    auto report = reports::listing(sources(), 1);
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(report->company, (QStringList{QString::fromUtf16(report::kDefaultCompany[0]),
                                            QString::fromUtf16(report::kDefaultCompany[1]),
                                            QString::fromUtf16(report::kDefaultCompany[2])}));
    QStringList header;
    for (const auto& [label, value] : report->header)
        header << label + u'=' + value;
    EXPECT_EQ(header, (QStringList{"Liste:=HIEB01", "Zusatz:=Südhang", "Datum:=04.05.2026",
                                   "Korr.-Faktor:=90 %", "Wuchsreg:=WR01", "Feld 1:=Forstamt Nord",
                                   "Feld 3:=12"}));

    // Imported labels keep their blanks in the registry, not on paper; a set company line wins,
    // an empty one falls back, lines 4 and 5 only when set.
    store().writeText(Setting::KopfLabel, 0, QStringLiteral("Zusatz:             "));
    store().writeText(Setting::KopfLabel, 4, QStringLiteral("Forstamt:           "));
    store().writeText(Setting::KopfLabel, 6, QStringLiteral("Abteilung:          "));
    store().writeText(Setting::Firmenkopf, 1, QStringLiteral("Forstbetrieb Musterwald   "));
    store().writeText(Setting::Firmenkopf, 2, QStringLiteral("   "));
    store().writeText(Setting::Firmenkopf, 5, QStringLiteral("www.musterwald.example"));
    report = reports::classTable(sources(), 1);
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(
        report->company,
        (QStringList{"Forstbetrieb Musterwald", QString::fromUtf16(report::kDefaultCompany[1]),
                     QString::fromUtf16(report::kDefaultCompany[2]), "www.musterwald.example"}));
    header.clear();
    for (const auto& [label, value] : report->header)
        header << label + u'=' + value;
    EXPECT_EQ(header.mid(5), (QStringList{"Forstamt:=Forstamt Nord", "Abteilung:=12"}));

    EXPECT_FALSE(reports::listing(sources(), 7).has_value());
    EXPECT_FALSE(reports::classTable(sources(), 7).has_value());
}

// The cases of data/reports.txt, each with its own class rows and list.
TEST_F(ReportContent, ClassTableHasOneLinePerClassUpToTheSetting)
{
    std::int64_t list = 10;
    for (const Case& c : casesOf("classes")) {
        SCOPED_TRACE(c.where().constData());
        const QStringList classes = c.text(1).split(u' '); // count, first, step
        ASSERT_TRUE(db().deleteAll(schema::Einstellungen));
        addClasses(classes[0].toInt(), classes[1].toInt(), classes[2].toInt());
        store().writeInt(Setting::Stufenanzahl, 0, c.text(2).toInt());
        addList(++list, QStringLiteral("L1"), 90);
        addTrees(list, treesOf(c.fields[3]));
        const auto report = reports::classTable(sources(), list);
        ASSERT_TRUE(report.has_value());
        EXPECT_EQ(report->fileTag, QStringLiteral("Sortiment"));
        const auto tables = tablesTitled(*report, QString());
        ASSERT_EQ(tables.size(), 1u);
        const ReportTable& t = *tables[0];
        ASSERT_EQ(t.columns.size(), 6u); // class, diameter, FI stems and m3, all stems and m3
        EXPECT_EQ(t.columns[2].caption, QStringLiteral("FI Stk"));
        EXPECT_EQ(t.columns[5].caption, QStringLiteral("Ges. m³"));

        const QStringList printed = c.text(4).split(u' '); // lines, first and last class
        const int lines = printed[0].toInt();
        const int restLines = c.text(5).isEmpty() ? 0 : 1;
        ASSERT_EQ(int(t.rows.size()), lines + restLines + 1);
        if (lines > 0) {
            EXPECT_EQ(t.rows[0].cells[0], printed[1]);
            EXPECT_EQ(t.rows[size_t(lines - 1)].cells[0], printed[2]);
        }
        if (restLines) {
            const ReportRow& rest = t.rows[size_t(lines)];
            EXPECT_EQ(rest.cells[0], QStringLiteral("übrige"));
            EXPECT_EQ(rest.cells[4] + u'|' + rest.cells[5], c.text(5));
        }
        // The sums hold every tree.
        EXPECT_EQ(t.rows.back().style, RowStyle::Total);
        EXPECT_EQ(t.rows.back().cells[4] + u'|' + t.rows.back().cells[5], c.text(6));
    }
}

TEST_F(ReportContent, ManySpeciesContinueInFurtherTables)
{
    addClasses(5);
    addList(1, QStringLiteral("L1"), 100);
    std::vector<Tree> trees;
    for (const char* species : {"AH", "BU", "EI", "FI", "KI", "TA"})
        trees.push_back({species, "10", 1, 10});
    addTrees(1, trees);
    const auto report = reports::classTable(sources(), 1);
    ASSERT_TRUE(report.has_value());
    const auto tables = tablesTitled(*report, QStringLiteral("Stufentabelle, Teil"));
    ASSERT_EQ(tables.size(), 2u);
    EXPECT_EQ(tables[0]->title, QStringLiteral("Stufentabelle, Teil 1 von 2"));
    EXPECT_EQ(tables[0]->columns.size(), 2u + 2 * (4 + 1));
    EXPECT_EQ(tables[1]->columns.size(), 2u + 2 * (2 + 1));
    EXPECT_EQ(tables[1]->columns[2].caption, QStringLiteral("KI Stk"));
    // Both end with every stem of the list.
    for (const ReportTable* t : tables)
        EXPECT_EQ(t->rows.back().cells[t->columns.size() - 2], QStringLiteral("6"));
}

TEST_F(ReportContent, PrinterSettingsInUse)
{
    for (const Case& c : casesOf("printer")) {
        SCOPED_TRACE(c.where().constData());
        const int type = c.text(1).toInt();
        session->profile().deleteSection(QStringLiteral("Printer"));
        store().writeInt(Setting::PrinterType, 0, type);
        if (c.fields[2] != "-")
            store().writeInt(Setting::PrinterSeitenlaenge, type, c.text(2).toInt());
        if (c.fields[3] != "-")
            store().writeInt(Setting::PrinterFrage, type, c.text(3).toInt());
        store().writeInt(Setting::FieldSoftware, 0, c.text(4).toInt());
        EXPECT_EQ(reports::pageLength(tables()), c.text(5).toInt());
        EXPECT_EQ(reports::askBeforePrinting(tables()), c.fields[6] == "yes");
    }

    const Report page = reports::testPage(sources());
    EXPECT_EQ(reports::fileName(page), QStringLiteral("Testseite.pdf"));
    const auto settings = tablesTitled(page, QStringLiteral("Druckereinstellungen"));
    ASSERT_EQ(settings.size(), 1u);
    EXPECT_TRUE(tableRows(*settings[0]).contains(QStringLiteral("Seitenlänge (Zeilen)|72")));
    EXPECT_TRUE(tableRows(*settings[0]).contains(QStringLiteral("Druckpfad|\\My Documents")));
    EXPECT_EQ(tablesTitled(page, QStringLiteral("Mustertabelle")).size(), 1u);
}

TEST(ReportFileNames, PlainCharactersOnly)
{
    for (const Case& c : casesOf("filename")) {
        Report r;
        r.listNo = c.text(1);
        r.fileTag = c.text(2);
        EXPECT_EQ(reports::fileName(r), c.text(3)) << c.where().constData();
    }
}

using Kind = PageLine::Kind;

// Three company lines, the title, one line of header fields: 7 lines before the body on page 1.
Report baseReport()
{
    Report r;
    r.title = QStringLiteral("Holzliste");
    r.listNo = QStringLiteral("HIEB01");
    r.company = {QStringLiteral("Firma"), QStringLiteral("Straße"), QStringLiteral("Telefon")};
    r.header = {{QStringLiteral("Liste:"), QStringLiteral("HIEB01")},
                {QStringLiteral("Datum:"), QStringLiteral("04.05.2026")}};
    r.created = QDateTime(QDate(2026, 5, 4), QTime(7, 30));
    return r;
}

ReportTable numberedTable(int rows)
{
    ReportTable t;
    t.title = QStringLiteral("Holzart FI");
    t.columns = {{QStringLiteral("Nr"), 4, true}};
    for (int i = 1; i <= rows; ++i)
        t.rows.push_back({{QString::number(i)}});
    return t;
}

// The footer's texts; the cases of data/reports.txt: rows per page for a length.
TEST(ReportLayout, FooterAndRowsPerPageFollowingTheLength)
{
    EXPECT_EQ(ReportLayout::pageCaption(2, 3), QStringLiteral("Seite 2 von 3"));
    Report footed = baseReport();
    EXPECT_EQ(ReportLayout::footerText(footed),
              QStringLiteral("Liste HIEB01 · gedruckt am 04.05.2026 07:30"));
    footed.listNo.clear();
    EXPECT_EQ(ReportLayout::footerText(footed), QStringLiteral("gedruckt am 04.05.2026 07:30"));

    for (const Case& c : test::casesOf("pages")) {
        SCOPED_TRACE(c.where().constData());
        const int pageLength = c.text(1).toInt();
        const int rowCount = c.text(2).toInt();
        Report r = baseReport();
        r.addTable(numberedTable(rowCount));
        const auto pages = ReportLayout::paginate(r, pageLength);
        const int length = ReportLayout::effectivePageLength(pageLength);

        QStringList perPage;
        int next = 1;
        for (size_t p = 0; p < pages.size(); ++p) {
            const auto& lines = pages[p].lines;
            EXPECT_LE(pages[p].usedLines(), length - ReportLayout::kFooterLines) << p;
            int rows = 0;
            for (const PageLine& l : lines) {
                if (l.kind != Kind::TableRow)
                    continue;
                EXPECT_EQ(l.cells.value(0), QString::number(next++));
                EXPECT_EQ(l.table, &r.blocks[0].table);
                ++rows;
            }
            perPage << QString::number(rows);
            if (p == 0) {
                ASSERT_GE(lines.size(), 9u);
                EXPECT_EQ(lines[0].kind, Kind::Company);
                EXPECT_TRUE(lines[0].firstCompanyLine);
                EXPECT_FALSE(lines[1].firstCompanyLine);
                EXPECT_EQ(lines[3].kind, Kind::Title);
                EXPECT_EQ(lines[5].kind, Kind::Fields);
                EXPECT_EQ(lines[5].cells,
                          (QStringList{"Liste:", "HIEB01", "Datum:", "04.05.2026"}));
                EXPECT_EQ(lines[7].cells.value(0), QStringLiteral("Holzart FI"));
                EXPECT_EQ(lines[8].kind, Kind::TableHead);
            } else {
                // A page that goes on with the table repeats its heading and captions.
                ASSERT_GE(lines.size(), 4u);
                EXPECT_EQ(lines[0].kind, Kind::RunningHead);
                EXPECT_EQ(lines[0].cells, (QStringList{"Firma", "Holzliste", "HIEB01"}));
                EXPECT_EQ(lines[1].kind, Kind::Blank);
                EXPECT_EQ(lines[2].cells.value(0), QStringLiteral("Holzart FI (Fortsetzung)"));
                EXPECT_EQ(lines[3].kind, Kind::TableHead);
            }
        }
        EXPECT_EQ(next, rowCount + 1);
        EXPECT_EQ(perPage.join(u' '), c.text(3));
    }
}

// The cases of data/reports.txt: where a section's heading lands.
TEST(ReportLayout, HeadingsAndChartsAreNeverCutOff)
{
    for (const Case& c : test::casesOf("heading")) {
        SCOPED_TRACE(c.where().constData());
        const int filler = c.text(1).toInt();
        const bool chart = c.fields[2] == "chart";
        Report r = baseReport();
        r.header.clear();
        for (int i = 0; i < filler; ++i)
            r.addText(QStringLiteral("Zeile %1").arg(i));
        r.addHeading(QStringLiteral("Abschnitt"));
        if (chart) {
            ReportChart bars;
            bars.labels = {QStringLiteral("10")};
            bars.series = {{QStringLiteral("FI"), {3}}};
            r.addChart(bars);
        } else {
            r.addTable(numberedTable(5));
        }
        const auto pages = ReportLayout::paginate(r, 30);
        int headingPage = -1;
        for (size_t p = 0; p < pages.size(); ++p) {
            const auto& lines = pages[p].lines;
            EXPECT_LE(pages[p].usedLines(), 28);
            for (size_t i = 0; i < lines.size(); ++i) {
                if (lines[i].kind == Kind::Heading && lines[i].cells.value(0) == u"Abschnitt") {
                    headingPage = int(p);
                    // What follows the heading starts on the same page.
                    ASSERT_LT(i + 1, lines.size());
                    EXPECT_EQ(lines[i + 1].kind, chart ? Kind::Chart : Kind::Heading);
                }
                if (lines[i].kind == Kind::Chart) {
                    EXPECT_EQ(lines[i].span, ReportLayout::kChartLines);
                }
            }
        }
        EXPECT_EQ(headingPage, c.text(3).toInt());
    }
}

TEST(ReportLayout, VolumesAndMeansAsOnTheTotalsScreen)
{
    for (const Case& c : test::casesOf("volume")) {
        EXPECT_EQ(formatVolume(c.text(1).toLongLong()), c.text(3)) << c.where().constData();
        EXPECT_EQ(formatMean(c.text(1).toLongLong(), c.text(2).toLongLong()), c.text(4))
            << c.where().constData();
    }
}

} // namespace
} // namespace brovant::test
