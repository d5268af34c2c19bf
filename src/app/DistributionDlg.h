// Screens: the diameter distribution ("Durchmesserverteilung"), opened by "Vert." on the totals
// screen: the current list's stems per diameter class as a bar chart, all species together or one
// species at a time, stepped through with the keys. The counts are DiameterDistribution's, the
// drawing ChartPainter's; back returns to the totals.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "evaluation/DiameterDistribution.h"

#include <optional>

class QLabel;

namespace brovant {

class DistributionChart;

class DistributionDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // Key commands.
    static constexpr int kPreviousSpecies = 1301;
    static constexpr int kAllSpecies = 1302;
    static constexpr int kNextSpecies = 1303;

    explicit DistributionDlg(ScreenServices& services);

    // -1 while all species are shown, else the index into the distribution's species.
    int shownSpecies() const { return m_species; }
    const ReportChart& shownChart() const;
    QString caption() const;

    void enter() override;
    void onCommand(int id) override;

protected:
    void setUp() override;

private:
    void showSpecies(int species);

    std::optional<DiameterDistribution> m_distribution;
    int m_species = -1;
    QLabel* m_caption = nullptr;
    DistributionChart* m_chart = nullptr;
};

} // namespace brovant
