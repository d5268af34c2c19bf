// Data layer: how a table and its fields are described, and the one place where a field's
// formatted value (fixed width, decimal point placed) is computed. List files and screens depend
// on these widths.
#pragma once

#include <QString>

#include <cstdint>
#include <span>
#include <variant>

namespace brovant {

enum class FieldType { Text = 0, Numeric = 1 };

struct FieldDescriptor {
    const char* name;
    FieldType type;
    int length;   // characters of a text field; integral digits of a numeric field
    int decimals; // numeric fields hold value * 10^decimals as an integer
    bool key;     // the table's unique record number

    // Characters of the formatted value: the text length, or digits plus point and decimals.
    constexpr int width() const
    {
        return type == FieldType::Text ? length : length + (decimals > 0 ? decimals + 1 : 0);
    }
};

constexpr FieldDescriptor textField(const char* name, int length, bool key = false)
{
    return {name, FieldType::Text, length, 0, key};
}

constexpr FieldDescriptor numericField(const char* name, int digits, int decimals, bool key = false)
{
    return {name, FieldType::Numeric, digits, decimals, key};
}

struct TableDescriptor {
    const char* name;
    std::span<const FieldDescriptor> fields;

    int indexOf(QStringView field) const; // -1 when the table has no such field
    const FieldDescriptor* keyField() const;
};

// A stored value: empty, a scaled integer, or text.
using FieldValue = std::variant<std::monostate, std::int64_t, QString>;

bool isEmptyValue(const FieldValue& value);

// Text: blank-padded (or cut) to its length. Numbers: right-aligned in the field's width with the
// decimal point placed ("   1.35" for 135 in a field of 4 digits and 2 decimals). An empty
// field reads as blanks (text) or 0 (number).
QString formatValue(const FieldDescriptor& field, const FieldValue& value);

// A text field's value as typed: the blanks that pad it to its width removed.
QString withoutTrailingBlanks(QString text);

// A number field's integer: empty reads as 0, text as the digits it holds.
std::int64_t numberOf(const FieldValue& value);

// A field's text as stored, a number in digits, empty as "".
QString textOf(const FieldValue& value);

// Scaled integer of a number as it is shown: 135 with 2 decimals -> "1.35". No padding.
QString formatScaled(std::int64_t value, int decimals);

} // namespace brovant
