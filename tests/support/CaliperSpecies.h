// The master tables a Bluetooth caliper's species codes are looked up in: main species 1 to 12
// (the ninth left empty, umlauts and a code that is another's with a digit among them) and the
// caliper's own species.
#pragma once

#include "masterdata/MasterTables.h"

#include <iterator>

namespace brovant::test {

inline MasterTables caliperTables()
{
    MasterTables tables;
    const char* const main[] = {"FI ", "KI ", "DGL", "BU ", "EI ", "BÄ ",
                                "TA ", "LÄ ", "",    "ES ", "ELS", "FI2"};
    for (size_t i = 0; i < std::size(main); ++i)
        tables.mainSpecies[i] = QString::fromUtf8(main[i]);
    tables.caliperSpecies = QStringLiteral("PA ");
    return tables;
}

} // namespace brovant::test
