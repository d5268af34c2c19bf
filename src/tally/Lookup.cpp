#include "tally/Lookup.h"

#include "data/Schema.h"

#include <algorithm>

namespace brovant::lookup {
namespace {

QString formatted(QStringView field, const QString& text)
{
    const FieldDescriptor& d = schema::Holzdaten.fields[size_t(schema::Holzdaten.indexOf(field))];
    return formatValue(d, FieldValue(text));
}

} // namespace

QString tariffCode(const QString& text)
{
    return formatted(u"TARIF", text);
}

QString classCode(const QString& text)
{
    return formatted(u"DMSTUFE", text);
}

QString speciesCode(const QString& text)
{
    return formatted(u"BAUMART", text);
}

std::optional<MasterTables::DiameterClass> classOf(const MasterTables& tables, int diameter)
{
    if (diameter <= 0 || tables.classes.empty())
        return std::nullopt;
    // The running maximum reaches the diameter first at the first class whose own bound does.
    const auto at = std::lower_bound(tables.classReach.begin(), tables.classReach.end(), diameter);
    if (at == tables.classReach.end())
        return tables.classes.back();
    return tables.classes[size_t(at - tables.classReach.begin())];
}

std::optional<int> treeVolume(const MasterTables& tables, const QString& tariff,
                              const QString& diameterClass)
{
    return tables.volumes.find(tariff, diameterClass);
}

std::int64_t recordVolume(const MasterTables& tables, const QString& tariff,
                          const QString& diameterClass, std::int64_t count)
{
    const std::optional<int> one = treeVolume(tables, tariff, diameterClass);
    return one ? *one * count : 0;
}

QStringList tariffChoices(const MasterTables& tables, const QString& species)
{
    return tables.speciesTariffChoices.value(speciesCode(species));
}

} // namespace brovant::lookup
