// Workflow: the few application-wide values every screen reads (current list, device
// flags, the loaded master tables). Owned by the application object; screens keep no copies.
#pragma once

#include "masterdata/MasterTables.h"

#include <array>

namespace brovant {

struct AppState {
    // ID_FILE of the list being worked on; -1 means none.
    int currentList = -1;
    // Set when "\Windows\externapi.dll" exists: selects the Getac routes.
    bool getac = false;
    MasterTables tables;
    // The tariff the tally last used for each of the 60 species slots.
    std::array<QString, MasterTables::kSpecies> speciesTariffs;
};

} // namespace brovant
