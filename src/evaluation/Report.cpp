#include "evaluation/Report.h"

#include "evaluation/Totals.h"

#include <algorithm>

namespace brovant {

std::int64_t ReportChart::total(int i) const
{
    std::int64_t sum = 0;
    for (const Series& s : series) {
        if (i >= 0 && size_t(i) < s.values.size())
            sum += s.values[size_t(i)];
    }
    return sum;
}

std::int64_t ReportChart::maximum() const
{
    std::int64_t most = 0;
    for (int i = 0; i < labels.size(); ++i)
        most = std::max(most, total(i));
    return most;
}

void Report::addHeading(const QString& text)
{
    ReportBlock block;
    block.kind = ReportBlock::Kind::Heading;
    block.text = text;
    blocks.push_back(std::move(block));
}

void Report::addText(const QString& text)
{
    ReportBlock block;
    block.kind = ReportBlock::Kind::Text;
    block.text = text;
    blocks.push_back(std::move(block));
}

void Report::addTable(ReportTable table)
{
    ReportBlock block;
    block.kind = ReportBlock::Kind::Table;
    block.table = std::move(table);
    blocks.push_back(std::move(block));
}

void Report::addChart(ReportChart chart)
{
    ReportBlock block;
    block.kind = ReportBlock::Kind::Chart;
    block.chart = std::move(chart);
    blocks.push_back(std::move(block));
}

int ReportPage::usedLines() const
{
    int used = 0;
    for (const PageLine& line : lines)
        used += line.span;
    return used;
}

int ReportLayout::effectivePageLength(int pageLength)
{
    return std::clamp(pageLength, kMinPageLength, kMaxPageLength);
}

QString ReportLayout::pageCaption(int page, int pages)
{
    return QStringLiteral("Seite %1 von %2").arg(page).arg(pages);
}

QString ReportLayout::footerText(const Report& report)
{
    QString text;
    if (!report.listNo.isEmpty())
        text = QStringLiteral("Liste %1 · ").arg(report.listNo);
    return text + QStringLiteral("gedruckt am ")
           + report.created.toString(QStringLiteral("dd.MM.yyyy HH:mm"));
}

namespace {

PageLine line(PageLine::Kind kind, QStringList cells = {})
{
    PageLine l;
    l.kind = kind;
    l.cells = std::move(cells);
    return l;
}

class Paginator {
public:
    Paginator(const Report& report, int pageLength)
        : m_report(report)
        , m_capacity(ReportLayout::effectivePageLength(pageLength) - ReportLayout::kFooterLines)
    {
    }

    std::vector<ReportPage> run()
    {
        firstPage();
        const auto& blocks = m_report.blocks;
        for (size_t i = 0; i < blocks.size(); ++i) {
            const ReportBlock& block = blocks[i];
            switch (block.kind) {
            case ReportBlock::Kind::Heading: {
                // A heading never ends a page: it keeps the start of what follows with it.
                const int next = i + 1 < blocks.size() ? openingLines(blocks[i + 1]) : 0;
                startSection(1 + next);
                add(line(PageLine::Kind::Heading, {block.text}));
                m_afterHeading = true;
                break;
            }
            case ReportBlock::Kind::Text:
                for (const QString& text : block.text.split(u'\n')) {
                    if (!fits(1))
                        newPage();
                    add(line(PageLine::Kind::Text, {text}));
                }
                m_afterHeading = false;
                break;
            case ReportBlock::Kind::Table:
                table(block.table);
                break;
            case ReportBlock::Kind::Chart:
                chart(block.chart);
                break;
            }
        }
        return std::move(m_pages);
    }

private:
    // Lines a block needs on the page where it starts: a table's title, captions and first rows.
    static int tableOpening(const ReportTable& t)
    {
        return (t.title.isEmpty() ? 0 : 1) + 1 + std::min<int>(2, int(t.rows.size()));
    }
    static int openingLines(const ReportBlock& block)
    {
        switch (block.kind) {
        case ReportBlock::Kind::Table:
            return tableOpening(block.table);
        case ReportBlock::Kind::Chart:
            return ReportLayout::kChartLines;
        default:
            return 1;
        }
    }

    int chartSpan() const
    {
        // On a fresh continuation page the running head and its blank line come first.
        return std::min(ReportLayout::kChartLines, m_capacity - 2);
    }

    void firstPage()
    {
        m_pages.emplace_back();
        bool first = true;
        for (const QString& company : m_report.company) {
            PageLine l = line(PageLine::Kind::Company, {company});
            l.firstCompanyLine = std::exchange(first, false);
            add(std::move(l));
        }
        add(line(PageLine::Kind::Title, {m_report.title}));
        const auto& header = m_report.header;
        if (!header.empty())
            add(line(PageLine::Kind::Blank));
        for (size_t i = 0; i < header.size(); i += 2) {
            QStringList cells{header[i].first, header[i].second};
            if (i + 1 < header.size())
                cells << header[i + 1].first << header[i + 1].second;
            add(line(PageLine::Kind::Fields, cells));
        }
        add(line(PageLine::Kind::Blank));
        m_bodyStart = current().usedLines();
    }

    void newPage()
    {
        m_pages.emplace_back();
        QString company = m_report.company.isEmpty() ? QString() : m_report.company.first();
        add(line(PageLine::Kind::RunningHead, {company, m_report.title, m_report.listNo}));
        add(line(PageLine::Kind::Blank));
        m_bodyStart = current().usedLines();
        m_afterHeading = false;
    }

    ReportPage& current() { return m_pages.back(); }
    bool atBodyStart() { return current().usedLines() == m_bodyStart; }
    bool fits(int lines) { return current().usedLines() + lines <= m_capacity; }
    void add(PageLine l) { current().lines.push_back(std::move(l)); }

    // A blank line before a section, unless the page's body starts with it; a new page when the
    // section's opening lines do not fit.
    void startSection(int opening)
    {
        if (m_afterHeading) {
            m_afterHeading = false;
            return;
        }
        if (!atBodyStart() && !fits(1 + opening))
            newPage();
        if (!atBodyStart())
            add(line(PageLine::Kind::Blank));
    }

    void tableHead(const ReportTable& t, bool continued)
    {
        if (!t.title.isEmpty()) {
            add(line(PageLine::Kind::Heading,
                     {continued ? t.title + QStringLiteral(" (Fortsetzung)") : t.title}));
        }
        PageLine head = line(PageLine::Kind::TableHead);
        head.table = &t;
        add(std::move(head));
    }

    void table(const ReportTable& t)
    {
        startSection(tableOpening(t));
        tableHead(t, false);
        for (const ReportRow& row : t.rows) {
            if (!fits(1)) {
                newPage();
                tableHead(t, true);
            }
            PageLine l = line(PageLine::Kind::TableRow, row.cells);
            l.style = row.style;
            l.table = &t;
            add(std::move(l));
        }
    }

    void chart(const ReportChart& c)
    {
        const int span = chartSpan();
        if (m_afterHeading) {
            m_afterHeading = false;
        } else {
            if (!atBodyStart() && !fits(1 + span))
                newPage();
            if (!atBodyStart())
                add(line(PageLine::Kind::Blank));
        }
        if (!fits(span))
            newPage();
        PageLine l = line(PageLine::Kind::Chart);
        l.chart = &c;
        l.span = span;
        add(std::move(l));
    }

    const Report& m_report;
    const int m_capacity;
    std::vector<ReportPage> m_pages;
    int m_bodyStart = 0;
    bool m_afterHeading = false;
};

} // namespace

std::vector<ReportPage> ReportLayout::paginate(const Report& report, int pageLength)
{
    return Paginator(report, pageLength).run();
}

QString formatVolume(std::int64_t hundredths)
{
    return Totals::cells(QString(), hundredths, 1)[1].trimmed();
}

QString formatMean(std::int64_t volume, std::int64_t count)
{
    return Totals::cells(QString(), volume, count)[3].trimmed();
}

} // namespace brovant
