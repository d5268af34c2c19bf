#include "evaluation/Report.h"

#include <gtest/gtest.h>

#include <ostream>

namespace brovant {
namespace {

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

struct PageCase {
    int pageLength;
    int rows;
    std::vector<int> rowsPerPage;
};

void PrintTo(const PageCase& c, std::ostream* os)
{
    *os << c.pageLength << " lines, " << c.rows << " rows";
}

class PageBreaks : public ::testing::TestWithParam<PageCase> {};

// Page 1 holds length - 2 (footer) - 7 (header) - 2 (title, captions) rows; a following page
// length - 2 - 2 (running head, blank) - 2 (title again, captions again).
TEST_P(PageBreaks, RowsPerPageFollowTheLength)
{
    const PageCase& c = GetParam();
    Report r = baseReport();
    r.addTable(numberedTable(c.rows));
    const auto pages = ReportLayout::paginate(r, c.pageLength);
    const int length = ReportLayout::effectivePageLength(c.pageLength);

    std::vector<int> perPage;
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
        perPage.push_back(rows);
        if (p == 0) {
            ASSERT_GE(lines.size(), 9u);
            EXPECT_EQ(lines[0].kind, Kind::Company);
            EXPECT_TRUE(lines[0].firstCompanyLine);
            EXPECT_FALSE(lines[1].firstCompanyLine);
            EXPECT_EQ(lines[3].kind, Kind::Title);
            EXPECT_EQ(lines[5].kind, Kind::Fields);
            EXPECT_EQ(lines[5].cells, (QStringList{"Liste:", "HIEB01", "Datum:", "04.05.2026"}));
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
    EXPECT_EQ(next, c.rows + 1);
    EXPECT_EQ(perPage, c.rowsPerPage);
}

INSTANTIATE_TEST_SUITE_P(Lengths, PageBreaks,
                         ::testing::Values(PageCase{40, 100, {29, 34, 34, 3}},
                                           PageCase{72, 100, {61, 39}}, PageCase{65, 100, {54, 46}},
                                           PageCase{30, 100, {19, 24, 24, 24, 9}},
                                           // Out of range: the nearest bound.
                                           PageCase{10, 100, {19, 24, 24, 24, 9}},
                                           PageCase{120, 100, {100}}, PageCase{500, 120, {109, 11}},
                                           // Exactly full, then one row more.
                                           PageCase{40, 29, {29}}, PageCase{40, 30, {29, 1}}));

TEST(ReportLayout, HeadingsAndChartsAreNeverCutOff)
{
    const struct {
        int filler;     // text lines before the section on page 1 (of 23 body lines at 30)
        bool chart;     // the section: a heading with a chart, or a table of 5 rows
        int pageOfHead; // where the section's heading lands
    } cases[] = {
        // Blank, heading, the table's title and captions and two rows: six lines.
        {0, false, 0},
        {17, false, 0},
        {18, false, 1},
        {22, false, 1},
        // Blank, heading and the chart's 18 lines.
        {0, true, 0},
        {3, true, 0},
        {4, true, 1},
        {23, true, 1},
    };
    for (const auto& c : cases) {
        Report r = baseReport();
        r.header.clear();
        for (int i = 0; i < c.filler; ++i)
            r.addText(QStringLiteral("Zeile %1").arg(i));
        r.addHeading(QStringLiteral("Abschnitt"));
        if (c.chart) {
            ReportChart chart;
            chart.labels = {QStringLiteral("10")};
            chart.series = {{QStringLiteral("FI"), {3}}};
            r.addChart(chart);
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
                    ASSERT_LT(i + 1, lines.size()) << c.filler;
                    EXPECT_EQ(lines[i + 1].kind, c.chart ? Kind::Chart : Kind::Heading);
                }
                if (lines[i].kind == Kind::Chart) {
                    EXPECT_EQ(lines[i].span, ReportLayout::kChartLines);
                }
            }
        }
        EXPECT_EQ(headingPage, c.pageOfHead) << c.filler << (c.chart ? " chart" : " table");
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
    const struct {
        std::int64_t volume;
        std::int64_t count;
        const char* shownVolume;
        const char* shownMean;
    } cases[] = {
        {134, 3, "1.34", "0.45"},
        {42, 5, "0.42", "0.08"},
        {3, 2, "0.03", "0.02"},
        {0, 0, "0.00", "0.00"},
        {1019898, 10098, "10198.98", "1.01"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatVolume(c.volume), QLatin1StringView(c.shownVolume));
        EXPECT_EQ(formatMean(c.volume, c.count), QLatin1StringView(c.shownMean));
    }
}

} // namespace
} // namespace brovant
