// Screens: the main menu, the program's home screen: title, running clock and date, and the four
// ways into the work areas. The only place the program is ended from.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"

#include <QTimer>

class QLabel;

namespace brovant {

class MainMenuDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    static constexpr const char* kTitle = "Brovanterfassung V3.03t";
    static constexpr int kNewList = 1004;
    static constexpr int kSelectList = 1006;
    static constexpr int kSystemInfo = 1005;
    static constexpr int kSettings = 1007;

    explicit MainMenuDlg(ScreenServices& services);

    void enter() override;
    void leave() override;
    void onCommand(int id) override;
    void onCancel() override;

    // Reads the clock and writes "%02d:%02d:%02d" and "%02d.%02d.%4d".
    void updateClock();
    bool clockRunning() const { return m_timer.isActive(); }
    static QString clockText(const QDateTime& time);
    static QString dateText(const QDateTime& time);

protected:
    void setUp() override;

private:
    void openWorkArea(Screen* target, bool needsMasterData, bool resetList);

    QTimer m_timer;
    QLabel* m_clock = nullptr;
    QLabel* m_date = nullptr;
};

} // namespace brovant
