// "brovant-tool report" on the demo configuration: the listing, the class table and the test
// page written as PDF files.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/ToolRun.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace brovant::test {
namespace {

// A PDF's text, runs of blanks made one.
QString pdfText(const QString& file)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), file, QStringLiteral("-")});
    if (!p.waitForFinished(30000) || p.exitCode() != 0)
        return QStringLiteral("<pdftotext failed>");
    return QString::fromUtf8(p.readAllStandardOutput())
        .replace(QRegularExpression(QStringLiteral("[ \\t]+")), QStringLiteral(" "));
}

class ToolReport : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}, {"--factor", "90"}), "");
        ASSERT_EQ(newList(root.path(), "LEER"), "");
        for (const QStringList& tree :
             {QStringList{"--bhd", "25", "--species", "FI", "--tarif", "FI01"},
              QStringList{"--bhd", "31", "--stk", "2", "--species", "FI", "--tarif", "FI01"},
              QStringList{"--bhd", "40", "--species", "BU", "--tarif", "BU01"},
              QStringList{"--bhd", "22", "--stk", "3", "--species", "KI", "--tarif", "KI01"}})
            ASSERT_EQ(run(QStringList{"tally", "HIEB01"} + tree).status, 0);
    }
    ToolRun run(const QStringList& args) { return tool(root.path(), args); }
    QString file(const char* name) const { return root.host(QString::fromLatin1(name)); }

    TempRoot root;
};

TEST_F(ToolReport, WritesEachReport)
{
    const struct {
        QStringList args;
        const char* file;
        const char* out;
        const char* text;
    } cases[] = {
        // Its numbers are the totals screen's: ReportContentTest and ReportPdfTest.
        {{"report", "HIEB01", "--listing"},
         "l.pdf",
         "l.pdf: 2 Seiten, 65 Zeilen je Seite\n",
         "Holzliste nach Holzart und Stufe"},
        {{"report", "HIEB01", "--classes"},
         "c.pdf",
         "c.pdf: 1 Seite, 65 Zeilen je Seite\n",
         "Stufentabelle"},
        // The list name is matched without its padding; the test page needs no list.
        {{"report", "HIEB01  ", "--classes"},
         "c2.pdf",
         "c2.pdf: 1 Seite, 65 Zeilen je Seite\n",
         "38 Stufen laut Stammdaten"},
        {{"report", "--test-page"},
         "t.pdf",
         "t.pdf: 1 Seite, 65 Zeilen je Seite\n",
         "Drucker-Testseite"},
    };
    for (const auto& c : cases) {
        const ToolRun r = run(c.args + QStringList{file(c.file)});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(r.out, QString::fromLatin1(c.out));
        EXPECT_TRUE(pdfText(file(c.file)).contains(QString::fromUtf8(c.text))) << c.file;
    }
}

TEST_F(ToolReport, RefusedCommandLines)
{
    expectCommands(QStringLiteral("tool/data/report_refusals.txt"), root.path());
    EXPECT_FALSE(QFile::exists(QStringLiteral("x.pdf")));
}

} // namespace
} // namespace brovant::test
