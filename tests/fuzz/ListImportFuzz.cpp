// libFuzzer target: every input is a list file, read from memory and from "\Import" of one
// temporary device and written out again; a broken invariant aborts with its description.
#include "transfer/ListImportFuzzing.h"

#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

brovant::test::ListImportProbe& probe()
{
    // One device per process: opening a database for every input would cost more than the import.
    static QTemporaryDir dir;
    static brovant::test::ListImportProbe instance(dir.path());
    return instance;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString failure =
        probe().check(QByteArrayView(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "list import: %s\n", qPrintable(failure));
        std::abort();
    }
    return 0;
}
