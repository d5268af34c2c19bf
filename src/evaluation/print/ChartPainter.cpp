#include "evaluation/print/ChartPainter.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace brovant {
namespace {

QFont chartFont(qreal pixelSize, bool bold = false)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(std::max(1, int(std::lround(pixelSize))));
    font.setBold(bold);
    return font;
}

} // namespace

QColor ChartPainter::seriesColor(int i)
{
    static const QColor colors[] = {
        QColor(0x2e, 0x5e, 0x3a), QColor(0xc0, 0x7a, 0x2c), QColor(0x4f, 0x7f, 0xa6),
        QColor(0x8f, 0xb3, 0x5a), QColor(0x8a, 0x3b, 0x3b), QColor(0xd9, 0xb3, 0x3c),
        QColor(0x6b, 0x5b, 0x8e), QColor(0x8c, 0x8c, 0x8c),
    };
    constexpr int n = int(std::size(colors));
    return colors[((i % n) + n) % n];
}

std::int64_t ChartPainter::gridStep(std::int64_t maximum, int lines)
{
    lines = std::max(lines, 1);
    if (maximum <= 0)
        return 1;
    for (std::int64_t power = 1;; power *= 10) {
        for (const std::int64_t factor : {1, 2, 5}) {
            const std::int64_t step = factor * power;
            if ((maximum + step - 1) / step <= lines)
                return step;
        }
    }
}

int ChartPainter::labelEvery(qreal slotWidth, qreal labelWidth)
{
    if (slotWidth <= 0)
        return 1;
    // A little air between neighbouring labels.
    const qreal needed = labelWidth * 1.3;
    return std::max(1, int(std::ceil(needed / slotWidth)));
}

void ChartPainter::paint(QPainter& painter, const QRectF& area, const ReportChart& chart,
                         const ChartStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    const qreal t = style.textSize;
    const QFont font = chartFont(t);
    const QFontMetricsF metrics(font);
    QRectF rest = area;

    if (style.title && !chart.title.isEmpty()) {
        painter.setFont(chartFont(t * 1.1, true));
        painter.setPen(style.ink);
        painter.drawText(QRectF(rest.left(), rest.top(), rest.width(), t * 1.6),
                         Qt::AlignLeft | Qt::AlignVCenter, chart.title);
        rest.setTop(rest.top() + t * 1.7);
    }

    // The legend names the stacked series, in rows as wide as the chart.
    painter.setFont(font);
    if (chart.series.size() > 1) {
        qreal x = rest.left();
        qreal y = rest.top();
        const qreal box = t * 0.9;
        for (size_t i = 0; i < chart.series.size(); ++i) {
            const QString name = chart.series[i].name;
            const qreal width = box + t * 0.4 + metrics.horizontalAdvance(name) + t * 1.2;
            if (x > rest.left() && x + width > rest.right()) {
                x = rest.left();
                y += t * 1.5;
            }
            painter.fillRect(QRectF(x, y + (t * 1.4 - box) / 2, box, box), seriesColor(int(i)));
            painter.setPen(style.ink);
            painter.drawText(QRectF(x + box + t * 0.4, y, width, t * 1.4),
                             Qt::AlignLeft | Qt::AlignVCenter, name);
            x += width;
        }
        rest.setTop(y + t * 1.8);
    }

    const int n = int(chart.labels.size());
    if (n == 0 || chart.maximum() <= 0) {
        painter.setPen(style.ink);
        painter.drawText(rest, Qt::AlignCenter, QStringLiteral("Keine Bäume"));
        painter.restore();
        return;
    }

    const qreal rowHeight = t * 1.4;
    const std::int64_t maximum = chart.maximum();
    const int gridLines = std::clamp(int((rest.height() - 3 * rowHeight) / (t * 2.2)), 2, 6);
    const std::int64_t step = gridStep(maximum, gridLines);
    const std::int64_t top = ((maximum + step - 1) / step) * step;
    const QString topText = QString::number(top);
    const qreal axisWidth =
        std::max(metrics.horizontalAdvance(topText), metrics.horizontalAdvance(chart.valueCaption))
        + t * 0.6;
    // Above the plot: the value caption, clear of the top grid line's label.
    QRectF plot(rest.left() + axisWidth, rest.top() + rowHeight * 1.6, rest.width() - axisWidth,
                rest.height() - rowHeight * 2.6 - (chart.axisCaption.isEmpty() ? 0 : rowHeight));
    if (plot.width() <= 0 || plot.height() <= 0) {
        painter.restore();
        return;
    }
    const qreal scale = plot.height() / qreal(top);

    // Grid and value axis.
    painter.setPen(style.ink);
    painter.drawText(QRectF(rest.left(), rest.top(), axisWidth + t * 3, rowHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, chart.valueCaption);
    for (std::int64_t v = 0; v <= top; v += step) {
        const qreal y = plot.bottom() - qreal(v) * scale;
        painter.setPen(QPen(v == 0 ? style.ink : QColor(0xd0, 0xd0, 0xd0), style.lineWidth));
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(style.ink);
        painter.drawText(QRectF(rest.left(), y - rowHeight / 2, axisWidth - t * 0.4, rowHeight),
                         Qt::AlignRight | Qt::AlignVCenter, QString::number(v));
    }
    painter.setPen(QPen(style.ink, style.lineWidth));
    painter.drawLine(plot.bottomLeft(), plot.topLeft());

    // Bars, stacked from the axis up.
    const qreal slot = plot.width() / n;
    const qreal barWidth = std::max<qreal>(1, slot * 0.72);
    qreal widestLabel = 0;
    for (const QString& label : chart.labels)
        widestLabel = std::max(widestLabel, metrics.horizontalAdvance(label));
    const int every = labelEvery(slot, widestLabel);
    for (int i = 0; i < n; ++i) {
        const qreal x = plot.left() + slot * i + (slot - barWidth) / 2;
        qreal base = plot.bottom();
        for (size_t s = 0; s < chart.series.size(); ++s) {
            const auto& values = chart.series[s].values;
            const std::int64_t v = size_t(i) < values.size() ? values[size_t(i)] : 0;
            if (v <= 0)
                continue;
            const qreal h = qreal(v) * scale;
            painter.fillRect(QRectF(x, base - h, barWidth, h), seriesColor(int(s)));
            base -= h;
        }
        const std::int64_t total = chart.total(i);
        const QString value = QString::number(total);
        if (style.valueLabels && total > 0 && metrics.horizontalAdvance(value) <= slot * 1.05) {
            painter.setPen(style.ink);
            painter.drawText(QRectF(x - slot, base - rowHeight, barWidth + 2 * slot, rowHeight),
                             Qt::AlignHCenter | Qt::AlignBottom, value);
        }
        if (i % every == 0) {
            painter.setPen(style.ink);
            painter.drawText(QRectF(plot.left() + slot * i - slot * every, plot.bottom(),
                                    slot * (2 * every + 1), rowHeight),
                             Qt::AlignHCenter | Qt::AlignVCenter, chart.labels[i]);
        }
    }
    if (!chart.axisCaption.isEmpty()) {
        painter.setPen(style.ink);
        painter.drawText(QRectF(plot.left(), plot.bottom() + rowHeight, plot.width(), rowHeight),
                         Qt::AlignHCenter | Qt::AlignVCenter, chart.axisCaption);
    }
    painter.restore();
}

} // namespace brovant
