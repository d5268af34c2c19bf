// Screens: the restore screen ("Wiederherstellen", "Auswahl Datensicherung"): the backups of the
// folder in force with the time of their last change, the newest preselected. "OK" restores the
// chosen one through the backup service, "Abbruch" leaves everything as it is. A modal dialog
// over the main window; what a restore does is the backup service's.
#pragma once

#include <QDialog>

#include <functional>

class QListWidget;
class QPushButton;

namespace brovant {

struct ScreenServices;

class RestoreDlg : public QDialog {
    Q_OBJECT
public:
    enum Control { kOk = 1, kCancel = 2 };

    // Runs the filled dialog; exec() unless replaced. Tests and the demo tour show it, act on it
    // and return. An empty runner puts exec() back.
    using Runner = std::function<void(RestoreDlg&)>;
    static void setRunner(Runner runner);

    // Opens the screen over the main window (after the notice when the card is missing, without
    // it), then shows the active screen full screen again. True when a backup was restored.
    static bool open(ScreenServices& services);

    RestoreDlg(ScreenServices& services, QWidget* parent);

    bool restored() const { return m_restored; }
    QListWidget* list() const { return m_list; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void restoreSelected();

    ScreenServices& m_services;
    QListWidget* m_list = nullptr;
    QPushButton* m_ok = nullptr;
    bool m_restored = false;
};

} // namespace brovant
