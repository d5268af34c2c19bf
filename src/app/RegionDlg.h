// Screens: the region screen, opened from the list selection for the selected list. It lists the
// list's growth regions with their species and tariffs; a region is typed or picked from the list
// keyboard of the master regions and added, or the tapped one removed. What is checked and
// written is RegionLogic's; a region without tariffs leads to the tariff assignment.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/RegionLogic.h"

class QLabel;
class QLineEdit;
class QTreeWidget;

namespace brovant {

class RegionDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    static constexpr int kAdd = 1701;
    static constexpr int kRemove = 1702;
    // What the code keys of the region list send.
    static constexpr int kRegionEntry = 1711;

    // Keyboards in the order they are attached.
    enum KeyboardIndex { RegionList, Letters, Digits };

    explicit RegionDlg(ScreenServices& services);

    RegionLogic& logic() { return m_logic; }
    QTreeWidget* regionView() const { return m_view; }

    void enter() override;
    void onCommand(int id) override;
    void onOk() override;
    void onCancel() override;

protected:
    void setUp() override;

private:
    void showRows(int selected);
    void add();
    void remove();

    RegionLogic m_logic;
    QLabel* m_title = nullptr;
    QTreeWidget* m_view = nullptr;
    QLineEdit* m_region = nullptr;
    OnScreenKeyboard* m_regionKeys = nullptr;
};

} // namespace brovant
