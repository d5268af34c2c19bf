// libFuzzer target: every input is a script of the office's end of a cable transfer, played to
// the device's receive on one temporary device root; a broken invariant aborts with its
// description.
#include "transfer/SerialFuzzing.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

brovant::test::SerialReceiveProbe& probe()
{
    static QTemporaryDir dir;
    static brovant::test::SerialReceiveProbe instance(dir.path());
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure =
        probe().check(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "serial receive: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
