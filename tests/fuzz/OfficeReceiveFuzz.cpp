// libFuzzer target: every input is a script of the device's end of a cable transfer, played to
// the office peer's receive with one temporary output folder; a broken invariant aborts with its
// description.
#include "transfer/OfficeReceiveFuzzing.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

brovant::test::OfficeReceiveProbe& probe()
{
    static QTemporaryDir dir;
    static brovant::test::OfficeReceiveProbe instance(dir.path());
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure =
        probe().check(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "office receive: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
