#include "evaluation/Report.h"

#include "ReportTestData.h"

namespace brovant {
namespace {

using Kind = PageLine::Kind;
using test::Case;

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

// The cases of data/reports.txt: rows per page for a length.
TEST(ReportLayout, RowsPerPageFollowTheLength)
{
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

TEST(ReportLayout, FooterTexts)
{
    EXPECT_EQ(ReportLayout::pageCaption(2, 3), QStringLiteral("Seite 2 von 3"));
    Report r = baseReport();
    EXPECT_EQ(ReportLayout::footerText(r),
              QStringLiteral("Liste HIEB01 · gedruckt am 04.05.2026 07:30"));
    r.listNo.clear();
    EXPECT_EQ(ReportLayout::footerText(r), QStringLiteral("gedruckt am 04.05.2026 07:30"));
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
} // namespace brovant
