#include "data/FieldDescriptor.h"

#include <cstring>

namespace brovant {

int TableDescriptor::indexOf(QStringView field) const
{
    for (size_t i = 0; i < fields.size(); ++i) {
        if (field.compare(QLatin1StringView(fields[i].name), Qt::CaseInsensitive) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

const FieldDescriptor* TableDescriptor::keyField() const
{
    for (const FieldDescriptor& f : fields) {
        if (f.key)
            return &f;
    }
    return nullptr;
}

bool isEmptyValue(const FieldValue& value)
{
    if (std::holds_alternative<std::monostate>(value))
        return true;
    if (const auto* text = std::get_if<QString>(&value))
        return text->isEmpty();
    return false;
}

std::int64_t numberOf(const FieldValue& value)
{
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return *n;
    if (const auto* s = std::get_if<QString>(&value))
        return s->trimmed().toLongLong();
    return 0;
}

QString textOf(const FieldValue& value)
{
    if (const auto* s = std::get_if<QString>(&value))
        return *s;
    if (const auto* n = std::get_if<std::int64_t>(&value))
        return QString::number(*n);
    return {};
}

QString formatScaled(std::int64_t value, int decimals)
{
    if (decimals <= 0)
        return QString::number(value);
    // Work on the magnitude as unsigned so the smallest int64 has no overflow.
    const bool negative = value < 0;
    std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    std::uint64_t scale = 1;
    for (int i = 0; i < decimals && i < 19; ++i)
        scale *= 10;
    const QString whole = QString::number(magnitude / scale);
    const QString fraction = QString::number(magnitude % scale).rightJustified(decimals, u'0');
    return (negative ? QStringLiteral("-") : QString()) + whole + u'.' + fraction;
}

QString formatValue(const FieldDescriptor& field, const FieldValue& value)
{
    const int width = field.width();
    if (field.type == FieldType::Text) {
        QString text;
        if (const auto* s = std::get_if<QString>(&value))
            text = *s;
        else if (const auto* n = std::get_if<std::int64_t>(&value))
            text = QString::number(*n);
        return text.leftJustified(width, u' ', true);
    }
    std::int64_t number = 0;
    if (const auto* n = std::get_if<std::int64_t>(&value))
        number = *n;
    else if (const auto* s = std::get_if<QString>(&value))
        number = s->trimmed().toLongLong();
    return formatScaled(number, field.decimals).rightJustified(width, u' ');
}

QString withoutTrailingBlanks(QString text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1] == u' ')
        --end;
    text.truncate(end);
    return text;
}

} // namespace brovant
