// Screens: the totals screen ("Gesamtsumme"): the current list's corrected volume, tree count and
// mean volume per species, then the grand total, read afresh each time the screen opens. Its keys
// start the two printouts and open the diameter distribution; back returns to the screen that
// opened it. The sums are Totals'.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "evaluation/Totals.h"

class QTreeWidget;

namespace brovant {

class TotalsDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // Key commands.
    static constexpr int kPrint = 1201;      // "Ausdruck"
    static constexpr int kAssortment = 1202; // "Sortiment"
    static constexpr int kDistribution = 1203; // "Vert.": the diameter distribution

    explicit TotalsDlg(ScreenServices& services);

    QTreeWidget* totalsView() const { return m_view; }

    // Switches here showing the trees as the tally holds them, in the order tallied, not prepared
    // sorted again ("BHD/Stufe"). Every other way in sorts the species by code.
    void openAsTallied();

    void enter() override;
    void onCommand(int id) override;

protected:
    void setUp() override;

private:
    void rebuild();
    void switchTo(Screen* target);

    QTreeWidget* m_view = nullptr;
    Totals::Order m_order = Totals::Order::BySpecies;
    Totals::Order m_nextOrder = Totals::Order::BySpecies;
    // The screen this one was opened from, where back leads even after the distribution.
    Screen* m_opener = nullptr;
};

} // namespace brovant
