// Screens: the settings screen ("Funktionen/Einstellungen"): the functions (initialise the
// database, load a new configuration, backup options, reset), the ways to the configuration
// screens, and the device settings (date, time, volume, backlight, switch-off) applied at once.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"

#include <memory>

class QCheckBox;
class QComboBox;
class QDateEdit;
class QPushButton;
class QSlider;
class QStackedWidget;
class QTabBar;
class QTimeEdit;

namespace brovant {

class SettingsLogic;

class SettingsDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    enum Control {
        kDeleteAll = 1019,
        kCommunication = 1020,
        kTabs = 1021,
        kDate = 1022,
        kTime = 1023,
        kVolume = 1024,
        kBacklightMains = 1026,
        kReloadConfiguration = 1030,
        kCompanyHeader = 1036,
        kTariffAssignment = 1037,
        kBacklightBattery = 1043,
        kReset = 1045,
        kBackup = 1046,
        kRestore = 1047,
        kAutomaticBackup = 1194,
        kCardBackup = 1195,
        kSwitchOff = 1207,
    };
    // "Ausschalten:" entries and the seconds each writes.
    static const std::array<std::pair<const char*, int>, 6> kSwitchOffChoices;

    explicit SettingsDlg(ScreenServices& services);
    ~SettingsDlg() override;

    void enter() override;
    void onCommand(int id) override;
    void onCancel() override;

    void showTab(int index);

protected:
    void setUp() override;

private:
    QPushButton* addButton(QWidget* page, int id, const QString& caption, int x, int y, int w);
    void applyDateTime(int changed);
    void goTo(Screen* target);

    std::unique_ptr<SettingsLogic> m_logic;
    QTabBar* m_tabs = nullptr;
    QStackedWidget* m_pages = nullptr;
    QCheckBox* m_autoBackup = nullptr;
    QCheckBox* m_cardBackup = nullptr;
    QDateEdit* m_date = nullptr;
    QTimeEdit* m_time = nullptr;
    QSlider* m_volume = nullptr;
    QSlider* m_backlightMains = nullptr;
    QSlider* m_backlightBattery = nullptr;
    QComboBox* m_switchOff = nullptr;
    bool m_loading = false;
};

} // namespace brovant
