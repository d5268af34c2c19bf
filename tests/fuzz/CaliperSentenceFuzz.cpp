// libFuzzer target: every input is one line from a Bluetooth caliper, read as a sentence, in its
// variants and through the sentence reader; a broken invariant aborts with its description.
#include "tally/CaliperSentenceFuzzing.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure = brovant::test::checkCaliperSentence(
        QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "caliper sentence: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
