// libFuzzer target: every input is a hive file, loaded as both hives and, where it parses,
// exported and loaded again; a broken invariant aborts with its description.
#include "platform/RegistryFuzzing.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

brovant::test::RegistryProbe& probe()
{
    static QTemporaryDir dir;
    static brovant::test::RegistryProbe instance(dir.path());
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure =
        probe().check(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "registry: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
