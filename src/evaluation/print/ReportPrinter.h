// Printing: a report on A4 paper: the core's pages drawn with QPainter (company header, list
// header, tables with their captions and sums, charts, the footer with "Seite n von m"), into a
// PDF file through Qt's PDF writer or onto the system's printer through Qt's print support where
// that is built in. What the pages hold is the core's (Reports, ReportLayout).
#pragma once

#include "evaluation/Report.h"

#include <QRectF>
#include <QString>

#include <vector>

class QPagedPaintDevice;
class QPainter;

namespace brovant {

class ReportPrinter {
public:
    // Every page onto `device`, a new device page for each; false when painting could not start.
    static bool render(QPagedPaintDevice& device, const Report& report, int pageLength);

    // Page `index` of `pages` (made from `report` with `pageLength`) inside `area`, in the
    // painter's units; also for a picture of a page.
    static void paintPage(QPainter& painter, const QRectF& area, const Report& report,
                          const std::vector<ReportPage>& pages, int index, int pageLength);

    // The report as a PDF file at `hostFile`, written under a temporary name and renamed into
    // place when complete. On failure `error` (may be null) says why.
    static bool writePdf(const Report& report, int pageLength, const QString& hostFile,
                         QString* error = nullptr);

    // The system's default printer, when print support is built in, a printer is set up, and a
    // person is at a screen (not on the offscreen or minimal platform of tests and the tool).
    static QString systemPrinter();
    static bool printOnSystemPrinter(const Report& report, int pageLength,
                                     QString* error = nullptr);
};

} // namespace brovant
