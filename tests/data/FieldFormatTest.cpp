#include "data/DataTestSupport.h"
#include "data/FieldDescriptor.h"
#include "data/Schema.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace brovant {
namespace {

using namespace Qt::StringLiterals;

const FieldDescriptor& fieldOf(const TableDescriptor& table, const char* name)
{
    const int i = table.indexOf(QString::fromLatin1(name));
    if (i < 0)
        throw std::logic_error(std::string("no field ") + name);
    return table.fields[size_t(i)];
}

struct FormatCase {
    const char* label;
    const TableDescriptor* table;
    const char* field;
    FieldValue value;
    QString expected;
};

std::ostream& operator<<(std::ostream& os, const FormatCase& c)
{
    return os << c.label;
}

class FieldFormat : public ::testing::TestWithParam<FormatCase> {};

TEST_P(FieldFormat, FillsTheFieldWidth)
{
    const FormatCase& c = GetParam();
    const FieldDescriptor& field = fieldOf(*c.table, c.field);
    const QString formatted = formatValue(field, c.value);
    EXPECT_EQ(formatted, c.expected);
    EXPECT_EQ(formatted.size(), field.width());
}

using namespace schema;
using std::int64_t;
const FieldValue kEmpty{};

INSTANTIATE_TEST_SUITE_P(
    Numbers, FieldFormat,
    ::testing::Values(
        FormatCase{"volume", &Holzdaten, "KUBATUR", int64_t(135), u"   1.35"_s},
        FormatCase{"volume_below_one", &Holzdaten, "KUBATUR", int64_t(45), u"   0.45"_s},
        FormatCase{"volume_hundredth", &Holzdaten, "KUBATUR", int64_t(5), u"   0.05"_s},
        FormatCase{"volume_zero", &Holzdaten, "KUBATUR", int64_t(0), u"   0.00"_s},
        FormatCase{"volume_negative", &Holzdaten, "KUBATUR", int64_t(-135), u"  -1.35"_s},
        FormatCase{"volume_negative_small", &Holzdaten, "KUBATUR", int64_t(-5), u"  -0.05"_s},
        FormatCase{"volume_full_width", &Holzdaten, "KUBATUR", int64_t(999999), u"9999.99"_s},
        FormatCase{"volume_empty", &Holzdaten, "KUBATUR", kEmpty, u"   0.00"_s},
        FormatCase{"volume_from_text", &Holzdaten, "KUBATUR", u" 135"_s, u"   1.35"_s},
        FormatCase{"factor_one", &Kopfdaten, "KOR_FAKTOR_N", int64_t(100), u"1.00"_s},
        FormatCase{"factor_small", &Kopfdaten, "KOR_FAKTOR_N", int64_t(95), u"0.95"_s},
        FormatCase{"diameter", &Holzdaten, "BHD", int64_t(7), u"  7"_s},
        FormatCase{"diameter_full", &Holzdaten, "BHD", int64_t(123), u"123"_s},
        FormatCase{"diameter_empty", &Holzdaten, "BHD", kEmpty, u"  0"_s},
        FormatCase{"list_number", &Kopfdaten, "ID_FILE", int64_t(42), u"    42"_s},
        FormatCase{"class_volume", &Einstellungen, "HS1", int64_t(1234), u" 12.34"_s},
        FormatCase{"class_volume_small", &Einstellungen, "HS6", int64_t(7), u"  0.07"_s},
        FormatCase{"exported_flag", &Kopfdaten, "EXPORTED_N_NI", int64_t(1), u"1"_s}));

INSTANTIATE_TEST_SUITE_P(
    Texts, FieldFormat,
    ::testing::Values(FormatCase{"padded", &Holzdaten, "BAUMART", u"FI"_s, u"FI "_s},
                      FormatCase{"exact", &Holzdaten, "BAUMART", u"BUE"_s, u"BUE"_s},
                      FormatCase{"cut", &Holzdaten, "BAUMART", u"FICHTE"_s, u"FIC"_s},
                      FormatCase{"empty", &Region, "REGION_A", kEmpty, u"        "_s},
                      FormatCase{"empty_string", &Region, "REGION_A", u""_s, u"        "_s},
                      FormatCase{"umlauts_padded", &Holzdaten, "BAUMART", u"Ä"_s, u"Ä  "_s},
                      FormatCase{"umlauts_cut", &Holzdaten, "BAUMART", u"ÄÖÜß"_s, u"ÄÖÜ"_s},
                      FormatCase{"umlauts_fill", &Region, "REGION_A", u"Süd-Öst"_s, u"Süd-Öst "_s},
                      FormatCase{"leading_blanks_kept", &Holzdaten, "PARZ", u"  7"_s, u"  7  "_s},
                      FormatCase{"number_in_text", &Holzdaten, "DMSTUFE", int64_t(3), u"3 "_s},
                      FormatCase{"structure", &Struktur, "STRUKTUR", u"T00300"_s, u"T00300"_s}));

TEST(FormatScaled, PlacesThePointWithoutPadding)
{
    struct Row {
        int64_t value;
        int decimals;
        const char* expected;
    };
    const Row rows[] = {
        {135, 2, "1.35"},
        {45, 2, "0.45"},
        {100, 2, "1.00"},
        {0, 2, "0.00"},
        {-135, 2, "-1.35"},
        {-5, 2, "-0.05"},
        {7, 0, "7"},
        {-7, 0, "-7"},
        {1000, 3, "1.000"},
        {std::numeric_limits<int64_t>::max(), 2, "92233720368547758.07"},
        {std::numeric_limits<int64_t>::min(), 2, "-92233720368547758.08"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(formatScaled(row.value, row.decimals), QString::fromLatin1(row.expected))
            << row.value << " with " << row.decimals << " decimals";
    }
}

} // namespace
} // namespace brovant
