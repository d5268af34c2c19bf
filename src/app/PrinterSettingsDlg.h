// Screens: the printer and communication settings screen, opened by "Kommunikation". Three tabs:
// the transfer channel (with the modem's phone-book entry and the way to the cable settings), the
// caliper, and the printer. Everything is chosen by tapping; confirming stores the choices and
// cancelling drops them.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/CommunicationSettingsLogic.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QStackedWidget;
class QTabBar;

namespace brovant {

class PrinterSettingsDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    enum Tab { TransferTab = 0, CaliperTab = 1, PrinterTab = 2 };

    explicit PrinterSettingsDlg(ScreenServices& services);

    void enter() override;
    void onOk() override;
    void onCancel() override;

    void showTab(int index);

protected:
    void setUp() override;

private:
    void buildTransferTab(QWidget* page);
    void buildCaliperTab(QWidget* page);
    void buildPrinterTab(QWidget* page);
    void fillFields();
    void showPrinterType();
    void updateEnabled();
    void stepPageLength(int step);
    void openCableSettings();
    void returnToCaller();

    CommunicationSettingsLogic m_logic;
    CommunicationSettings m_shown;
    // The screen that opened this one; the cable settings screen comes back here.
    Screen* m_caller = nullptr;
    bool m_inCableSettings = false;
    bool m_loading = false;

    QTabBar* m_tabs = nullptr;
    QStackedWidget* m_pages = nullptr;
    QButtonGroup* m_modes = nullptr;
    QComboBox* m_modemEntry = nullptr;
    QLabel* m_ftpServer = nullptr;
    QLabel* m_cableLine = nullptr;
    QCheckBox* m_caliperActive = nullptr;
    QComboBox* m_caliperPort = nullptr;
    QComboBox* m_caliperFormat = nullptr;
    QComboBox* m_printerType = nullptr;
    QComboBox* m_printerPort = nullptr;
    QComboBox* m_printerBaudrate = nullptr;
    QLabel* m_pageLength = nullptr;
    QPushButton* m_pageLengthDown = nullptr;
    QPushButton* m_pageLengthUp = nullptr;
    QCheckBox* m_ask = nullptr;
    QComboBox* m_printFolder = nullptr;
};

} // namespace brovant
