// Screens: the system information screen: software version, the hardware, the battery (state word
// or charge bar), date and time, refreshed each second while the screen is shown. It only reads;
// back returns to the screen it came from.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"

#include <QTimer>

class QLabel;
class QProgressBar;

namespace brovant {

struct BatteryStatus;

class SystemInfoDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    static constexpr int kRefreshMs = 1000;

    explicit SystemInfoDlg(ScreenServices& services);

    void enter() override;
    void leave() override;

    // Reads the battery and the clock into the screen.
    void refresh();
    bool refreshRunning() const { return m_timer.isActive(); }

    // "Version 3.3.0 vom 04.05.2026" from the build's version and a __DATE__ text.
    static QString buildLine(const QString& version, const char* compileDate);

protected:
    void setUp() override;

private:
    void showBattery(const BatteryStatus& status);

    QTimer m_timer;
    QProgressBar* m_batteryBar = nullptr;
    QLabel* m_batteryText = nullptr;
    QLabel* m_date = nullptr;
    QLabel* m_time = nullptr;
};

} // namespace brovant
