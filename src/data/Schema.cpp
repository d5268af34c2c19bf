#include "data/Schema.h"

namespace brovant::schema {
namespace {

constexpr FieldDescriptor kKopfdaten[] = {
    numericField("ID_FILE", 6, 0, true),
    textField("LISTE_NR", 8),
    textField("ZUSATZ_A", 40),
    textField("DATUM_A", 10),
    numericField("KOR_FAKTOR_N", 1, 2),
    textField("REGION_A", 8),
    textField("KOPF1_A", 40),
    textField("KOPF2_A", 40),
    textField("KOPF3_A", 40),
    textField("KOPF4_A", 40),
    textField("KOPF5_A", 40),
    textField("KOPF6_A", 40),
    textField("KOPF7_A", 40),
    textField("KOPF8_A", 40),
    textField("KOPF9_A", 40),
    textField("KOPF10_A", 40),
    textField("KOPF11_A", 40),
    textField("KOPF12_A", 40),
    textField("KOPF13_A", 40),
    textField("KOPF14_A", 40),
    textField("KOPF15_A", 40),
    textField("KOPF16_A", 40),
    numericField("DUE_MARK", 1, 0),
    numericField("EXPORTED_N_NI", 1, 0),
    textField("STRUKTUR", 6),
};

constexpr FieldDescriptor kHolzdaten[] = {
    numericField("ID", 6, 0, true),
    numericField("ID_FILE", 6, 0),
    numericField("ID_TYPE", 1, 0),
    textField("PARZ", 5),
    numericField("STK", 2, 0),
    textField("BAUMART", 3),
    numericField("BHD", 3, 0),
    textField("DMSTUFE", 2),
    numericField("KUBATUR", 4, 2),
    textField("NA", 2),
    textField("KA", 2),
    textField("TARIF", 5),
};

constexpr FieldDescriptor kRegion[] = {
    numericField("ID", 6, 0, true), numericField("ID_FILE", 6, 0), textField("REGION_A", 8),
    textField("BAUMART", 3),        textField("TARIF", 5),
};

constexpr FieldDescriptor kLastRegion[] = {
    textField("REGION_A", 8),
    textField("BAUMART", 3),
    textField("TARIF", 5),
};

constexpr FieldDescriptor kKonfiguration[] = {
    textField("FIRMENKOPF1_A", 40),   textField("FIRMENKOPF2_A", 40),
    textField("FIRMENKOPF3_A", 80),   textField("FIRMENKOPF4_A", 80),
    textField("FIRMENKOPF5_A", 80),   textField("NAME1_A", 18),
    textField("NUMBER1_A", 18),       textField("NAME2_A", 18),
    textField("NUMBER2_A", 18),       textField("NAME3_A", 18),
    textField("NUMBER3_A", 18),       textField("NAME4_A", 18),
    textField("NUMBER4_A", 18),       textField("INIT_A", 20),
    textField("FTP_SERVER", 100),     textField("FTP_NAME", 50),
    textField("FTP_PASSWORD", 50),    textField("FTP_DIRECTORY", 100),
    textField("FTP_DIRECTORY2", 100),
};

constexpr FieldDescriptor kEinstellungen[] = {
    numericField("ID", 6, 0, true), numericField("ID_TYPE", 1, 0), textField("DMSTUFE", 2),
    numericField("BHDBIS", 3, 0),   numericField("BHD", 3, 0),     textField("TARIF", 5),
    numericField("KUBATUR", 4, 2),  textField("REGION_A", 8),      textField("BAUMART", 3),
    numericField("HS1", 3, 2),      numericField("HS2", 3, 2),     numericField("HS3", 3, 2),
    numericField("HS4", 3, 2),      numericField("HS5", 3, 2),     numericField("HS6", 3, 2),
};

constexpr FieldDescriptor kStruktur[] = {
    textField("STRUKTUR", 6),
};

} // namespace

const TableDescriptor Kopfdaten{"Brov_Kopfdaten", kKopfdaten};
const TableDescriptor Holzdaten{"Brov_Holzdaten", kHolzdaten};
const TableDescriptor Region{"Brov_Region", kRegion};
const TableDescriptor LastRegion{"Brov_LastRegion", kLastRegion};
const TableDescriptor Konfiguration{"Brov_Konfiguration", kKonfiguration};
const TableDescriptor Einstellungen{"Brov_Einstellungen", kEinstellungen};
const TableDescriptor Struktur{"Struktur", kStruktur};

const std::array<const TableDescriptor*, 7>& allTables()
{
    static const std::array<const TableDescriptor*, 7> tables = {
        &Kopfdaten, &Holzdaten, &Region, &LastRegion, &Konfiguration, &Einstellungen, &Struktur,
    };
    return tables;
}

} // namespace brovant::schema
