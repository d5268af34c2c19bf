// The bulk form of "tally" (trees from a file or standard input, each printed once committed) and
// the list import after a kill between a list's commit and the removal of its file.
#include "support/TempRoot.h"
#include "tool/CommandCases.h"
#include "tool/KillSoak.h"
#include "tool/ToolRun.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace brovant::test {
namespace {

// The bulk form of tally.
class TallyTrees : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(demoDevice(root.path(), {"HIEB01"}), ""); }
    QStringList lines() { return listLines(root.path()); }
    ToolRun bulk(const QByteArray& input)
    {
        root.writeFile(QStringLiteral("trees.txt"), input);
        return tool(root.path(),
                    {"tally", "HIEB01", "--trees", root.host(QStringLiteral("trees.txt"))});
    }
    TempRoot root;
};

TEST_F(TallyTrees, RefusedTreesAndBadLinesEndTheRunKeepingTheTreesBefore)
{
    for (const Case& c : readCases(QStringLiteral("tool/data/tally_bulk.txt"))) {
        SCOPED_TRACE(c.where().toStdString());
        const QStringList before = lines();
        const ToolRun r = bulk(c.fields.value(3));
        EXPECT_EQ(r.status, c.text(0).toInt());
        EXPECT_EQ(r.err, c.text(2));
        const QStringList after = lines();
        ASSERT_EQ(after.size(), before.size() + c.text(1).toInt());
        EXPECT_EQ(completeLines(r.out.toUtf8()), after.mid(before.size()));
    }
    root.writeFile(QStringLiteral("trees.txt"), "--bhd 25 --species FI --tarif FI01\n");
    const QStringList before = lines();
    expectCommands(QStringLiteral("tool/data/tally_calls.txt"), root.path());
    EXPECT_EQ(lines(), before);
}

// Fed one line at a time on standard input, each tree is in the database and on the output before
// the next line is written. Blanks, CR and empty lines around the options do not count; a line
// without species and tariff keeps the tree's before (each line is the single tally's output,
// ToolEvaluationTest, on one line).
TEST_F(TallyTrees, EachTreeIsPrintedAsSoonAsItIsCommitted)
{
    QProcess p;
    p.setProgram(QStringLiteral(BROVANT_TOOL_PATH));
    p.setArguments({"--root", root.path(), "tally", "HIEB01", "--trees", "-"});
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
        EXPECT_EQ(completeLines(out), lines());
    }
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(kHangGuardMs));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_EQ(out + p.readAllStandardOutput(), lines().join(u'\n').toUtf8() + '\n');
    EXPECT_EQ(lines(), (QStringList{"ID=1\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\tKA=\t"
                                    "STK=1\tBHD=26\tDMSTUFE=26\tKUBATUR=0.59",
                                    "ID=2\tID_TYPE=1\tTARIF=FI01\tBAUMART=FI\tNA=\tKA=\t"
                                    "STK=1\tBHD=34\tDMSTUFE=34\tKUBATUR=1.15",
                                    "ID=3\tID_TYPE=1\tTARIF=BU01\tBAUMART=BU\tNA=\tKA=\t"
                                    "STK=2\tBHD=42\tDMSTUFE=42\tKUBATUR=3.92"}));
}

// The moment the soak hunts for on the list import, made on purpose: a file whose list went in
// (or did not) still waits in \Import, claimed, when the tool is killed. The next import brings
// every list in exactly once.
TEST(ListImportAfterAKill, EveryListComesInOnce)
{
    const auto office = [](const char* number) {
        return officeHeader(number) + "10A      1FI  2626   0.59    FI01 \r\n";
    };
    const struct {
        const char* what;
        bool committed;    // the claimed file's list is in the database
        bool sameNameToo;  // and a new file of the same name arrived
        const char* lists; // LISTE_NR of the lists afterwards, in table order
    } cases[] = {
        {"list in, file not yet removed", true, false, "A"},
        {"list not in", false, false, "A"},
        {"list in, a new file of the name", true, true, "A B"},
        {"list not in, a new file of the name", false, true, "A B"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot root;
        ASSERT_EQ(demoDevice(root.path(), {}), "");
        root.writeFile(QStringLiteral("Import/a.dat"), office("A"));
        ASSERT_EQ(failure(tool(root.path(), {"import-lists"})), "");
        const QString file = database(root.path());
        const qint64 token = sqlRows(file, "PRAGMA user_version").value(0).toLongLong();
        ASSERT_GT(token, 0);
        // Killed before the commit: the list is not there.
        if (!c.committed) {
            for (const char* sql : {"DELETE FROM Brov_Kopfdaten", "DELETE FROM Brov_Holzdaten"})
                ASSERT_EQ(sqlRows(file, sql), QStringList());
        }
        root.writeFile(QStringLiteral("Import/a.dat.%1.imp").arg(token + (c.committed ? 0 : 1)),
                       office("A"));
        if (c.sameNameToo)
            root.writeFile(QStringLiteral("Import/a.dat"), office("B"));
        const ToolRun r = tool(root.path(), {"import-lists"});
        EXPECT_EQ(r.status, 0) << r.err.toStdString();
        EXPECT_EQ(
            sqlRows(file, "SELECT RTRIM(LISTE_NR) FROM Brov_Kopfdaten ORDER BY rowid").join(u' '),
            QString::fromLatin1(c.lists));
        EXPECT_EQ(sqlRows(file, "SELECT COUNT(*) FROM Brov_Holzdaten"),
                  QStringList{QString::number(QString::fromLatin1(c.lists).count(u' ') + 1)});
        EXPECT_EQ(fileNamesIn(root.host(QStringLiteral("Import"))), QStringList());
    }
}

} // namespace
} // namespace brovant::test
