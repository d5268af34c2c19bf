// Evaluation: the totals of one list by species ("Gesamtsumme"): tree count and corrected volume
// summed per species code, the grand total, and the cells the totals screen and the admin tool
// show. Reads the list's trees and correction factor; the screen, its key bar and the printouts
// are not its business.
#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace brovant {

class Database;

struct SpeciesTotal {
    QString species;         // BAUMART as stored
    std::int64_t count = 0;  // sum of STK
    std::int64_t volume = 0; // hundredths of m3, each record corrected before summing
};

class Totals {
public:
    static constexpr int kColumns = 4; // "HA", "Kub.", "Stk", "d-Kub."
    using Row = std::array<QString, kColumns>;

    // How the trees are read, and so the order of the species rows (first appearance): sorted
    // by code, as "Eval" prepares them, or as the tally holds them, in the order tallied.
    enum class Order { BySpecies, AsTallied };

    // Sums the trees of list `listId` with the list's KOR_FAKTOR_N. Nothing when the list has no
    // header record or its trees cannot be read.
    [[nodiscard]] static std::optional<Totals> compute(Database& db, std::int64_t listId,
                                                       Order order = Order::BySpecies);

    // Species in order of first appearance as the trees were read.
    const std::vector<SpeciesTotal>& species() const { return m_species; }
    std::int64_t count() const { return m_count; }
    std::int64_t volume() const { return m_volume; }
    int factor() const { return m_factor; }

    // The list view: one row per species, one empty row, then the grand total (no code).
    std::vector<Row> rows() const;
    // One row: the code, "%7.2f" volume in m3, "%4d" count, "%5.2f" mean volume per tree (0 for
    // no trees; a hundredth's half rounds up).
    static Row cells(const QString& code, std::int64_t volume, std::int64_t count);

private:
    std::vector<SpeciesTotal> m_species;
    std::int64_t m_count = 0;
    std::int64_t m_volume = 0;
    int m_factor = 0;
};

// Whether the list holds at least one tree ("Keine Daten vorhanden!" otherwise).
bool hasTrees(Database& db, std::int64_t listId);

} // namespace brovant
