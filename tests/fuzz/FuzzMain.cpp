// libFuzzer harness of the target BROVANT_FUZZ_TARGET names; a broken invariant aborts with its
// description.
#include "fuzz/FuzzTargets.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace brovant::test;
    // One folder and one probe per process: setting a device up for every input would cost more
    // than the input.
    static QTemporaryDir dir;
    static const Probe probe = [] {
        for (const FuzzTarget& target : fuzzTargets()) {
            if (std::strcmp(target.name, BROVANT_FUZZ_TARGET) == 0)
                return target.make(dir.path());
        }
        std::abort();
    }();
    const QString failure =
        probe(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size))).failure;
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "%s: %s\n", BROVANT_FUZZ_TARGET, qPrintable(failure));
        std::abort();
    }
    return 0;
}
