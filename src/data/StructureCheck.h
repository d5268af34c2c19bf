// Data layer: whether the database file is one this program version can use, and its
// re-creation when it is not. A failing file is moved aside ("Brovant.cdb.alt", one generation)
// rather than destroyed. Clearing master data from the registry is the caller's business.
#pragma once

#include "data/Database.h"

#include <QString>

namespace brovant {

class DeviceRoot;

inline constexpr const char16_t* kDatabasePath = u"\\Brovant\\Brovant.cdb";
inline constexpr const char16_t* kDatabaseAsidePath = u"\\Brovant\\Brovant.cdb.alt";

class StructureCheck {
public:
    enum class Verdict {
        Missing,  // no file: it will be created empty
        Accepted, // Struktur holds the current version
        Foreign,  // no Struktur record, another version, or not a database at all
    };

    // Looks at the file without creating anything in it.
    static Verdict inspect(const QString& hostFile);

    // Moves the failing file aside (replacing an older one), removes any journal beside it and
    // opens a new empty database with every table. The connection must be closed.
    static bool recreate(Database& db, const DeviceRoot& root);

    // Inserts the structure record when the Struktur table is empty.
    static bool ensureStructureRecord(Database& db);
};

} // namespace brovant
