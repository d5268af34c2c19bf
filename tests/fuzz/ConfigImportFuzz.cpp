// libFuzzer target: every input is a configuration file staged in one temporary device root and
// run through the import and the settings load; a broken invariant aborts with its description.
#include "masterdata/ConfigImportFuzzing.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

brovant::test::ConfigImportProbe& probe()
{
    // One root per process: opening a database for every input would cost more than the import.
    static QTemporaryDir dir;
    static brovant::test::ConfigImportProbe instance(dir.path());
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure =
        probe().check(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "configuration import: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
