#include "evaluation/print/ReportPrinter.h"

#include "evaluation/print/ChartPainter.h"
#include "platform/MediumFile.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

#ifdef BROVANT_PRINT_SUPPORT
#include <QPrinter>
#include <QPrinterInfo>
#endif

#include <algorithm>
#include <cmath>

namespace brovant {
namespace {

const QColor kInk(0x1a, 0x1a, 0x1a);
const QColor kMuted(0x55, 0x5a, 0x55);
const QColor kGreen(0x2e, 0x5e, 0x3a);
const QColor kHeadFill(0xdf, 0xe8, 0xdf);
const QColor kStripe(0xf3, 0xf6, 0xf3);

// Punched for a binder on the left.
const QMarginsF kMarginsMm(20, 12, 14, 10);

QFont textFont(qreal pixelSize, bool bold = false)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(std::max(1, int(std::lround(pixelSize))));
    font.setBold(bold);
    return font;
}

// Where a table's columns stand, and the font that makes them fit the page's width.
struct TableGeometry {
    std::vector<qreal> left;
    std::vector<qreal> width;
    qreal total = 0;
    qreal pad = 0;
    QFont font;
    QFont bold;
};

TableGeometry tableGeometry(const ReportTable& table, qreal areaWidth, qreal textSize)
{
    TableGeometry g;
    qreal size = textSize;
    int characters = 0;
    for (const ReportColumn& c : table.columns)
        characters += c.width + 2;
    qreal unit = QFontMetricsF(textFont(size)).horizontalAdvance(u'0');
    if (characters * unit > areaWidth) {
        size *= areaWidth / (characters * unit);
        unit = QFontMetricsF(textFont(size)).horizontalAdvance(u'0');
    }
    g.font = textFont(size);
    g.bold = textFont(size, true);
    g.pad = unit;
    // Narrow tables widen a little, so the columns breathe without spreading over the page.
    const qreal stretch = std::clamp(areaWidth / (characters * unit), 1.0, 1.4);
    qreal x = 0;
    for (const ReportColumn& c : table.columns) {
        g.left.push_back(x);
        g.width.push_back((c.width + 2) * unit * stretch);
        x += g.width.back();
    }
    g.total = x;
    return g;
}

class PagePainter {
public:
    PagePainter(QPainter& painter, const QRectF& area, int pageLength)
        : p(painter)
        , area(area)
        , lineHeight(area.height() / ReportLayout::effectivePageLength(pageLength))
        , textSize(lineHeight * 0.6)
        , pen(lineHeight * 0.045)
    {
    }

    void page(const Report& report, const std::vector<ReportPage>& pages, int index, int pageLength)
    {
        int at = 0;
        int stripe = 0;
        for (const PageLine& l : pages[size_t(index)].lines) {
            const QRectF r(area.left(), area.top() + at * lineHeight, area.width(),
                           lineHeight * l.span);
            if (l.kind == PageLine::Kind::TableHead)
                stripe = 0;
            draw(l, r, stripe);
            if (l.kind == PageLine::Kind::TableRow)
                ++stripe;
            at += l.span;
        }
        footer(report, index, int(pages.size()), ReportLayout::effectivePageLength(pageLength));
    }

private:
    void text(const QRectF& r, const QString& s, const QFont& font, const QColor& color,
              Qt::Alignment align = Qt::AlignLeft)
    {
        p.setFont(font);
        p.setPen(color);
        p.drawText(r, align | Qt::AlignVCenter | Qt::TextSingleLine, s);
    }

    void rule(qreal y, qreal left, qreal right, qreal width, const QColor& color = kInk)
    {
        p.setPen(QPen(color, width));
        p.drawLine(QPointF(left, y), QPointF(right, y));
    }

    void draw(const PageLine& l, const QRectF& r, int stripe)
    {
        switch (l.kind) {
        case PageLine::Kind::Company:
            if (l.firstCompanyLine)
                text(r, l.cells.value(0), textFont(textSize * 1.35, true), kInk);
            else
                text(r, l.cells.value(0), textFont(textSize * 0.95), kMuted);
            return;
        case PageLine::Kind::Title:
            text(r, l.cells.value(0), textFont(textSize * 1.3, true), kGreen);
            rule(r.bottom(), r.left(), r.right(), pen * 2, kGreen);
            return;
        case PageLine::Kind::Fields:
            fields(l, r);
            return;
        case PageLine::Kind::RunningHead: {
            const QFont small = textFont(textSize * 0.9);
            text(r, l.cells.value(0), small, kMuted);
            text(r, l.cells.value(1), textFont(textSize * 0.9, true), kGreen, Qt::AlignHCenter);
            if (!l.cells.value(2).isEmpty())
                text(r, QStringLiteral("Liste %1").arg(l.cells.value(2)), small, kMuted,
                     Qt::AlignRight);
            rule(r.bottom(), r.left(), r.right(), pen, kGreen);
            return;
        }
        case PageLine::Kind::Heading:
            text(r, l.cells.value(0), textFont(textSize * 1.1, true), kGreen);
            return;
        case PageLine::Kind::Text:
            text(r, l.cells.value(0), textFont(textSize * 0.9), kMuted);
            return;
        case PageLine::Kind::TableHead:
        case PageLine::Kind::TableRow:
            if (l.table)
                tableLine(l, r, stripe);
            return;
        case PageLine::Kind::Chart:
            if (l.chart) {
                ChartStyle style;
                style.textSize = textSize * 0.85;
                style.lineWidth = pen;
                style.ink = kInk;
                // Narrower than the page, so the bars of a short list do not turn into walls.
                QRectF chartArea = r.adjusted(0, lineHeight * 0.2, 0, -lineHeight * 0.2);
                chartArea.setWidth(std::min(chartArea.width(), lineHeight * 48));
                ChartPainter::paint(p, chartArea, *l.chart, style);
            }
            return;
        case PageLine::Kind::Blank:
            return;
        }
    }

    void fields(const PageLine& l, const QRectF& r)
    {
        const QFont label = textFont(textSize * 0.95);
        const QFont value = textFont(textSize * 0.95, true);
        const qreal half = r.width() / 2;
        const qreal labelWidth = half * 0.36;
        for (int pair = 0; pair < 2 && pair * 2 < l.cells.size(); ++pair) {
            const qreal x = r.left() + pair * half;
            text(QRectF(x, r.top(), labelWidth, r.height()), l.cells.value(pair * 2), label,
                 kMuted);
            text(QRectF(x + labelWidth, r.top(), half - labelWidth - textSize, r.height()),
                 l.cells.value(pair * 2 + 1), value, kInk);
        }
    }

    void tableLine(const PageLine& l, const QRectF& r, int stripe)
    {
        const ReportTable& t = *l.table;
        const TableGeometry g = tableGeometry(t, r.width(), textSize);
        const QRectF row(r.left(), r.top(), g.total, r.height());
        const bool head = l.kind == PageLine::Kind::TableHead;
        if (head || l.style == RowStyle::Total)
            p.fillRect(row, kHeadFill);
        else if (l.style == RowStyle::Normal && stripe % 2 == 1)
            p.fillRect(row, kStripe);
        if (head)
            rule(row.bottom(), row.left(), row.right(), pen, kInk);
        else if (l.style == RowStyle::Subtotal)
            rule(row.top(), row.left(), row.right(), pen, kInk);
        else if (l.style == RowStyle::Total)
            rule(row.top(), row.left(), row.right(), pen * 2.5, kInk);

        const bool bold = head || l.style != RowStyle::Normal;
        const QStringList cells = head ? captions(t) : l.cells;
        for (size_t c = 0; c < t.columns.size(); ++c) {
            if (t.columns[c].divider) {
                p.setPen(QPen(kMuted, pen * 0.6));
                p.drawLine(QPointF(r.left() + g.left[c], r.top()),
                           QPointF(r.left() + g.left[c], r.bottom()));
            }
            // Left-aligned text may run on over empty cells to its right ("Summe FI").
            qreal width = g.width[c];
            for (size_t next = c + 1;
                 !t.columns[c].right && next < t.columns.size() && cells.value(int(next)).isEmpty();
                 ++next)
                width += g.width[next];
            const QRectF cell(r.left() + g.left[c] + g.pad, r.top(), width - 2 * g.pad, r.height());
            text(cell, cells.value(int(c)), bold ? g.bold : g.font, kInk,
                 t.columns[c].right ? Qt::AlignRight : Qt::AlignLeft);
        }
    }

    static QStringList captions(const ReportTable& t)
    {
        QStringList out;
        for (const ReportColumn& c : t.columns)
            out << c.caption;
        return out;
    }

    void footer(const Report& report, int index, int pages, int pageLength)
    {
        const QRectF r(area.left(), area.top() + (pageLength - 1) * lineHeight, area.width(),
                       lineHeight);
        rule(r.top() - lineHeight * 0.3, r.left(), r.right(), pen, kGreen);
        const QFont small = textFont(textSize * 0.85);
        text(r, ReportLayout::footerText(report), small, kMuted);
        text(r, QStringLiteral("Brovant"), small, kMuted, Qt::AlignHCenter);
        text(r, ReportLayout::pageCaption(index + 1, pages), small, kMuted, Qt::AlignRight);
    }

    QPainter& p;
    const QRectF area;
    const qreal lineHeight;
    const qreal textSize;
    const qreal pen;
};

void setUpA4(QPagedPaintDevice& device)
{
    device.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, kMarginsMm,
                                     QPageLayout::Millimeter));
}

} // namespace

void ReportPrinter::paintPage(QPainter& painter, const QRectF& area, const Report& report,
                              const std::vector<ReportPage>& pages, int index, int pageLength)
{
    if (index < 0 || size_t(index) >= pages.size())
        return;
    painter.save();
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    PagePainter(painter, area, pageLength).page(report, pages, index, pageLength);
    painter.restore();
}

bool ReportPrinter::render(QPagedPaintDevice& device, const Report& report, int pageLength)
{
    const std::vector<ReportPage> pages = ReportLayout::paginate(report, pageLength);
    QPainter painter;
    if (!painter.begin(&device))
        return false;
    // The painter's origin is the printable area's corner.
    const QRectF area(0, 0, device.width(), device.height());
    for (int i = 0; i < int(pages.size()); ++i) {
        if (i > 0 && !device.newPage())
            return false;
        paintPage(painter, area, report, pages, i, pageLength);
    }
    return painter.end();
}

bool ReportPrinter::writePdf(const Report& report, int pageLength, const QString& hostFile,
                             QString* error)
{
    const auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return fail(QStringLiteral("PDF-Ausgabe braucht Qt Gui"));
    QSaveFile file(hostFile);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());
    {
        QPdfWriter writer(&file);
        writer.setResolution(600);
        writer.setTitle(report.listNo.isEmpty()
                            ? report.title
                            : report.title + QStringLiteral(" – ") + report.listNo);
        writer.setCreator(QStringLiteral("Brovant"));
        setUpA4(writer);
        if (!render(writer, report, pageLength))
            return fail(QStringLiteral("PDF kann nicht gezeichnet werden"));
    }
    if (!commitToMedium(file))
        return fail(file.errorString());
    return true;
}

QString ReportPrinter::systemPrinter()
{
#ifdef BROVANT_PRINT_SUPPORT
    const QString platform = QGuiApplication::platformName();
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())
        || platform == QLatin1StringView("offscreen") || platform == QLatin1StringView("minimal"))
        return QString();
    const QPrinterInfo printer = QPrinterInfo::defaultPrinter();
    return printer.isNull() ? QString() : printer.printerName();
#else
    return QString();
#endif
}

bool ReportPrinter::printOnSystemPrinter(const Report& report, int pageLength, QString* error)
{
#ifdef BROVANT_PRINT_SUPPORT
    const QString name = systemPrinter();
    if (name.isEmpty()) {
        if (error)
            *error = QStringLiteral("Kein Drucker eingerichtet");
        return false;
    }
    QPrinter printer(QPrinterInfo::printerInfo(name), QPrinter::HighResolution);
    printer.setDocName(report.listNo.isEmpty() ? report.title : report.listNo);
    setUpA4(printer);
    const bool done = render(printer, report, pageLength);
    if (!done && error)
        *error = QStringLiteral("Druck fehlgeschlagen");
    return done;
#else
    Q_UNUSED(report);
    Q_UNUSED(pageLength);
    if (error)
        *error = QStringLiteral("Ohne Druckunterstützung gebaut");
    return false;
#endif
}

} // namespace brovant
