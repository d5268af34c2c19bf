// The fuzz corpus of the list import, run as an ordinary test, and proof that the probe's checks
// can fail.
#include "support/Corpus.h"
#include "support/TempRoot.h"
#include "transfer/ListImportFuzzing.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <string>

namespace brovant::test {
namespace {

QString corpusDir()
{
    return corpusFolder("lists");
}

struct Shape {
    bool wrong;
    bool header;
    int regions;
    int trees;
};

TEST(ListShapeScannerTest, WorksOutTheShapeFromBytesInAnyPieces)
{
    const QByteArray good = "001" + QByteArray(90, ' ') + "T00300";
    const QByteArray bad = "001" + QByteArray(90, ' ') + "T00301";
    const struct {
        const char* name;
        QByteArray input;
        Shape shape;
    } cases[] = {
        {"empty", "", {false, false, 0, 0}},
        {"header", good, {false, true, 0, 0}},
        {"header cut before its tag", good.left(95), {true, false, 0, 0}},
        {"rows and kinds", good + "\nREG\n10A\r\n10B\n10C\nREG", {false, true, 2, 2}},
        {"texts alone", "005x\n", {false, true, 0, 0}},
        {"000 is no header record", "000\n", {false, false, 0, 0}},
        {"wrong tag stops", "REG\n" + bad + "\nREG\n", {true, false, 1, 0}},
        {"tags need their case", "reg\n10a\n 10A\n", {false, false, 0, 0}},
        {"NUL ends the text", QByteArray("RE").append('\0').append("G\n10A"), {false, false, 0, 1}},
        {"CR alone does not end a line", "REG\r10A\rREG", {false, false, 1, 0}},
        {"rest of a long line skipped",
         "REG" + QByteArray(497, 'x') + "10A\n10B",
         {false, false, 1, 1}},
        {"tag past column 500 is not read", QByteArray(500, ' ') + "\r\n001", {true, false, 0, 0}},
    };
    for (const auto& c : cases) {
        for (const qsizetype piece : {qsizetype(1), qsizetype(3), c.input.size() + 1}) {
            ListShapeScanner scanner;
            for (qsizetype at = 0; at < c.input.size(); at += piece)
                scanner.feed(
                    QByteArrayView(c.input).sliced(at, std::min(piece, c.input.size() - at)));
            scanner.finish();
            EXPECT_EQ(scanner.wrongStructure(), c.shape.wrong) << c.name << " / " << piece;
            if (!c.shape.wrong) {
                EXPECT_EQ(scanner.header(), c.shape.header) << c.name << " / " << piece;
            }
            EXPECT_EQ(scanner.regions(), c.shape.regions) << c.name << " / " << piece;
            EXPECT_EQ(scanner.treeTypes().size(), c.shape.trees) << c.name << " / " << piece;
        }
    }
}

class ListCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ListCorpusTest, HoldsEveryInvariant)
{
    // What the files written by hand must give; inputs the fuzzer adds are held to the
    // invariants only.
    static const std::map<std::string, Shape> shapes = {
        {"cr_only.dat", {false, true, 0, 0}},
        {"device_export.dat", {true, false, 0, 0}},
        {"empty.dat", {false, false, 0, 0}},
        {"letters_in_numbers.dat", {false, true, 0, 3}},
        {"long_line.dat", {false, true, 2, 0}},
        {"many_records.dat", {false, true, 20, 150}},
        {"nul_inside.dat", {false, true, 1, 1}},
        {"only_trees.dat", {false, false, 1, 2}},
        {"short_records.dat", {false, true, 1, 2}},
        {"texts_only.dat", {false, true, 0, 0}},
        {"truncated_001.dat", {true, false, 0, 0}},
        {"truncated_mid_tree.dat", {false, true, 2, 2}},
        {"umlauts.dat", {false, true, 1, 1}},
        {"unsafe_list_number.dat", {false, true, 1, 0}},
        {"valid_full.dat", {false, true, 2, 2}},
        {"valid_lf_only.dat", {false, true, 2, 2}},
        {"wrong_after_rows.dat", {true, false, 1, 1}},
        {"wrong_structure.dat", {true, false, 0, 0}},
    };
    QFile file(corpusDir() + u'/' + QString::fromStdString(GetParam()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    TempRoot root;
    ListImportProbe probe(root.path());
    EXPECT_EQ(probe.check(file.readAll()).toStdString(), "");
    if (const auto it = shapes.find(GetParam()); it != shapes.end()) {
        EXPECT_EQ(probe.lastWrongStructure(), it->second.wrong);
        EXPECT_EQ(probe.lastHeader(), it->second.header);
        EXPECT_EQ(probe.lastRegions(), it->second.regions);
        EXPECT_EQ(probe.lastTrees(), it->second.trees);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, ListCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(ListCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 15u) << corpusDir().toStdString();
}

// Break the database in ways the import cannot see and expect the probe to name what went wrong.
TEST(ListImportProbeTest, ReportsBrokenInvariants)
{
    const struct {
        const char* sql;
        const char* failure;
    } cases[] = {
        {"CREATE TRIGGER t BEFORE INSERT ON Brov_Region WHEN NEW.ID = 1 "
         "BEGIN SELECT RAISE(IGNORE); END",
         "regions, expected"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Holzdaten WHEN NEW.ID = 1 "
         "BEGIN UPDATE Brov_Holzdaten SET ID = 7 WHERE rowid = NEW.rowid; END",
         "tree 1 numbered 7"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Holzdaten WHEN NEW.ID_TYPE = 2 "
         "BEGIN UPDATE Brov_Holzdaten SET ID_TYPE = 0 WHERE rowid = NEW.rowid; END",
         "has ID_TYPE 0"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Region "
         "BEGIN UPDATE Brov_Region SET TARIF = 'x' WHERE rowid = NEW.rowid; END",
         "field 2 is \"x\""},
        {"CREATE TRIGGER t AFTER UPDATE ON Brov_Kopfdaten WHEN NEW.ID_FILE = 42 "
         "BEGIN UPDATE Brov_Kopfdaten SET LISTE_NR = 'VORHER' WHERE ID_FILE = 41 AND "
         "EXPORTED_N_NI = 3; UPDATE Brov_Kopfdaten SET EXPORTED_N_NI = 4 WHERE ID_FILE = 41; END",
         "before changed"},
        {"CREATE TRIGGER t AFTER UPDATE ON Brov_Kopfdaten WHEN NEW.ID_FILE = 42 AND "
         "NEW.DUE_MARK = 0 BEGIN UPDATE Brov_Kopfdaten SET DUE_MARK = 1 WHERE rowid = NEW.rowid; "
         "END",
         "marked"},
    };
    QFile file(corpusDir() + QStringLiteral("/valid_full.dat"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray input = file.readAll();
    for (const auto& c : cases) {
        TempRoot root;
        ListImportProbe probe(root.path());
        ASSERT_EQ(probe.check(input).toStdString(), "") << c.sql;
        ASSERT_TRUE(probe.session().database().exec(QString::fromLatin1(c.sql))) << c.sql;
        EXPECT_NE(probe.check(input).toStdString().find(c.failure), std::string::npos)
            << c.sql << "\n"
            << probe.check(input).toStdString();
    }
}

} // namespace
} // namespace brovant::test
