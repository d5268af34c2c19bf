// The printouts as PDF files, read back as text with pdftotext (poppler-utils): the numbers on
// paper are the totals screen's, and the pages break where the page length says. Then the
// charts' grid, labels and bars as painted.
#include "evaluation/print/ReportPrinter.h"

#include "evaluation/ReportTestData.h"
#include "evaluation/print/ChartPainter.h"

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>

namespace brovant::test {
namespace {

const QString kCases = QStringLiteral("evaluation/print/data/pdf.txt");

// The pages of a PDF as text, runs of blanks made one.
QStringList pdfPages(const QString& file)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
    if (!p.waitForFinished(30000) || p.exitCode() != 0)
        return {QStringLiteral("<pdftotext failed>")};
    QString text = QString::fromUtf8(p.readAllStandardOutput());
    text.replace(QRegularExpression(QStringLiteral("[ \\t]+")), QStringLiteral(" "));
    QStringList pages = text.split(u'\f');
    if (!pages.isEmpty() && pages.last().trimmed().isEmpty())
        pages.removeLast();
    return pages;
}

// The lines of a page, each trimmed.
QStringList lines(const QString& page)
{
    QStringList out;
    for (const QString& line : page.split(u'\n'))
        out << line.trimmed();
    return out;
}

class ReportPdf : public ReportFixture {
protected:
    QString write(const Report& report, int pageLength)
    {
        const QString file = root.host(QStringLiteral("report.pdf"));
        QString error;
        EXPECT_TRUE(ReportPrinter::writePdf(report, pageLength, file, &error))
            << error.toStdString();
        return file;
    }
};

TEST_F(ReportPdf, ListingShowsTheTotalsScreensNumbers)
{
    addKnownList();
    const auto report = reports::listing(sources(), 1);
    ASSERT_TRUE(report.has_value());
    const QStringList pages = pdfPages(write(*report, 72));
    const auto layout = ReportLayout::paginate(*report, 72);
    ASSERT_EQ(pages.size(), qsizetype(layout.size()));
    const QStringList all = lines(pages.join(u'\n'));

    // The lines of the listing anywhere, the header on page 1, the page numbers on every page.
    for (const Case& c : casesOf(kCases, "listing"))
        EXPECT_TRUE(all.contains(c.text(1))) << c.where().constData();
    for (const Case& c : casesOf(kCases, "header"))
        EXPECT_TRUE(pages.first().contains(c.text(1))) << c.where().constData();
    for (int p = 0; p < pages.size(); ++p)
        EXPECT_TRUE(pages[p].contains(ReportLayout::pageCaption(p + 1, int(pages.size())))) << p;
}

// 60 class rows (10 .. 69 cm), 50 printed, at 30 lines a page: page 1 holds 8 header lines and
// the captions before 19 class rows, a following page the running head, a blank line and the
// captions.
TEST_F(ReportPdf, ClassTableBreaksWhereTheLengthSays)
{
    addClasses(60, 10, 1);
    addList(1, QStringLiteral("L1"), 100);
    addTrees(1, {{"FI", "20", 2, 100}, {"KI", "59", 1, 300}});
    const auto report = reports::classTable(sources(), 1);
    ASSERT_TRUE(report.has_value());
    const QStringList pages = pdfPages(write(*report, 30));
    ASSERT_EQ(pages.size(), 3);
    EXPECT_EQ(qsizetype(ReportLayout::paginate(*report, 30).size()), pages.size());

    // Class lines are "code diameter ...": the last one on page 1.
    QString last;
    for (const QString& line : lines(pages.first())) {
        static const QRegularExpression classLine(QStringLiteral("^(\\d\\d) \\1\\b"));
        if (const auto m = classLine.match(line); m.hasMatch())
            last = m.captured(1);
    }
    EXPECT_EQ(last, QStringLiteral("28"));
    // Continuation pages repeat the captions; the sums close the last page.
    for (int p = 1; p < pages.size(); ++p)
        EXPECT_TRUE(pages[p].contains(QStringLiteral("Ges. Stk"))) << p;
    EXPECT_TRUE(lines(pages.last()).contains(QStringLiteral("Summe 2 1.00 1 3.00 3 4.00")));
}

// The test page shows the header and the printer's settings; a failed write leaves no file.
TEST_F(ReportPdf, TestPageShowsHeaderAndPrinterSettings)
{
    store().writeText(Setting::Firmenkopf, 1, QStringLiteral("Forstbetrieb Musterwald"));
    store().writeInt(Setting::PrinterType, 0, 2);
    store().writeInt(Setting::PrinterSeitenlaenge, 2, 50);
    const Report page = reports::testPage(sources());
    const QStringList pages = pdfPages(write(page, 50));
    ASSERT_EQ(pages.size(), 1);
    const QStringList text = lines(pages.first());
    for (const Case& c : casesOf(kCases, "testpage"))
        EXPECT_TRUE(text.contains(c.text(1)) || pages.first().contains(c.text(1)))
            << c.where().constData();

    const QString file = root.host(QStringLiteral("missing/folder/t.pdf"));
    QString error;
    EXPECT_FALSE(ReportPrinter::writePdf(page, 60, file, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(QFile::exists(file));
    // Tests and the tool run offscreen: never on a printer.
    EXPECT_TRUE(ReportPrinter::systemPrinter().isEmpty());
}

TEST(ChartPainter, GridStepsAndLabelsAsWritten)
{
    for (const test::Case& c : test::readCases(QStringLiteral("evaluation/print/data/chart.txt"))) {
        const std::int64_t got =
            c.fields[0] == "grid"
                ? ChartPainter::gridStep(c.fields[1].toLongLong(), c.fields[2].toInt())
                : ChartPainter::labelEvery(c.fields[1].toDouble(), c.fields[2].toDouble());
        EXPECT_EQ(got, c.fields[3].toLongLong()) << c.where().constData();
    }
}

// Pixels of `color` in column x, from the bottom up to the first other colour, below `top`
// (the legend's swatches stand above it).
int runFromBottom(const QImage& image, int x, QRgb color, int top)
{
    int y = image.height() - 1;
    while (y >= top && image.pixel(x, y) != color)
        --y;
    int run = 0;
    while (y >= top && image.pixel(x, y) == color) {
        ++run;
        --y;
    }
    return run;
}

TEST(ChartPainter, BarsStandInProportionAndStackOrANoticeSaysThereAreNone)
{
    ReportChart chart;
    chart.labels = {QStringLiteral("10"), QStringLiteral("12"), QStringLiteral("14"),
                    QStringLiteral("16")};
    chart.series = {{QStringLiteral("FI"), {1, 4, 2, 0}}, {QStringLiteral("KI"), {0, 0, 2, 0}}};
    QImage image(400, 300, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter p(&image);
        ChartStyle style;
        style.title = false;
        style.valueLabels = false;
        ChartPainter::paint(p, QRectF(0, 0, 400, 300), chart, style);
    }
    const QRgb fi = ChartPainter::seriesColor(0).rgb();
    const QRgb ki = ChartPainter::seriesColor(1).rgb();
    ASSERT_NE(fi, ki);

    // Bars are the runs of columns holding a bar colour; each keeps its tallest column.
    struct Bar {
        int left = 0;
        int right = 0;
        int fi = 0;
        int ki = 0;
    };
    std::vector<Bar> bars;
    const int top = 40;
    for (int x = 0; x < image.width(); ++x) {
        const int f = runFromBottom(image, x, fi, top);
        const int k = runFromBottom(image, x, ki, top);
        if (f == 0 && k == 0)
            continue;
        if (bars.empty() || bars.back().right != x - 1)
            bars.push_back({x, x, 0, 0});
        bars.back().right = x;
        bars.back().fi = std::max(bars.back().fi, f);
        bars.back().ki = std::max(bars.back().ki, k);
    }
    // The fourth class holds nothing: three bars, evenly spaced and equally wide.
    ASSERT_EQ(bars.size(), 3u);
    EXPECT_NEAR(bars[1].left - bars[0].left, bars[2].left - bars[1].left, 1);
    EXPECT_NEAR(bars[0].right - bars[0].left, bars[2].right - bars[2].left, 1);
    ASSERT_GT(bars[0].fi, 5);
    // FI in proportion 1 : 4 : 2; KI stacked on FI in the third, as tall as FI there.
    EXPECT_NEAR(bars[1].fi, 4 * bars[0].fi, 2);
    EXPECT_NEAR(bars[2].fi, 2 * bars[0].fi, 2);
    EXPECT_EQ(bars[0].ki, 0);
    EXPECT_NEAR(bars[2].ki, bars[2].fi, 2);
    // The tallest bar reaches the top grid line of 4, three quarters of the plot or more.
    EXPECT_GT(bars[1].fi, (image.height() - top) / 2);

    // No bars: a notice says so.
    QImage empty(240, 200, QImage::Format_RGB32);
    empty.fill(Qt::white);
    QImage drawn = empty;
    {
        QPainter p(&drawn);
        ChartPainter::paint(p, QRectF(0, 0, 240, 200), ReportChart{}, ChartStyle{});
    }
    // Something (the notice) was drawn, and no bar colour.
    EXPECT_NE(drawn, empty);
    for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x)
            ASSERT_NE(drawn.pixel(x, y), ChartPainter::seriesColor(0).rgb());
    }
}

} // namespace
} // namespace brovant::test
