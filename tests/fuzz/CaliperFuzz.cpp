// libFuzzer target: every input is a caliper's byte stream with its chunking, cut into telegrams
// and read; a broken invariant aborts with its description.
#include "tally/CaliperFuzzing.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure = brovant::test::checkCaliperStream(
        QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "caliper: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
