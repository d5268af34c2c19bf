#include "data/Schema.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brovant {
namespace {

// One field of the database layout: "T" text with length, "N" numeric with digits and decimals.
struct Field {
    std::string name;
    char kind;
    int length;
    int decimals;
    bool key;
};

Field T(std::string name, int length)
{
    return {std::move(name), 'T', length, 0, false};
}
Field N(std::string name, int digits, int decimals, bool key = false)
{
    return {std::move(name), 'N', digits, decimals, key};
}

struct TableCase {
    std::string name;
    std::vector<Field> fields;
};

std::ostream& operator<<(std::ostream& os, const TableCase& c)
{
    return os << c.name;
}

std::vector<Field> headerFields()
{
    std::vector<Field> f = {N("ID_FILE", 6, 0, true), T("LISTE_NR", 8),        T("ZUSATZ_A", 40),
                            T("DATUM_A", 10),         N("KOR_FAKTOR_N", 1, 2), T("REGION_A", 8)};
    for (int i = 1; i <= 16; ++i)
        f.push_back(T("KOPF" + std::to_string(i) + "_A", 40));
    f.insert(f.end(), {N("DUE_MARK", 1, 0), N("EXPORTED_N_NI", 1, 0), T("STRUKTUR", 6)});
    return f;
}

std::vector<TableCase> expectedTables()
{
    return {
        {"Brov_Kopfdaten", headerFields()},
        {"Brov_Holzdaten",
         {N("ID", 6, 0, true), N("ID_FILE", 6, 0), N("ID_TYPE", 1, 0), T("PARZ", 5), N("STK", 2, 0),
          T("BAUMART", 3), N("BHD", 3, 0), T("DMSTUFE", 2), N("KUBATUR", 4, 2), T("NA", 2),
          T("KA", 2), T("TARIF", 5)}},
        {"Brov_Region",
         {N("ID", 6, 0, true), N("ID_FILE", 6, 0), T("REGION_A", 8), T("BAUMART", 3),
          T("TARIF", 5)}},
        {"Brov_LastRegion", {T("REGION_A", 8), T("BAUMART", 3), T("TARIF", 5)}},
        {"Brov_Konfiguration",
         {T("FIRMENKOPF1_A", 40), T("FIRMENKOPF2_A", 40), T("FIRMENKOPF3_A", 80),
          T("FIRMENKOPF4_A", 80), T("FIRMENKOPF5_A", 80), T("NAME1_A", 18), T("NUMBER1_A", 18),
          T("NAME2_A", 18), T("NUMBER2_A", 18), T("NAME3_A", 18), T("NUMBER3_A", 18),
          T("NAME4_A", 18), T("NUMBER4_A", 18), T("INIT_A", 20), T("FTP_SERVER", 100),
          T("FTP_NAME", 50), T("FTP_PASSWORD", 50), T("FTP_DIRECTORY", 100),
          T("FTP_DIRECTORY2", 100)}},
        {"Brov_Einstellungen",
         {N("ID", 6, 0, true), N("ID_TYPE", 1, 0), T("DMSTUFE", 2), N("BHDBIS", 3, 0),
          N("BHD", 3, 0), T("TARIF", 5), N("KUBATUR", 4, 2), T("REGION_A", 8), T("BAUMART", 3),
          N("HS1", 3, 2), N("HS2", 3, 2), N("HS3", 3, 2), N("HS4", 3, 2), N("HS5", 3, 2),
          N("HS6", 3, 2)}},
        {"Struktur", {T("STRUKTUR", 6)}},
    };
}

const TableDescriptor* findTable(const std::string& name)
{
    for (const TableDescriptor* table : schema::allTables()) {
        if (name == table->name)
            return table;
    }
    return nullptr;
}

class SchemaTable : public ::testing::TestWithParam<TableCase> {};

TEST_P(SchemaTable, MatchesTheFileLayout)
{
    const TableCase& expected = GetParam();
    const TableDescriptor* table = findTable(expected.name);
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->fields.size(), expected.fields.size());
    std::string keyName;
    for (size_t i = 0; i < expected.fields.size(); ++i) {
        const Field& want = expected.fields[i];
        const FieldDescriptor& got = table->fields[i];
        SCOPED_TRACE(want.name);
        EXPECT_EQ(std::string(got.name), want.name) << "field #" << i + 1;
        EXPECT_EQ(got.type, want.kind == 'T' ? FieldType::Text : FieldType::Numeric);
        EXPECT_EQ(got.length, want.length);
        EXPECT_EQ(got.decimals, want.decimals);
        EXPECT_EQ(got.key, want.key);
        const int width =
            want.kind == 'T' ? want.length : want.length + (want.decimals ? want.decimals + 1 : 0);
        EXPECT_EQ(got.width(), width);
        if (want.key)
            keyName = want.name;
    }
    const FieldDescriptor* key = table->keyField();
    EXPECT_EQ(key ? std::string(key->name) : std::string(), keyName);
}

INSTANTIATE_TEST_SUITE_P(All, SchemaTable, ::testing::ValuesIn(expectedTables()),
                         [](const auto& info) { return info.param.name; });

TEST(Schema, HasExactlyTheSevenTablesAndTheCurrentVersion)
{
    const auto expected = expectedTables();
    ASSERT_EQ(schema::allTables().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(std::string(schema::allTables()[i]->name), expected[i].name);
    EXPECT_STREQ(schema::kStructureVersion, "T00300");
}

} // namespace
} // namespace brovant
