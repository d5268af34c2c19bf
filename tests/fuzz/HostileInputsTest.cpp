// Hostile inputs too big to keep in a corpus, through the fuzz targets' probes.
#include "fuzz/FuzzTargets.h"
#include "support/CaseFile.h"
#include "support/PeakMemory.h"
#include "support/QtPrinting.h"
#include "support/TempRoot.h"
#include "transfer/ListFileFixture.h"

#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <optional>

namespace brovant::test {
namespace {

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

TEST(RegistryHostileFiles, ParseOrAreSetAsideWithoutCrashing)
{
    const QByteArray header = "Windows Registry Editor Version 5.00\n";
    const auto nested = [&](int depth) {
        QByteArray text = header + "[HKEY_CURRENT_USER";
        for (int i = 0; i < depth; ++i)
            text += "\\k";
        return text + "]\n\"v\"=dword:00000001\n";
    };
    QByteArray manyKeys = header;
    for (int i = 0; i < 20000; ++i)
        manyKeys += "[HKEY_CURRENT_USER\\k" + QByteArray::number(i) + "]\n\"v\"=\"x\"\n";
    const QByteArray value = header + "[HKEY_CURRENT_USER]\n\"v\"=\"";
    const struct {
        const char* what;
        QByteArray input;
        bool parses;
    } cases[] = {
        {"keys nested as deep as Windows allows", nested(512), true},
        {"one level deeper", nested(513), false},
        // Exporting it would take gigabytes, and the recursions all the stack.
        {"keys nested a hundred thousand deep", nested(100000), false},
        {"twenty thousand keys", manyKeys, true},
        {"a string of a million units", value + QByteArray(1 << 20, 'x') + "\"\n", true},
        {"a string over the limit", value + QByteArray((1 << 20) + 1, 'x') + "\"\n", false},
        {"a continuation that never ends", header + "[HKEY_CURRENT_USER]\n\"v\"=hex(1):41,\\",
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TempRoot dir;
        const ProbeResult result = registryProbe(dir.path())(c.input);
        EXPECT_EQ(result.failure.toStdString(), "");
        EXPECT_EQ(result.outcome.startsWith(QStringLiteral("CU")), c.parses);
    }
}

} // namespace
} // namespace brovant::test
