// Evaluation: a list's trees by species and diameter class: stems (the sum of STK) and corrected
// volume per class, per species and all together, and the bar chart of the stems. Species are
// grouped and ordered as the totals screen groups them, and volumes are corrected record by
// record, so every sum agrees with Totals. Drawing the chart is not its business.
#pragma once

#include "evaluation/Report.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace brovant {

class Database;
struct MasterTables;

class DiameterDistribution {
public:
    struct DiameterClass {
        QString code;      // DMSTUFE without its padding
        int diameter = 0;  // the diameter the class stands for (0 for an unknown class)
        bool known = true; // false: a code the class rows do not hold

        // As printed: a tree without a class shows a dash.
        QString label() const { return code.isEmpty() ? QStringLiteral("–") : code; }
    };
    struct Cell {
        std::int64_t count = 0;  // stems
        std::int64_t volume = 0; // hundredths of m3, corrected record by record
    };
    struct Series {
        QString species;         // empty for all species together
        std::vector<Cell> cells; // one per class
        std::int64_t count = 0;
        std::int64_t volume = 0;
    };

    // The trees of list `listId` over the class rows of `tables`. Every class row is a class, in
    // table order (a code met twice counts once); codes of trees that no class row holds follow,
    // sorted. Nothing when the list has no header record or its trees cannot be read.
    [[nodiscard]] static std::optional<DiameterDistribution>
    compute(Database& db, std::int64_t listId, const MasterTables& tables);

    const std::vector<DiameterClass>& classes() const { return m_classes; }
    // In the totals screen's order.
    const std::vector<Series>& species() const { return m_species; }
    const Series& all() const { return m_all; }
    int factor() const { return m_factor; }

    // The classes from the first to the last that hold stems in `series` (empty range: first >
    // last), so a chart shows no empty tails.
    std::pair<int, int> occupied(const Series& series) const;
    // Stems per class of one species (index into species()), or of all species for -1, as one
    // series over the occupied classes.
    ReportChart chart(int species) const;
    // All species stacked over the classes any species occupies.
    ReportChart stackedChart() const;

private:
    std::vector<DiameterClass> m_classes;
    std::vector<Series> m_species;
    Series m_all;
    int m_factor = 0;
};

} // namespace brovant
