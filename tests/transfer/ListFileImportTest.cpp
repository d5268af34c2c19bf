// Reading list files from the office: the column table, the numbering of new lists and rows, the
// structure check, files that are damaged or hostile.
#include "support/PeakMemory.h"
#include "transfer/ListFileFixture.h"

#include "transfer/ListFileImport.h"

#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>

namespace brovant::test {
namespace {

QString pad(const char* utf8, int width)
{
    return QString::fromUtf8(utf8).leftJustified(width, u' ', true);
}

// "001" as the office writes it: number, label, date, label, factor, label, region, tag.
QString office001(const char* listNo, const char* date, const char* factor, const char* region,
                  const char* tag = "T00300")
{
    return QStringLiteral("001") + pad(listNo, 8) + pad("Listennummer:", 20) + pad(date, 10)
           + pad("Datum:", 20) + pad(factor, 4) + pad("Korr.-Faktor:", 20) + pad(region, 8)
           + QString::fromUtf8(tag);
}

QString texts(int record, const char* first, const char* second)
{
    return QStringLiteral("%1").arg(record, 3, 10, QChar(u'0')) + pad("Label A:", 20)
           + pad(first, 40) + pad("Label B:", 20) + pad(second, 40) + QStringLiteral("10");
}

QString reg(const char* region, const char* species, const char* tariff)
{
    return QStringLiteral("REG") + pad(region, 8) + pad(species, 3) + pad(tariff, 5);
}

// A tree record from its columns as text, widths 5, 2, 3, 3, 2, 7, 2, 2, 5.
QString treeLine(const char* tag, const char* parz, const char* stk, const char* species,
                 const char* bhd, const char* dm, const char* volume, const char* na,
                 const char* ka, const char* tariff)
{
    return QString::fromUtf8(tag) + pad(parz, 5) + pad(stk, 2) + pad(species, 3) + pad(bhd, 3)
           + pad(dm, 2) + pad(volume, 7) + pad(na, 2) + pad(ka, 2) + pad(tariff, 5);
}

const QString kHeads = QStringLiteral(
    "SELECT ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, STRUKTUR, DUE_MARK, EXPORTED_N_NI,"
    " ZUSATZ_A FROM Brov_Kopfdaten ORDER BY rowid");
const QString kRegions =
    QStringLiteral("SELECT ID_FILE, ID, REGION_A, BAUMART, TARIF FROM Brov_Region ORDER BY rowid");
const QString kTrees = QStringLiteral(
    "SELECT ID_FILE, ID, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF "
    "FROM Brov_Holzdaten ORDER BY rowid");

class ListFileImportTest : public ListFileFixture {
protected:
    ListFileImport importer() { return ListFileImport(session->root(), db(), dialogs); }
    void stage(const char* name, const QByteArray& bytes)
    {
        root.writeFile(QStringLiteral("Import/") + QString::fromUtf8(name), bytes);
    }
    // The header texts KOPF1_A..KOPF16_A that are not NULL, as "n=text".
    QStringList headerTexts()
    {
        QStringList out;
        for (int n = 1; n <= 16; ++n) {
            for (const QString& row :
                 rows(QStringLiteral("SELECT ID_FILE, KOPF%1_A FROM Brov_Kopfdaten WHERE KOPF%1_A "
                                     "IS NOT NULL ORDER BY rowid")
                          .arg(n)))
                out << QStringLiteral("%1:%2=").arg(row.section(u'|', 0, 0)).arg(n)
                           + row.section(u'|', 1);
        }
        return out;
    }
};

TEST(ListFileNumberTest, ConvertsAsTheColumnTableSays)
{
    const struct {
        const char* text;
        int decimals;
        std::int64_t value;
    } cases[] = {
        {"12.5", 2, 1250},
        {" 7", 1, 70},
        {"   0.59", 2, 59},
        {"1234.56", 2, 123456},
        {"0.95", 2, 95},
        {"1", 2, 100},
        {"12.", 2, 1200},
        {".5", 2, 50},
        {"26", 0, 26},
        {" 1 2", 0, 12}, // every blank goes, also between digits
        {"", 2, 0},
        {"    ", 0, 0},
        {".", 0, 0},
        {".", 2, 0},
        {"1.234", 2, 1234}, // a longer fraction is kept as it is
        {"1.2.3", 2, 12},   // only the first point goes; "%lu" stops at the second
        {"12a", 2, 12},     // letters end the number before the fraction is appended
        {"1a2", 0, 1},
        {"a12", 0, 0},
        {"x1", 0, 0},
        {"abc.de", 2, 0},
        {"+5", 0, 5},
        {"-5", 0, -5},
        {"- 5", 0, -5},
        {"-", 2, 0},
        {"\t7", 0, 7},
        {"7\t", 0, 7},
        {"99999999999", 0, 4294967295},
        {"4294967295", 0, 4294967295},
        {"4294967296", 0, 4294967295},
        {"999999999999999999999999999999", 2, 4294967295},
        {"0000012", 0, 12},
        {"1.5", 0, 15},  // without decimals the point just goes
        {"1.5", -3, 15}, // decimals below 0 count as 0
        {"1", 40, 4294967295},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ListFileImport::number(QString::fromUtf8(c.text), c.decimals), c.value)
            << '"' << c.text << "\" with " << c.decimals << " decimals";
    }
}

struct ImportCase {
    const char* name;
    std::vector<std::pair<const char*, QByteArray>> files = {};
    std::vector<std::int64_t> existing = {}; // ID_FILE of headers already there, in table order
    QStringList heads = {};                  // new headers only
    QStringList texts = {};
    QStringList regions = {};
    QStringList trees = {};
    ListFileImport::Result result = ListFileImport::Result::Imported;
    int files_ = 0; // files that went in
    std::int64_t lastList = -1;
};

void PrintTo(const ImportCase& c, std::ostream* os)
{
    *os << c.name;
}

class ListFileImportCaseTest : public ListFileImportTest,
                               public ::testing::WithParamInterface<ImportCase> {};

TEST_P(ListFileImportCaseTest, StoresWhatTheFilesHold)
{
    const ImportCase& c = GetParam();
    for (const std::int64_t id : c.existing)
        insert(schema::Kopfdaten, {{"ID_FILE", num(id)}, {"LISTE_NR", txt("ALT")}});
    for (const auto& [name, bytes] : c.files)
        stage(name, bytes);

    const auto outcome = importer().run();
    EXPECT_EQ(outcome.result, c.result);
    EXPECT_EQ(outcome.files, c.files_);
    EXPECT_EQ(outcome.lastList, c.lastList);
    EXPECT_EQ(dialogs.asked(), c.result == ListFileImport::Result::WrongStructure
                                   ? QStringList{QStringLiteral("Falsche Struktur der Liste!||")}
                                   : QStringList());
    QStringList heads = rows(kHeads);
    heads.remove(0, qsizetype(c.existing.size()));
    EXPECT_EQ(heads, c.heads);
    EXPECT_EQ(headerTexts(), c.texts);
    EXPECT_EQ(rows(kRegions), c.regions);
    EXPECT_EQ(rows(kTrees), c.trees);
    // The folder is emptied in every case, files of any kind included.
    EXPECT_EQ(filesIn("Import"), QStringList());
}

const QString kBlank40(40, u' ');

using Result = ListFileImport::Result;

INSTANTIATE_TEST_SUITE_P(
    Files, ListFileImportCaseTest,
    ::testing::Values(
        ImportCase{
            .name = "empty_database_starts_at_list_0",
            .files = {{"a.dat",
                       listBytes({QStringLiteral("TD0L1      .DATQuendrax     0Brovant_V300_D"),
                                  office001("L1", "04.05.2026", "0.95", "WR01"),
                                  texts(2, "Forstamt Süd", "Revier"), reg("WR01", "FI", "FI01"),
                                  treeLine("10A", "1", " 1", "FI", " 26", "26", "   0.59", "", "",
                                           "FI01"),
                                  QStringLiteral("712WR01    FI FI01 ")})}},
            .heads = {"0|L1      |04.05.2026|95|WR01    |T00300|0|0|NULL"},
            .texts = {"0:1=" + pad("Forstamt Süd", 40), "0:2=" + pad("Revier", 40)},
            .regions = {"0|0|WR01    |FI |FI01 "},
            .trees = {"0|0|1|1    |1|FI |26|26|59|  |  |FI01 "},
            .files_ = 1,
            .lastList = 0},
        ImportCase{.name = "two_files_follow_the_last_header_in_table_order",
                   .files = {{"b.dat", listBytes({office001("ZWEI", "", "1.00", "")})},
                             {"a.dat", listBytes({office001("EINS", "", "1", "")})}},
                   .existing = {20, 7},
                   .heads = {"8|EINS    |          |100|        |T00300|0|0|NULL",
                             "9|ZWEI    |          |100|        |T00300|0|0|NULL"},
                   .files_ = 2,
                   .lastList = 9},
        ImportCase{
            .name = "blank_first_text_is_40_blanks_and_pairs_fill_2n_minus_3",
            .files = {{"a.dat", listBytes({office001("T", "", "", ""), texts(2, "", "zwei"),
                                           texts(9, "fünfzehn", ""), texts(5, "sieben", "acht"),
                                           texts(2, "", "zwei neu")})}},
            .heads = {"0|T       |          |0|        |T00300|0|0|NULL"},
            .texts = {"0:1=" + kBlank40, "0:2=" + pad("zwei neu", 40), "0:7=" + pad("sieben", 40),
                      "0:8=" + pad("acht", 40), "0:15=" + pad("fünfzehn", 40), "0:16=" + kBlank40},
            .files_ = 1,
            .lastList = 0},
        ImportCase{
            .name = "region_and_tree_counters_are_independent_and_10B_is_type_2",
            .files =
                {{"a.dat",
                  listBytes({office001("C", "", "", ""), reg("R1", "FI", "T1"),
                             treeLine("10A", "", "1", "FI", "30", "30", "0.5", "", "", "T1"),
                             reg("R2", "BU", "T2"),
                             treeLine("10B", "", "2", "BU", "40", "40", "1.25", "N", "K", "T2"),
                             treeLine("10A", "", "", "", "", "", "", "", "", "")})},
                 {"b.dat", listBytes({office001("D", "", "", ""), reg("R3", "KI", "T3"),
                                      treeLine("10B", "", "1", "KI", "5", "5", "", "", "", "")})}},
            .heads = {"0|C       |          |0|        |T00300|0|0|NULL",
                      "1|D       |          |0|        |T00300|0|0|NULL"},
            .regions = {"0|0|R1      |FI |T1   ", "0|1|R2      |BU |T2   ",
                        "1|0|R3      |KI |T3   "},
            .trees = {"0|0|1|     |1|FI |30|30|50|  |  |T1   ",
                      "0|1|2|     |2|BU |40|40|125|N |K |T2   ",
                      "0|2|1|     |0|   |0|  |0|  |  |     ",
                      "1|0|2|     |1|KI |5|5 |0|  |  |     "},
            .files_ = 2,
            .lastList = 1},
        ImportCase{
            .name = "wrong_structure_ends_the_import_and_leaves_nothing_of_its_file",
            .files = {{"a.dat", listBytes({office001("GUT", "", "", ""), reg("R", "FI", "T")})},
                      {"b.dat", listBytes({reg("X", "XX", "X"),
                                           treeLine("10A", "", "1", "XX", "1", "1", "", "", "", ""),
                                           texts(2, "weg", "weg"),
                                           office001("FALSCH", "", "", "", "T00200")})},
                      {"c.dat", listBytes({office001("VERLOREN", "", "", "")})}},
            .heads = {"0|GUT     |          |0|        |T00300|0|0|NULL"},
            .regions = {"0|0|R       |FI |T    "},
            .result = Result::WrongStructure,
            .files_ = 1,
            .lastList = 0},
        ImportCase{.name = "a_001_without_its_tag_is_a_wrong_structure",
                   .files = {{"a.dat", listBytes({QStringLiteral("001L1")})}},
                   .result = Result::WrongStructure},
        ImportCase{
            .name = "rows_without_a_header_keep_the_number_the_next_file_gets_too",
            .files = {{"a.dat", listBytes({reg("R", "FI", "T"), treeLine("10A", "", "1", "FI", "1",
                                                                         "1", "", "", "", "")})},
                      {"b.dat", listBytes({office001("B", "", "", "")})}},
            .existing = {4},
            .heads = {"5|B       |          |0|        |T00300|0|0|NULL"},
            .regions = {"5|0|R       |FI |T    "},
            .trees = {"5|0|1|     |1|FI |1|1 |0|  |  |     "},
            .files_ = 2,
            .lastList = 5},
        ImportCase{.name = "texts_alone_make_a_header",
                   .files = {{"a.dat", listBytes({texts(3, "drei", "vier")})}},
                   .heads = {"0|NULL|NULL|NULL|NULL|NULL|0|0|NULL"},
                   .texts = {"0:3=" + pad("drei", 40), "0:4=" + pad("vier", 40)},
                   .files_ = 1,
                   .lastList = 0},
        ImportCase{.name = "any_case_of_dat_in_name_order_and_other_files_deleted",
                   .files = {{"c.Dat", listBytes({office001("C", "", "", "")})},
                             {"B.DAT", listBytes({office001("B", "", "", "")})},
                             {"a.dat", listBytes({office001("A", "", "", "")})},
                             {"d.txt", listBytes({office001("D", "", "", "")})},
                             {"import.tmp", ""},
                             {"e.dat.bak", listBytes({office001("E", "", "", "")})}},
                   .heads = {"0|A       |          |0|        |T00300|0|0|NULL",
                             "1|B       |          |0|        |T00300|0|0|NULL",
                             "2|C       |          |0|        |T00300|0|0|NULL"},
                   .files_ = 3,
                   .lastList = 2},
        ImportCase{
            .name = "line_ends_nul_long_lines_and_unknown_records",
            // LF alone ends a line; a lone CR is a character; a NUL ends the text; past 500
            // characters the rest of the line is skipped, not read as a line.
            .files = {{"a.dat",
                       cp1252::encode(office001("L", "", "", "")) + "\n"
                           + cp1252::encode(reg("LF", "FI", "T")) + "\n\n\r\n"
                           + cp1252::encode(reg("CR", "FI", "T")) + "\r"
                           + cp1252::encode(reg("NO", "FI", "T")) + "\n"
                           + QByteArray("REGNU").append('\0').append("L     FI T\r\n") + "REG"
                           + QByteArray(497, 'x') + "REGLONG   FI T\r\n"
                           + cp1252::encode(reg("AT500", "FI", "T")).leftJustified(500, ' ')
                           + "\r\n" + "reglower  FI T\r\n REGBLANK  FI T\r\n712WR01    FI FI01 \r\n"
                           + "10C\r\nTD0x\r\n" + cp1252::encode(reg("LAST", "FI", "T"))}},
            .heads = {"0|L       |          |0|        |T00300|0|0|NULL"},
            .regions = {"0|0|LF      |FI |T    ", "0|1|CR      |FI |T    ",
                        "0|2|NU      |   |     ", "0|3|xxxxxxxx|xxx|xxxxx",
                        "0|4|AT500   |FI |T    ", "0|5|LAST    |FI |T    "},
            .files_ = 1,
            .lastList = 0},
        ImportCase{
            .name = "nul_ends_the_text_even_across_read_chunks",
            .files = {{"a.dat", QByteArray("REGAB").append('\0').append(QByteArray(200000, 'x'))
                                    + "\r\nREGCD\r" + QByteArray(1, '\0') + "\n"}},
            // A CR that is not right before the line feed is a character.
            .regions = {"0|0|AB      |   |     ", "0|1|CD\r     |   |     "},
            .files_ = 1},
        ImportCase{
            .name = "empty_file_is_a_file_without_rows", .files = {{"a.dat", ""}}, .files_ = 1}),
    [](const ::testing::TestParamInfo<ImportCase>& info) { return std::string(info.param.name); });

TEST_F(ListFileImportTest, ShortLinesGiveBlankFields)
{
    stage("a.dat",
          listBytes({office001("Z", "", "x9", ""), QStringLiteral("REG"), QStringLiteral("10A"),
                     treeLine("10A", "", "x1", "", "1a2", "", "abc.de", "", "", ""),
                     QStringLiteral("10BP")}));
    const auto outcome = importer().run();
    EXPECT_EQ(outcome.result, ListFileImport::Result::Imported);
    // "x9" as a factor is no number: 0.
    EXPECT_EQ(rows(kHeads), QStringList{"0|Z       |          |0|        |T00300|0|0|NULL"});
    EXPECT_EQ(rows(kRegions), QStringList{"0|0|        |   |     "});
    EXPECT_EQ(rows(kTrees), (QStringList{"0|0|1|     |0|   |0|  |0|  |  |     ",
                                         "0|1|1|     |0|   |1|  |0|  |  |     ",
                                         "0|2|2|P    |0|   |0|  |0|  |  |     "}));
}

TEST_F(ListFileImportTest, ADatabaseErrorLeavesNothingOfThatFileAndKeepsItForAnotherTry)
{
    ASSERT_TRUE(db().exec(
        QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON Brov_Holzdaten WHEN NEW.ID = 2 "
                       "BEGIN SELECT RAISE(ABORT, 'refused'); END")));
    const QString t = treeLine("10A", "", "1", "FI", "1", "1", "", "", "", "");
    stage("a.dat", listBytes({office001("A", "", "", ""), t, t}));
    stage("b.dat", listBytes({office001("B", "", "", ""), reg("R", "", ""), t, t, t}));
    stage("c.dat", listBytes({office001("C", "", "", "")}));
    const auto outcome = importer().run();
    EXPECT_EQ(outcome.result, ListFileImport::Result::Failed);
    EXPECT_EQ(outcome.files, 1);
    EXPECT_EQ(outcome.lastList, 0);
    EXPECT_EQ(dialogs.asked(), QStringList{QStringLiteral("Satz nicht gespeichert!||")});
    EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE, LISTE_NR FROM Brov_Kopfdaten")),
              QStringList{"0|A       "});
    EXPECT_EQ(count("Brov_Region"), 0);
    EXPECT_EQ(count("Brov_Holzdaten"), 2);
    EXPECT_EQ(filesIn("Import"), (QStringList{"b.dat", "c.dat"}));
}

TEST_F(ListFileImportTest, ImportFileRunsInsideTheCallersTransaction)
{
    const QByteArray good = listBytes({office001("G", "", "", ""), reg("R", "FI", "T")});
    const QByteArray bad = listBytes({reg("R", "FI", "T"), office001("B", "", "", "", "XXXXXX")});
    {
        Database::Transaction outer(db());
        bool wrong = true;
        EXPECT_TRUE(importer().importFile(good, 3, &wrong));
        EXPECT_FALSE(wrong);
        EXPECT_EQ(count("Brov_Kopfdaten"), 1);
        EXPECT_FALSE(importer().importFile(bad, 4, &wrong));
        EXPECT_TRUE(wrong);
        // The bad file is gone, the good one still there until the caller decides.
        EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE FROM Brov_Region")), QStringList{"3"});
    }
    EXPECT_EQ(count("Brov_Kopfdaten"), 0);
    EXPECT_EQ(count("Brov_Region"), 0);
    EXPECT_TRUE(importer().importFile(good, 3));
    EXPECT_EQ(rows(QStringLiteral("SELECT ID_FILE, LISTE_NR FROM Brov_Kopfdaten")),
              QStringList{"3|G       "});
    // No messages from importFile: the caller speaks.
    EXPECT_EQ(dialogs.asked(), QStringList());
}

TEST_F(ListFileImportTest, HostileFilesNeitherCrashNorHoldTheFile)
{
    constexpr qint64 MiB = qint64(1) << 20;
    const QByteArray head = listBytes({office001("H", "", "", "")});
    QByteArray binary(256 * 1024, Qt::Uninitialized);
    std::uint32_t seed = 12345;
    for (char& b : binary) {
        seed = seed * 1103515245u + 12345u;
        b = char(seed >> 23);
    }
    struct Case {
        const char* name;
        QByteArray before;
        char fill;
        qint64 size;
        QByteArray after;
        int regions; // -1: not checked (random bytes)
    };
    const Case cases[] = {
        {"random bytes", binary, 0, 0, "", -1},
        {"random bytes after a header", head + binary, 0, 0, "", -1},
        {"1 MB of NUL bytes", "", '\0', MiB, "", 0},
        {"header, 1 MB of NUL bytes, a region", head, '\0', MiB, "\r\nREGR       FI T    \r\n", 1},
        {"one 40 MB line", "REG", 'x', 40 * MiB, "", 1},
        {"a 40 MB line between regions", head + "REGR1      FI T    \r\n", 'y', 40 * MiB,
         "\r\nREGR2      FI T    \r\n", 2},
        {"1 MB of line ends", head, '\n', MiB, "REGR       FI T", 1},
        {"1 MB of CR", head, '\r', MiB, "\nREGR       FI T", 1},
    };
    for (const Case& c : cases) {
        db().exec(QStringLiteral("DELETE FROM Brov_Kopfdaten"));
        db().exec(QStringLiteral("DELETE FROM Brov_Region"));
        db().exec(QStringLiteral("DELETE FROM Brov_Holzdaten"));
        dialogs.clear();
        ASSERT_NO_FATAL_FAILURE(writeFilled(root.host(QStringLiteral("Import/x.dat")), c.before,
                                            c.fill, c.size, c.after));
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        const auto outcome = importer().run();
        EXPECT_LT(timer.elapsed(), 20'000) << c.name;
        const std::optional<qint64> after = peakKib();
        if (before && after && c.size >= 40 * MiB) {
            // Holding the line would cost its 40 MB; the reader keeps a chunk and 501 bytes.
            EXPECT_LT(*after - *before, 16 * 1024) << c.name << ": peak grew by KiB";
        }
        EXPECT_EQ(filesIn("Import"), QStringList()) << c.name;
        if (c.regions < 0) {
            EXPECT_NE(outcome.result, ListFileImport::Result::Failed) << c.name;
            continue;
        }
        EXPECT_EQ(outcome.result, ListFileImport::Result::Imported) << c.name;
        EXPECT_EQ(count("Brov_Region"), c.regions) << c.name;
        EXPECT_EQ(dialogs.asked(), QStringList()) << c.name;
    }
}

} // namespace
} // namespace brovant::test
