// Hostile inputs too big to keep in a corpus, through the fuzz targets' probes.
#include "fuzz/FuzzTargets.h"
#include "support/PeakMemory.h"
#include "support/TempRoot.h"
#include "transfer/ListFileFixture.h"

#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <optional>

namespace brovant::test {
namespace {

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
        const char* outcome;
    };
    const Case cases[] = {
        {"one 50 MB line", "", 'x', 50 * MiB, "", "0 loaded, 0/0/0/0 rows"},
        {"a 50 MB label between rows", header + "30E08  8  8\r\n20C", 'L', 50 * MiB,
         "1\r\n30E10 10 10\r\n", "1 loaded, 2/0/0/0 rows"},
        {"1 MB of NUL bytes", "", '\0', MiB, "", "0 loaded, 0/0/0/0 rows"},
        {"header and 1 MB of NUL bytes", header, '\0', MiB, "\r\n40FFI01 08  0.020\r\n",
         "1 loaded, 0/1/0/0 rows"},
        {"header and 1 MB of empty lines", header, '\n', MiB, "", "1 loaded, 0/0/0/0 rows"},
    };
    for (const Case& c : cases) {
        TempRoot root;
        QString staged;
        const Probe probe = configProbeOnStaged(root.path(), &staged);
        writeFilled(staged, c.before, c.fill, c.size, c.after);
        const std::optional<qint64> before = resetPeak() ? peakKib() : std::nullopt;
        QElapsedTimer timer;
        timer.start();
        const ProbeResult result = probe({});
        // Generous: a reader that copied or rescanned the line would take minutes, not seconds.
        EXPECT_LT(timer.elapsed(), 10'000) << c.name;
        EXPECT_EQ(result.failure.toStdString(), "") << c.name;
        EXPECT_EQ(result.outcome.toStdString(), c.outcome) << c.name;
        const std::optional<qint64> after = peakKib();
        if (before && after && c.size >= 50 * MiB) {
            // Holding the line would cost its 50 MB at least; the reader keeps 1000 characters.
            EXPECT_LT(*after - *before, 16 * 1024) << c.name << ": peak grew by KiB";
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
