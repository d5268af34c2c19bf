// Data layer: the seven tables of the database file, each described by its field array in the
// stored order. Nothing here touches the database; Database creates the tables from these.
#pragma once

#include "data/FieldDescriptor.h"

#include <array>

namespace brovant::schema {

// The database structure version, stored in Struktur and carried by every list file.
inline constexpr const char* kStructureVersion = "T00300";

extern const TableDescriptor Kopfdaten;
extern const TableDescriptor Holzdaten;
extern const TableDescriptor Region;
extern const TableDescriptor LastRegion;
extern const TableDescriptor Konfiguration;
extern const TableDescriptor Einstellungen;
extern const TableDescriptor Struktur;

const std::array<const TableDescriptor*, 7>& allTables();

// Record kinds of Brov_Einstellungen (ID_TYPE).
enum MasterRowType : int {
    DiameterClassRow = 1,
    TariffVolumeRow = 2,
    TariffAssignmentRow = 3,
    SpeciesVolumeRow = 4,
};

} // namespace brovant::schema
