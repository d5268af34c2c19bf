// Screens: the cable settings screen ("Einstellungen - Kabel"), reached from the printer and
// communication settings: the port (COM1..COM9 or ActiveSync) and, for a serial port, its baud
// rate, word length and stop bits. Both confirm and cancel lead back to the communication screen.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/CableSettingsLogic.h"

#include <array>

class QComboBox;
class QLabel;

namespace brovant {

class CableSettingsDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    explicit CableSettingsDlg(ScreenServices& services);

    void enter() override;
    void onOk() override;
    void onCancel() override;

    // The lists' entries as they stand.
    CableEntries shown() const;

protected:
    void setUp() override;

private:
    void showSerialFields();
    void returnToCommunication();

    CableSettingsLogic m_logic;
    QComboBox* m_port = nullptr;
    // Baud rate, word length, stop bits, each with its caption.
    std::array<QComboBox*, 3> m_serial{};
    std::array<QLabel*, 3> m_serialLabels{};
};

} // namespace brovant
