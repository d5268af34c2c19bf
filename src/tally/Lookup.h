// Tally: what a tree's entries derive from the master data: the diameter class of a diameter,
// the tariffs offered for a species, the volume of a record, and the corrected volume that every
// evaluation sums. Works on the tables of the settings load; owns no data and reads no database.
#pragma once

#include "masterdata/MasterTables.h"

#include <cstdint>
#include <optional>

namespace brovant::lookup {

// Codes compare in their field's width ("FI" and "FI   " are the same tariff).
QString tariffCode(const QString& text);
QString classCode(const QString& text);
QString speciesCode(const QString& text);

// The class a diameter falls in: the first class whose bound is not below it, the top class above
// every bound. Nothing for a diameter of 0 or less, or without class rows.
std::optional<MasterTables::DiameterClass> classOf(const MasterTables& tables, int diameter);

// Volume of one tree of the tariff/class pair (hundredths of m3), or nothing.
std::optional<int> treeVolume(const MasterTables& tables, const QString& tariff,
                              const QString& diameterClass);

// The record's volume: one tree's volume times the count, 0 when there is none.
std::int64_t recordVolume(const MasterTables& tables, const QString& tariff,
                          const QString& diameterClass, std::int64_t count);

// The tariffs the assignment rows offer for a species, in table order (at most 200).
QStringList tariffChoices(const MasterTables& tables, const QString& species);

// Each record's share of a total: truncated per record, before summing.
constexpr std::int64_t correctedVolume(std::int64_t volume, std::int64_t factorPercent)
{
    return volume * factorPercent / 100;
}

} // namespace brovant::lookup
