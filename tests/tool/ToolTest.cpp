// brovant-tool's command-line contract, relied on from outside: each command run as a process on a
// device root. Most command lines and what each must answer are steps of files in tests/tool/data,
// one a line: a command is the exit status, standard output, standard error, then the arguments;
// an expected output is the whole text, "..." alone some text, "text..." text and more after it,
// "...text..." text somewhere in it, an empty field no output. "{root}" stands for the device
// root, "{source}" for the source tree, "{today}" for today's date. The other steps:
//   fresh                     a new, empty root
//   device LISTS ARGS...      the demo configuration and the lists (blank between) with ARGS
//   write PATH BYTES          a file below the root
//   folder PATH               a folder below the root
//   card 0|1                  the backup setting "Karte" (1: to the storage card)
//   rows SQL ROWS...          the statement on the device's database gives the rows ('|'
//                             between columns)
//   files FOLDER NAMES...     the files in a folder below the root
//   exists PATHS...           each is there below the root
//   file PATH TEXT            the file holds the text as an output would
//   same PATH                 the file is as it was at its last "file" step
//   pdf PATH TEXT             the PDF file's text holds the text
//   stamp PATH DD.MM.YYYY HH:MM   the file's time set
#include "masterdata/DeviceSession.h"
#include "support/CaseFile.h"
#include "support/TempRoot.h"
#include "tool/KillSoak.h"
#include "tool/ToolRun.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <memory>

namespace brovant::test {
namespace {

bool outputMatches(const QString& actual, const QString& expected)
{
    if (expected == QLatin1StringView("..."))
        return !actual.isEmpty();
    const bool before = expected.startsWith(QLatin1StringView("..."));
    const bool after = expected.endsWith(QLatin1StringView("..."));
    const QString text = expected.mid(before ? 3 : 0).chopped(after ? 3 : 0);
    if (before && after)
        return actual.contains(text);
    return after ? actual.startsWith(text) : before ? actual.endsWith(text) : actual == text;
}

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

class Tool : public ::testing::Test {
protected:
    // The steps of tests/tool/data/<name>; with `onRoot` every command runs with "--root ROOT" in
    // front of its arguments.
    void steps(const QString& name, bool onRoot = true)
    {
        for (const Case& c : readCases(QStringLiteral("tool/data/") + name)) {
            SCOPED_TRACE(c.where().toStdString());
            QStringList f;
            for (qsizetype i = 0; i < c.fields.size(); ++i)
                f << c.text(i)
                         .replace(QLatin1StringView("{root}"), root->path())
                         .replace(QLatin1StringView("{source}"),
                                  QLatin1StringView(BROVANT_SOURCE_DIR))
                         .replace(QLatin1StringView("{today}"),
                                  QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy")));
            const QString kind = f.takeFirst();
            bool command = false;
            const int status = kind.toInt(&command);
            if (command) {
                const QStringList args =
                    (onRoot ? QStringList{QStringLiteral("--root"), root->path()} : QStringList())
                    + f.mid(2);
                SCOPED_TRACE(args.join(u' ').toStdString());
                const ToolRun r = runTool(args);
                EXPECT_EQ(r.status, status) << r.err.toStdString();
                EXPECT_TRUE(outputMatches(r.out, f.value(0)))
                    << "standard output: " << r.out.toStdString();
                EXPECT_TRUE(outputMatches(r.err, f.value(1)))
                    << "standard error: " << r.err.toStdString();
            } else if (kind == u"fresh") {
                root = std::make_unique<TempRoot>();
            } else if (kind == u"device") {
                ASSERT_EQ(
                    demoDevice(root->path(), f.value(0).split(u' ', Qt::SkipEmptyParts), f.mid(1)),
                    "");
            } else if (kind == u"folder") {
                QDir().mkpath(root->host(f.value(0)));
            } else if (kind == u"card") {
                DeviceSession(root->path()).store().writeInt(Setting::BackupKarte, 0, f[0].toInt());
            } else if (kind == u"write") {
                root->writeFile(f.value(0), c.fields.value(2));
            } else if (kind == u"rows") {
                EXPECT_EQ(sqlRows(database(root->path()), f.value(0)), f.mid(1));
            } else if (kind == u"files") {
                EXPECT_EQ(fileNamesIn(root->host(f.value(0))), f.mid(1));
            } else if (kind == u"exists") {
                for (const QString& path : f)
                    EXPECT_TRUE(QFileInfo::exists(root->host(path))) << path.toStdString();
            } else if (kind == u"file") {
                m_files[f.value(0)] = root->readFile(f.value(0));
                EXPECT_TRUE(outputMatches(QString::fromUtf8(m_files[f.value(0)]), f.value(1)))
                    << m_files[f.value(0)].toStdString();
            } else if (kind == u"same") {
                EXPECT_EQ(root->readFile(f.value(0)), m_files.value(f.value(0)));
            } else if (kind == u"pdf") {
                EXPECT_TRUE(pdfText(root->host(f.value(0))).contains(f.value(1)));
            } else if (kind == u"stamp") {
                QFile file(root->host(f.value(0)));
                ASSERT_TRUE(file.open(QIODevice::ReadWrite));
                ASSERT_TRUE(file.setFileTime(
                    QDateTime::fromString(f.value(1), QStringLiteral("dd.MM.yyyy hh:mm")),
                    QFileDevice::FileModificationTime));
            } else {
                FAIL() << "no such step: " << kind.toStdString();
            }
        }
    }

    std::unique_ptr<TempRoot> root = std::make_unique<TempRoot>();
    QMap<QString, QByteArray> m_files;
};

TEST_F(Tool, CommandLines)
{
    steps(QStringLiteral("command_lines.txt"), false);
}

// One device root each: init, import-config (the copy it stages and loads: the kill soak's
// import-config runs), lists, new-list, tally and totals, mark, import-lists and its claims,
// export-csv (export-lists: FaultInjection and ToolChannelsTest), the backup commands, and the
// bulk form of "tally": trees from a file, each printed once committed.
class ToolSteps : public Tool, public ::testing::WithParamInterface<const char*> {};

TEST_P(ToolSteps, Run)
{
    steps(QString::fromLatin1(GetParam()) + QStringLiteral(".txt"));
}

INSTANTIATE_TEST_SUITE_P(Commands, ToolSteps,
                         ::testing::Values("init", "config", "lists", "new_list", "evaluation",
                                           "mark", "import_lists", "import_claims", "export_csv",
                                           "backups", "backup_card", "tally_bulk", "tally_calls"),
                         [](const auto& info) { return std::string(info.param); });

// Fed one line at a time on standard input, each tree is in the database and on the output before
// the next line is written. Blanks, CR and empty lines around the options do not count; a line
// without species and tariff keeps the tree's before (each line is the single tally's output,
// data/evaluation.txt, on one line).
TEST_F(Tool, TallyTreesEachTreeIsPrintedAsSoonAsItIsCommitted)
{
    ASSERT_EQ(demoDevice(root->path(), {"HIEB01"}), "");
    QProcess p;
    p.setProgram(QStringLiteral(BROVANT_TOOL_PATH));
    p.setArguments({"--root", root->path(), "tally", "HIEB01", "--trees", "-"});
    p.start();
    ASSERT_TRUE(p.waitForStarted(kHangGuardMs));
    const QByteArray trees[] = {"  --bhd 25 --species FI --tarif FI01  \r\n", "\n--bhd 33\n",
                                "--bhd 41 --species BU --tarif BU01 --stk 2\n"};
    QByteArray out;
    int printed = 0;
    for (const QByteArray& tree : trees) {
        p.write(tree);
        ASSERT_TRUE(p.waitForBytesWritten(kHangGuardMs));
        while (out.count('\n') == printed) {
            ASSERT_TRUE(p.waitForReadyRead(kHangGuardMs)) << "no line for " << tree.constData();
            out += p.readAllStandardOutput();
        }
        ++printed;
        EXPECT_EQ(out.count('\n'), printed);
        EXPECT_EQ(completeLines(out), listLines(root->path()));
    }
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(kHangGuardMs));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_EQ(out + p.readAllStandardOutput(), listLines(root->path()).join(u'\n').toUtf8() + '\n');
    EXPECT_EQ(listLines(root->path()),
              (QStringList{"ID=1\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\t"
                           "KA=\tSTK=1\tBHD=26\tDMSTUFE=26\tKUBATUR=0.59",
                           "ID=2\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\t"
                           "KA=\tSTK=1\tBHD=34\tDMSTUFE=34\tKUBATUR=1.15",
                           "ID=3\tID_TYPE=1\tTARIF=BU01\tBAUMART=BU\tNA=\t"
                           "KA=\tSTK=2\tBHD=42\tDMSTUFE=42\tKUBATUR=3.92"}));
}

// "report": the listing, the class table and the test page written as PDF files, and the command
// lines refused, which write nothing.
TEST_F(Tool, Reports)
{
    steps(QStringLiteral("reports.txt"));
    EXPECT_FALSE(QFile::exists(QStringLiteral("x.pdf")));
}

} // namespace
} // namespace brovant::test
