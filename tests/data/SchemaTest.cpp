#include "data/Schema.h"
#include "data/DataTestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;

// A table as "NAME:T<length>" or "NAME:N<digits>.<decimals>" per field, "*" marking the key.
QString layoutOf(const TableDescriptor& table)
{
    QString out = QString::fromLatin1(table.name);
    for (const FieldDescriptor& f : table.fields) {
        const bool text = f.type == FieldType::Text;
        out += QStringLiteral(" %1:%2%3")
                   .arg(QString::fromLatin1(f.name), text ? "T" : "N")
                   .arg(f.length);
        out += (text ? QString() : QStringLiteral(".%1").arg(f.decimals)) + (f.key ? "*" : "");
    }
    const FieldDescriptor* key = table.keyField();
    return key ? out + " key=" + QString::fromLatin1(key->name) : out;
}

TEST(Schema, TablesMatchTheFileLayout)
{
    QString kopf;
    for (int i = 1; i <= 16; ++i)
        kopf += QStringLiteral(" KOPF%1_A:T40").arg(i);
    const QString hs = QStringLiteral(" HS%1:N3.2");
    const QStringList expected = {
        "Brov_Kopfdaten ID_FILE:N6.0* LISTE_NR:T8 ZUSATZ_A:T40 DATUM_A:T10 KOR_FAKTOR_N:N1.2 "
        "REGION_A:T8"
            + kopf + " DUE_MARK:N1.0 EXPORTED_N_NI:N1.0 STRUKTUR:T6 key=ID_FILE",
        "Brov_Holzdaten ID:N6.0* ID_FILE:N6.0 ID_TYPE:N1.0 PARZ:T5 STK:N2.0 BAUMART:T3 BHD:N3.0 "
        "DMSTUFE:T2 KUBATUR:N4.2 NA:T2 KA:T2 TARIF:T5 key=ID",
        "Brov_Region ID:N6.0* ID_FILE:N6.0 REGION_A:T8 BAUMART:T3 TARIF:T5 key=ID",
        "Brov_LastRegion REGION_A:T8 BAUMART:T3 TARIF:T5",
        "Brov_Konfiguration FIRMENKOPF1_A:T40 FIRMENKOPF2_A:T40 FIRMENKOPF3_A:T80 "
        "FIRMENKOPF4_A:T80 FIRMENKOPF5_A:T80 NAME1_A:T18 NUMBER1_A:T18 NAME2_A:T18 NUMBER2_A:T18 "
        "NAME3_A:T18 NUMBER3_A:T18 NAME4_A:T18 NUMBER4_A:T18 INIT_A:T20 FTP_SERVER:T100 "
        "FTP_NAME:T50 FTP_PASSWORD:T50 FTP_DIRECTORY:T100 FTP_DIRECTORY2:T100",
        "Brov_Einstellungen ID:N6.0* ID_TYPE:N1.0 DMSTUFE:T2 BHDBIS:N3.0 BHD:N3.0 TARIF:T5 "
        "KUBATUR:N4.2 REGION_A:T8 BAUMART:T3"
            + hs.arg(1) + hs.arg(2) + hs.arg(3) + hs.arg(4) + hs.arg(5) + hs.arg(6) + " key=ID",
        "Struktur STRUKTUR:T6"};
    ASSERT_EQ(schema::allTables().size(), size_t(expected.size()));
    for (qsizetype i = 0; i < expected.size(); ++i)
        EXPECT_EQ(layoutOf(*schema::allTables()[size_t(i)]), expected[i]);
    EXPECT_STREQ(schema::kStructureVersion, "T00300");
}

TEST(FieldFormat, FillsTheFieldWidth)
{
    using namespace schema;
    const auto field = [](const TableDescriptor& table,
                          const char* name) -> const FieldDescriptor& {
        const int i = table.indexOf(QString::fromLatin1(name));
        return i < 0 ? throw std::logic_error(name) : table.fields[size_t(i)];
    };
    const auto &kub = field(Holzdaten, "KUBATUR"), &kor = field(Kopfdaten, "KOR_FAKTOR_N"),
               &bhd = field(Holzdaten, "BHD"), &list = field(Kopfdaten, "ID_FILE"),
               &hs1 = field(Einstellungen, "HS1"), &hs6 = field(Einstellungen, "HS6"),
               &flag = field(Kopfdaten, "EXPORTED_N_NI"), &art = field(Holzdaten, "BAUMART"),
               &region = field(Region, "REGION_A"), &parz = field(Holzdaten, "PARZ"),
               &stufe = field(Holzdaten, "DMSTUFE"), &version = field(Struktur, "STRUKTUR");
    const FieldValue e{};
    struct Row {
        const FieldDescriptor& field;
        FieldValue value;
        QString expected;
    };
    // Right-aligned, point placed, fraction zero-padded, sign before the digits.
    const Row numbers[] = {
        {kub, 135, "   1.35"},    {kub, 45, "   0.45"},   {kub, 5, "   0.05"},
        {kub, 0, "   0.00"},      {kub, -135, "  -1.35"}, {kub, -5, "  -0.05"},
        {kub, 999999, "9999.99"}, {kub, e, "   0.00"},    {kub, u" 135"_s, "   1.35"},
        {kor, 100, "1.00"},       {kor, 95, "0.95"},      {bhd, 7, "  7"},
        {bhd, 123, "123"},        {bhd, e, "  0"},        {list, 42, "    42"},
        {hs1, 1234, " 12.34"},    {hs6, 7, "  0.07"},     {flag, 1, "1"}};
    // Blank-padded or cut to the length, counted in characters.
    const Row texts[] = {{art, u"FI"_s, "FI "},           {art, u"BUE"_s, "BUE"},
                         {art, u"FICHTE"_s, "FIC"},       {region, e, "        "},
                         {region, u""_s, "        "},     {art, u"Ä"_s, "Ä  "},
                         {art, u"ÄÖÜß"_s, "ÄÖÜ"},         {region, u"Süd-Öst"_s, "Süd-Öst "},
                         {parz, u"  7"_s, "  7  "},       {stufe, 3, "3 "},
                         {version, u"T00300"_s, "T00300"}};
    for (const auto& rows : {std::span<const Row>(numbers), std::span<const Row>(texts)}) {
        for (const auto& [f, value, expected] : rows) {
            EXPECT_EQ(formatValue(f, value), expected) << f.name;
            EXPECT_EQ(f.width(), expected.size()) << f.name;
        }
    }
}

TEST(FormatScaled, PlacesThePointWithoutPadding)
{
    using L = std::numeric_limits<std::int64_t>;
    const struct {
        std::int64_t value;
        int decimals;
        const char* expected;
    } rows[] = {{7, 0, "7"},
                {-7, 0, "-7"},
                {1000, 3, "1.000"},
                {-5, 2, "-0.05"},
                {L::max(), 2, "92233720368547758.07"},
                {L::min(), 2, "-92233720368547758.08"}};
    for (const auto& row : rows)
        EXPECT_EQ(formatScaled(row.value, row.decimals), QLatin1StringView(row.expected))
            << row.value << " with " << row.decimals << " decimals";
}

} // namespace
} // namespace brovant
