// Every fuzz corpus replayed as ordinary tests, each seed one case held to its target's
// invariants. The seeds written by hand must also give what corpus/outcomes.txt says; seeds the
// fuzzer adds are held to the invariants only, and a seed listed there gone from its folder fails.
// Then hostile inputs too big to keep in a corpus, through the same probes.
#include "fuzz/FuzzTargets.h"
#include "support/CaseFile.h"
#include "support/PeakMemory.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"
#include "transfer/ListFileFixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace brovant::test {
namespace {

const QString kCorpus = QStringLiteral(BROVANT_SOURCE_DIR "/tests/fuzz/corpus/");

// The seeds written by hand and what they give, from corpus/outcomes.txt: the outcome and a part
// of the detail.
const std::map<std::string, Case>& expectedOutcomes()
{
    static const std::map<std::string, Case> expected = [] {
        std::map<std::string, Case> seeds;
        for (const Case& c : readCases(QStringLiteral("fuzz/corpus/outcomes.txt")))
            seeds[c.fields[0].toStdString()] = c;
        return seeds;
    }();
    return expected;
}

struct Seed {
    const FuzzTarget* target;
    std::string file; // "<target>/<file name>"
};
void PrintTo(const Seed& seed, std::ostream* os)
{
    *os << seed.file;
}

// Every file of every corpus, and every seed listed whether its file is there or not.
std::vector<Seed> seeds()
{
    std::vector<Seed> all;
    for (const FuzzTarget& target : fuzzTargets()) {
        const std::string prefix = std::string(target.name) + '/';
        std::set<std::string> files;
        for (const QString& name :
             QDir(kCorpus + QLatin1StringView(target.name)).entryList(QDir::Files))
            files.insert(prefix + name.toStdString());
        for (auto it = expectedOutcomes().lower_bound(prefix);
             it != expectedOutcomes().end() && it->first.starts_with(prefix); ++it)
            files.insert(it->first);
        // An empty folder fails as a seed of its own.
        if (files.empty())
            files.insert(prefix);
        for (const std::string& file : files)
            all.push_back({&target, file});
    }
    return all;
}

TEST(CorpusOutcomes, AreListed)
{
    EXPECT_GT(expectedOutcomes().size(), 100u);
}

class CorpusTest : public ::testing::TestWithParam<Seed> {};

TEST_P(CorpusTest, HoldsEveryInvariant)
{
    const Seed& seed = GetParam();
    QFile file(kCorpus + QString::fromStdString(seed.file));
    ASSERT_TRUE(QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly)) << "no seed";
    TempRoot dir;
    const ProbeResult result = seed.target->make(dir.path())(file.readAll());
    EXPECT_EQ(result.failure.toStdString(), "");
    if (const auto it = expectedOutcomes().find(seed.file); it != expectedOutcomes().end()) {
        EXPECT_EQ(result.outcome, it->second.text(1)) << result.detail.toStdString();
        EXPECT_TRUE(result.detail.contains(it->second.text(2))) << result.detail.toStdString();
    }
}

// Test names from the seeds: everything but letters and digits becomes "_".
INSTANTIATE_TEST_SUITE_P(Seeds, CorpusTest, ::testing::ValuesIn(seeds()),
                         [](const ::testing::TestParamInfo<Seed>& info) {
                             std::string name = info.param.file;
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             }
                             return name;
                         });

// One file a line of data/huge_configs.txt.
TEST(ConfigImportHostileTest, HugeInputsStayFastAndSmall)
{
    for (const Case& c : readCases(QStringLiteral("fuzz/data/huge_configs.txt"))) {
        SCOPED_TRACE(c.fields[0].constData());
        TempRoot root;
        QString staged;
        const Probe probe = configProbeOnStaged(root.path(), &staged);
        writeFilled(staged, c, 1);
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        const ProbeResult result = probe({});
        // Generous: a reader that copied or rescanned the line would take minutes, not seconds.
        EXPECT_LT(timer.elapsed(), 10'000);
        EXPECT_EQ(result.failure.toStdString(), "");
        EXPECT_EQ(result.outcome, c.text(5));
        const std::optional<qint64> after = peakKib();
        if (before && after && c.fields[3].toInt() >= 50) {
            // Holding the line would cost its 50 MB at least; the reader keeps 1000 characters.
            EXPECT_LT(*after - *before, 16 * 1024) << "peak grew by KiB";
        }
    }
}

// One file a line of data/hostile_registries.txt, and twenty thousand keys.
TEST(RegistryHostileFiles, ParseOrAreSetAsideWithoutCrashing)
{
    QByteArray manyKeys = "Windows Registry Editor Version 5.00\n";
    for (int i = 0; i < 20000; ++i)
        manyKeys += "[HKEY_CURRENT_USER\\k" + QByteArray::number(i) + "]\n\"v\"=\"x\"\n";
    QList<Case> cases = readCases(QStringLiteral("fuzz/data/hostile_registries.txt"));
    cases.prepend({0, {"twenty thousand keys", manyKeys, {}, "0", {}, "yes"}});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fields[0].constData());
        TempRoot dir;
        const ProbeResult result = registryProbe(dir.path())(
            c.fields[1] + c.fields[2].repeated(c.fields[3].toInt()) + c.fields[4]);
        EXPECT_EQ(result.failure.toStdString(), "");
        EXPECT_EQ(result.outcome.startsWith(QStringLiteral("CU")), c.fields[5] == "yes")
            << c.where().constData();
    }
}

} // namespace
} // namespace brovant::test
