// Evaluation: the assortment distribution of a list ("Holzsorten-Verteilung"): each species'
// corrected volume split over the six assortments SORTE00 .. SORTE05. The species-volume rows of
// the master data (ID_TYPE 4: BAUMART, DMSTUFE, HS1 .. HS6) give, for a tree of that species and
// class, the volume each assortment takes of it; HS1 belongs to SORTE00, HS6 to SORTE05. A tree's
// corrected volume is split in those proportions, so the assortments of a species add up to its
// total on the totals screen; trees with no such row (or one of all zeros) stay unsorted.
#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace brovant {

class Database;
struct MasterTables;

class AssortmentDistribution {
public:
    static constexpr int kAssortments = 6;

    struct Species {
        QString species; // as the totals screen shows it; empty for all species together
        std::array<std::int64_t, kAssortments> volumes{}; // hundredths of m3
        std::int64_t unsorted = 0;
        std::int64_t volume = 0; // the assortments and the unsorted rest together
    };

    // Nothing when the list has no header record or its trees cannot be read.
    [[nodiscard]] static std::optional<AssortmentDistribution> compute(Database& db,
                                                                       std::int64_t listId);

    // In the totals screen's order.
    const std::vector<Species>& species() const { return m_species; }
    // The species summed, assortment by assortment.
    Species all() const;

    // The printed name of assortment k: its SORTE code, or "Sorte k+1" when none was imported.
    static QString name(const MasterTables& tables, int k);

    // Rounds the unrounded shares `exact` of `total` hundredths (they add up to it) to whole
    // hundredths that add up to `total` exactly: the largest remainders get the spare ones.
    static std::array<std::int64_t, kAssortments>
    split(std::int64_t total, const std::array<double, kAssortments>& exact);

private:
    std::vector<Species> m_species;
};

} // namespace brovant
