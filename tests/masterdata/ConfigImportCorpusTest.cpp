// The fuzz corpus of the configuration import, run as an ordinary test, plus hostile inputs too
// big to keep in the repository.
#include "masterdata/ConfigImportFuzzing.h"
#include "support/Corpus.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace brovant::test {
namespace {

QString corpusDir()
{
    return corpusFolder("config");
}

struct ScanCase {
    const char* name;
    QByteArray input;
    bool accepted;
    std::array<int, 5> rows;
};

TEST(ConfigShapeScannerTest, WorksOutOutcomeFromBytesInAnyPieces)
{
    const QByteArray h = "TD0STAMM300.DAT";
    const ScanCase cases[] = {
        {"empty", "", false, {}},
        {"header alone", h, true, {}},
        {"header with CR LF", h + "\r\n", true, {}},
        {"header one character short", "TD0STAMM300.DA\r\n30E", false, {}},
        {"NUL inside the header",
         QByteArray("TD0STAMM").append('\0').append("00.DAT\n30E"),
         false,
         {}},
        {"header then NUL", QByteArray(h).append('\0').append("x\n30E"), true, {0, 1, 0, 0, 0}},
        {"each row kind", h + "\n30E\n40F\n40F\n712\n611\n611\n611\n20C\n", true, {0, 1, 2, 1, 3}},
        {"last line without end", h + "\n40F\n30E", true, {0, 1, 1, 0, 0}},
        {"CR only ends: one line", h + "\r30E\r40F\r", true, {}},
        {"later valid header", h + "\n30E\n" + h + "xyz\n30E\n", true, {0, 2, 0, 0, 0}},
        {"later bad header stops", h + "\n30E\nTD0STAMM300.DAX\n30E\n", false, {0, 1, 0, 0, 0}},
        {"TD0 alone stops", h + "\n40F\nTD0\n40F\n", false, {0, 0, 1, 0, 0}},
        {"tag needs its own case", h + "\n30e\ntd0\n 30E\n", true, {}},
        {"tag cut by NUL", QByteArray(h).append("\n30").append('\0').append("E\n"), true, {}},
    };
    for (const ScanCase& c : cases) {
        for (const qsizetype piece :
             {qsizetype(1), qsizetype(2), qsizetype(7), c.input.size() + 1}) {
            ConfigShapeScanner scanner;
            for (qsizetype at = 0; at < c.input.size(); at += piece)
                scanner.feed(
                    QByteArrayView(c.input).sliced(at, std::min(piece, c.input.size() - at)));
            scanner.finish();
            EXPECT_EQ(scanner.accepted(), c.accepted) << c.name << ", pieces of " << piece;
            EXPECT_EQ(scanner.rows(), c.rows) << c.name << ", pieces of " << piece;
        }
    }
}

class ConfigCorpusTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ConfigCorpusTest, HoldsEveryInvariant)
{
    // What the import must make of the files written by hand; inputs added by the fuzzer are
    // held to the invariants only.
    static const std::map<std::string, int> loaded = {
        {"binary_garbage.dtr", 0},
        {"choice_order.dtr", 1},
        {"cp1252_undefined.dtr", 1},
        {"cr_only.dtr", 1},
        {"empty.dtr", 0},
        {"header_no_line_end.dtr", 1},
        {"header_only.dtr", 1},
        {"later_bad_header.dtr", 0},
        {"lf_only.dtr", 1},
        {"long_line.dtr", 1},
        {"many_labels.dtr", 1},
        {"nul_inside.dtr", 0},
        {"odd_numbers.dtr", 1},
        {"short_and_unknown_lines.dtr", 1},
        {"tariffs_over_limit.dtr", 1},
        {"valid_minimal.dtr", 1},
        {"wrong_header.dtr", 0},
    };
    QFile file(corpusDir() + u'/' + QString::fromStdString(GetParam()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    TempRoot root;
    ConfigImportProbe probe(root.path());
    EXPECT_EQ(probe.check(file.readAll()).toStdString(), "");
    if (const auto it = loaded.find(GetParam()); it != loaded.end()) {
        EXPECT_EQ(probe.lastLoaded(), it->second);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, ConfigCorpusTest, ::testing::ValuesIn(corpusFiles(corpusDir())),
                         corpusCaseName);

TEST(ConfigCorpusFilesTest, CorpusIsThere)
{
    EXPECT_GE(corpusFiles(corpusDir()).size(), 12u) << corpusDir().toStdString();
}

// The checks must be able to fail: break the database in ways the import cannot see and expect
// the probe to name what went wrong.
TEST(ConfigImportProbeTest, ReportsBrokenInvariants)
{
    struct Case {
        const char* sql;
        const char* failure;
    };
    const Case cases[] = {
        {"DROP TABLE Brov_Einstellungen", "StoreFailed"},
        {"CREATE TRIGGER t BEFORE INSERT ON Brov_Einstellungen WHEN NEW.ID_TYPE = 2 "
         "BEGIN SELECT RAISE(IGNORE); END",
         "rows by kind"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Einstellungen WHEN NEW.ID = 1 "
         "BEGIN UPDATE Brov_Einstellungen SET ID = 7 WHERE rowid = NEW.rowid; END",
         "row numbers"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Einstellungen WHEN NEW.ID_TYPE = 1 "
         "BEGIN UPDATE Brov_Einstellungen SET DMSTUFE = 'abc' WHERE rowid = NEW.rowid; END",
         "longer than its field"},
        {"CREATE TRIGGER t AFTER INSERT ON Brov_Einstellungen WHEN NEW.ID_TYPE = 2 "
         "BEGIN UPDATE Brov_Einstellungen SET KUBATUR = 1e12 WHERE rowid = NEW.rowid; END",
         "out of range"},
    };
    QFile file(corpusDir() + QStringLiteral("/valid_minimal.dtr"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray input = file.readAll();
    for (const Case& c : cases) {
        TempRoot root;
        ConfigImportProbe probe(root.path());
        ASSERT_EQ(probe.check(input).toStdString(), "") << c.sql;
        ASSERT_TRUE(probe.session().database().exec(QString::fromLatin1(c.sql))) << c.sql;
        EXPECT_NE(probe.check(input).toStdString().find(c.failure), std::string::npos) << c.sql;
    }
}

// Peak resident memory since the last reset, in KiB; nullopt where the kernel does not offer it.
std::optional<qint64> peakKib()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stoll(line.substr(6));
    }
    return std::nullopt;
}

bool resetPeak()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return clear.good();
}

// Writes `total` bytes of `fill` between `before` and `after`, a megabyte at a time, so the test
// itself never holds the file.
void writeStaged(const QString& path, const QByteArray& before, char fill, qint64 total,
                 const QByteArray& after)
{
    QFile out(path);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(out.write(before), before.size());
    const QByteArray block(1 << 20, fill);
    for (qint64 left = total; left > 0; left -= block.size()) {
        const qint64 n = std::min<qint64>(left, block.size());
        ASSERT_EQ(out.write(block.constData(), n), n);
    }
    ASSERT_EQ(out.write(after), after.size());
}

TEST(ConfigImportHostileTest, HugeInputsStayFastAndSmall)
{
    constexpr qint64 MiB = qint64(1) << 20;
    const QByteArray header = "TD0STAMM300.DAT\r\n";
    struct Case {
        const char* name;
        QByteArray before;
        char fill;
        qint64 size;
        QByteArray after;
        int loaded;
    };
    const Case cases[] = {
        {"one 50 MB line", "", 'x', 50 * MiB, "", 0},
        {"a 50 MB label between rows", header + "30E08  8  8\r\n20C", 'L', 50 * MiB,
         "1\r\n30E10 10 10\r\n", 1},
        {"1 MB of NUL bytes", "", '\0', MiB, "", 0},
        {"header and 1 MB of NUL bytes", header, '\0', MiB, "\r\n40FFI01 08  0.020\r\n", 1},
        {"header and 1 MB of empty lines", header, '\n', MiB, "", 1},
    };
    for (const Case& c : cases) {
        TempRoot root;
        ConfigImportProbe probe(root.path());
        writeStaged(probe.stagedFile(), c.before, c.fill, c.size, c.after);
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(probe.checkStaged().toStdString(), "") << c.name;
        // Generous: a reader that copied or rescanned the line would take minutes, not seconds.
        EXPECT_LT(timer.elapsed(), 10'000) << c.name;
        EXPECT_EQ(probe.lastLoaded(), c.loaded) << c.name;
        const std::optional<qint64> after = peakKib();
        if (before && after && c.size >= 50 * MiB) {
            // Holding the line would cost its 50 MB at least; the reader keeps 1000 characters.
            EXPECT_LT(*after - *before, 16 * 1024) << c.name << ": peak grew by KiB";
        }
    }
}

} // namespace
} // namespace brovant::test
