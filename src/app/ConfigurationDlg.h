// Screens: the configuration screen, bound to the one row of Brov_Konfiguration. Three pages
// (company header, modem phone book, FTP access) chosen by the keys at the top, edited with the
// full soft keyboard; confirming writes the shown page to the row and the registry.
#pragma once

#include "app/RecordScreen.h"
#include "app/ScreenServices.h"
#include "workflow/ConfigurationLogic.h"

#include <array>
#include <vector>

class QPushButton;

namespace brovant {

class ConfigurationDlg : public RecordScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // Page keys send kPageCommand + page.
    static constexpr int kPageCommand = 1201;

    explicit ConfigurationDlg(ScreenServices& services);

    // Switches to this screen at `page` (a ConfigPage value), or turns to that page when the
    // screen is already shown. The screen returns to whatever was active before it.
    void openPage(int page);
    ConfigPage page() const { return m_page; }

    void enter() override;
    void onCommand(int id) override;
    void onOk() override;
    void onCancel() override;

protected:
    void setUp() override;

private:
    void buildPage(ConfigPage page, QWidget* container);
    void showPage(ConfigPage page);
    bool pageModified();
    bool confirmPage();
    void returnToCaller();

    ConfigurationLogic m_logic;
    ConfigPage m_page = ConfigPage::CompanyHeader;
    std::array<QPushButton*, ConfigurationLogic::kPages> m_pageKeys{};
    std::array<QWidget*, ConfigurationLogic::kPages> m_pageFields{};
    // The edits of each page, in the order of its bindings.
    std::array<std::vector<QLineEdit*>, ConfigurationLogic::kPages> m_edits;
};

} // namespace brovant
