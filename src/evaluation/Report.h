// Evaluation: a printed report as content and as pages of lines: the company header, the list
// header, headings, tables, bar charts and text, and their split onto pages of the printer type's
// page length. What a line looks like on paper is the print library's; what goes into a report
// is the builders' (Reports.h).
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <utility>
#include <vector>

namespace brovant {

struct ReportColumn {
    QString caption;
    int width = 8;        // characters of the table font, padding excluded
    bool right = false;   // numbers align right
    bool divider = false; // a line on its left sets it apart from the columns before
};

enum class RowStyle { Normal, Subtotal, Total };

struct ReportRow {
    QStringList cells;
    RowStyle style = RowStyle::Normal;
};

struct ReportTable {
    QString title; // above the table, and again with "(Fortsetzung)" on a following page
    std::vector<ReportColumn> columns;
    std::vector<ReportRow> rows;
};

// Bars over labelled classes; more than one series stack on each other (one colour a series).
struct ReportChart {
    struct Series {
        QString name;
        std::vector<std::int64_t> values; // one per label
    };
    QString title;
    QString axisCaption;  // under the labels ("Stufe")
    QString valueCaption; // beside the values ("Stk")
    QStringList labels;
    std::vector<Series> series;

    // The stacked height of bar i.
    std::int64_t total(int i) const;
    std::int64_t maximum() const;
};

struct ReportBlock {
    enum class Kind { Heading, Text, Table, Chart };
    Kind kind = Kind::Text;
    QString text; // Heading; Text (one printed line a line)
    ReportTable table;
    ReportChart chart;
};

struct Report {
    QString title;       // "Holzliste", "Stufentabelle", "Testseite"
    QString fileTag;     // the file name's tail: "Ausdruck", "Sortiment", "Testseite"
    QString listNo;      // LISTE_NR without padding; empty for the test page
    QStringList company; // the company header as printed (empty lines 4 and 5 left out)
    std::vector<std::pair<QString, QString>> header; // the list header's labels and values
    QDateTime created;
    std::vector<ReportBlock> blocks;

    void addHeading(const QString& text);
    void addText(const QString& text);
    void addTable(ReportTable table);
    void addChart(ReportChart chart);
};

// One line of a page, or a chart spanning several.
struct PageLine {
    enum class Kind {
        Company,     // cells[0]; the first company line is the prominent one
        Title,       // cells[0]: the report's title, under the company header
        Fields,      // up to two label/value pairs: cells[0..3]
        RunningHead, // cells: company line 1, title, list number
        Heading,     // cells[0]
        Text,        // cells[0]
        TableHead,   // captions of `table`
        TableRow,    // cells of `table`, in `style`
        Chart,       // `chart` over `span` lines
        Blank,
    };
    Kind kind = Kind::Blank;
    QStringList cells;
    RowStyle style = RowStyle::Normal;
    const ReportTable* table = nullptr; // points into the report that was paginated
    const ReportChart* chart = nullptr;
    int span = 1;
    bool firstCompanyLine = false;
};

struct ReportPage {
    std::vector<PageLine> lines; // from the top; the footer is not among them
    int usedLines() const;
};

// How a report is cut into pages. The page length counts every line of a page, the footer's two
// included; lengths outside kMinPageLength..kMaxPageLength are taken as the nearest bound, so a
// mistyped setting still gives readable pages.
class ReportLayout {
public:
    static constexpr int kMinPageLength = 30;
    static constexpr int kMaxPageLength = 120;
    static constexpr int kFooterLines = 2;
    static constexpr int kChartLines = 18;

    static int effectivePageLength(int pageLength);

    // The pages of `report`, which must outlive them (lines point at its tables and charts).
    // A heading stays with the start of its table; a table that goes on over a page break gets
    // its heading and captions again; a chart is never split.
    static std::vector<ReportPage> paginate(const Report& report, int pageLength);

    // "Seite 2 von 3".
    static QString pageCaption(int page, int pages);
    // The footer's left part: "Liste HIEB01 · gedruckt am 04.05.2026 07:30".
    static QString footerText(const Report& report);
};

// Volumes as every printout shows them: hundredths of m3 with two decimals, no padding.
QString formatVolume(std::int64_t hundredths);
// The mean volume per tree of the totals screen ("%5.2f" with its rounding), unpadded.
QString formatMean(std::int64_t volume, std::int64_t count);

} // namespace brovant
