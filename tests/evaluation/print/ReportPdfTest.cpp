// The printouts as PDF files, read back as text with pdftotext (poppler-utils): the numbers on
// paper are the totals screen's, and the pages break where the page length says.
#include "evaluation/print/ReportPrinter.h"

#include "evaluation/ReportTestData.h"

#include <QFile>
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

TEST_F(ReportPdf, TestPageShowsHeaderAndPrinterSettings)
{
    store().writeText(Setting::Firmenkopf, 1, QStringLiteral("Forstbetrieb Musterwald"));
    store().writeInt(Setting::PrinterType, 0, 2);
    store().writeInt(Setting::PrinterSeitenlaenge, 2, 50);
    const QStringList pages = pdfPages(write(reports::testPage(sources()), 50));
    ASSERT_EQ(pages.size(), 1);
    const QStringList text = lines(pages.first());
    for (const Case& c : casesOf(kCases, "testpage"))
        EXPECT_TRUE(text.contains(c.text(1)) || pages.first().contains(c.text(1)))
            << c.where().constData();
}

TEST_F(ReportPdf, AFailedWriteLeavesNoFile)
{
    const Report page = reports::testPage(sources());
    const QString file = root.host(QStringLiteral("missing/folder/t.pdf"));
    QString error;
    EXPECT_FALSE(ReportPrinter::writePdf(page, 60, file, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(QFile::exists(file));
    // Tests and the tool run offscreen: never on a printer.
    EXPECT_TRUE(ReportPrinter::systemPrinter().isEmpty());
}

} // namespace
} // namespace brovant::test
