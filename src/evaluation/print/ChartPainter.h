// Printing: draws a report's bar chart with QPainter, on paper and on the 240 x 320 screen alike:
// the bars (stacked when there is more than one series), a value axis with round steps and grid
// lines, the class labels (every n-th where they would crowd), the totals over the bars where
// they fit, and a legend for stacked series. What the bars hold is the core's (ReportChart).
#pragma once

#include "evaluation/Report.h"

#include <QColor>
#include <QRectF>

class QPainter;

namespace brovant {

struct ChartStyle {
    qreal textSize = 10;     // pixel size of labels, in the painter's units
    qreal lineWidth = 1;     // axis and grid pens
    bool title = true;       // the chart's title above it
    bool valueLabels = true; // the stacked total above each bar, where it fits
    QColor ink = QColor(0x22, 0x22, 0x22);
};

class ChartPainter {
public:
    // Draws `chart` inside `area`; a chart without bars shows "Keine Bäume".
    static void paint(QPainter& painter, const QRectF& area, const ReportChart& chart,
                      const ChartStyle& style);

    // Colour of series i: forest greens and browns that stay apart in print.
    static QColor seriesColor(int i);

    // Distance between the value axis' grid lines for a tallest bar of `maximum`: 1, 2 or 5
    // times a power of ten, giving at most `lines` lines.
    static std::int64_t gridStep(std::int64_t maximum, int lines);
    // Every how many classes a label is written, so labels of `labelWidth` keep apart on bars
    // `slotWidth` wide.
    static int labelEvery(qreal slotWidth, qreal labelWidth);
};

} // namespace brovant
