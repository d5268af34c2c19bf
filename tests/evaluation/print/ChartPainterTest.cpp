#include "evaluation/print/ChartPainter.h"
#include "support/CaseFile.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace brovant {
namespace {

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

TEST(ChartPainter, BarsStandInProportionAndStack)
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
}

TEST(ChartPainter, NoBarsSaysSo)
{
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
} // namespace brovant
