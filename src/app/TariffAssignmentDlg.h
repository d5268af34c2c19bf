// Screens: the tariff assignment screen over the assignment rows of Brov_Einstellungen. Three
// lines show the rows before the current one, the edit line below them holds region, species and
// tariff; each can be typed or picked from a list keyboard. Keys browse, save and delete.
#pragma once

#include "app/RecordScreen.h"
#include "app/ScreenServices.h"
#include "workflow/TariffAssignmentLogic.h"

#include <array>

class QLabel;

namespace brovant {

class TariffAssignmentDlg : public RecordScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    static constexpr int kUp = 1301;
    static constexpr int kDown = 1302;
    static constexpr int kSave = 1303;
    static constexpr int kDelete = 1304;
    // Keys that show a keyboard: the three lists and the letters.
    static constexpr int kRegionKeys = 1305;
    static constexpr int kSpeciesKeys = 1306;
    static constexpr int kTariffKeys = 1307;
    static constexpr int kLetterKeys = 1308;
    // What the code keys of the three list keyboards send.
    static constexpr int kRegionEntry = 1311;
    static constexpr int kSpeciesEntry = 1312;
    static constexpr int kTariffEntry = 1313;

    // Keyboards in the order they are attached.
    enum KeyboardIndex { Letters, Digits, RegionList, SpeciesList, TariffList };

    explicit TariffAssignmentDlg(ScreenServices& services);

    // Switch to this screen for all regions, or for one (from the list header). The screen
    // returns to whatever was active before it.
    void openAll();
    void openRegion(const QString& region);
    TariffAssignmentLogic& logic() { return m_logic; }

    // The fixed-pitch font of the history and edit lines.
    static QFont fixedFont();

    void enter() override;
    void onCommand(int id) override;
    void onOk() override;
    void onCancel() override;

protected:
    void setUp() override;

private:
    void refresh();
    void showList(KeyboardIndex list, QLineEdit* target);
    void entryChosen(KeyboardIndex list, const QString& code);
    void returnToCaller();

    TariffAssignmentLogic m_logic;
    bool m_regionOnly = false;
    QString m_region;
    QLabel* m_title = nullptr;
    QLabel* m_position = nullptr;
    std::array<QLineEdit*, TariffAssignmentLogic::kHistoryLines> m_history{};
    QLineEdit* m_regionEdit = nullptr;
    QLineEdit* m_speciesEdit = nullptr;
    QLineEdit* m_tariffEdit = nullptr;
    // The region, species and tariff lists.
    std::array<OnScreenKeyboard*, 3> m_lists{};
};

} // namespace brovant
