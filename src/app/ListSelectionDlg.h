// Screens: the list selection screen ("Listenauswahl"), the hub of the lists: the list view with
// one row per header record, three tabs that choose a key bar, and the keys that open, mark,
// delete, evaluate, send and receive lists and make the model list. What a key does to the
// database is ListSelectionLogic's; this class shows the rows and switches screens.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/ListSelectionLogic.h"

#include <memory>

class QTabBar;
class QTreeWidget;

namespace brovant {

class ListSelectionDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // Key commands.
    static constexpr int kMark = 1101;
    static constexpr int kNew = 1102;
    static constexpr int kTally = 1103;
    static constexpr int kDelete = 1104;
    static constexpr int kEval = 1105;
    static constexpr int kSend = 1106;
    static constexpr int kInfo = 1107;
    static constexpr int kReceive = 1108;
    static constexpr int kPrint = 1109;
    static constexpr int kRegion = 1110;
    static constexpr int kModel = 1111;
    static constexpr int kAssortment = 1112;

    enum Tab { TallyTab, EvaluationTab, TransferTab };

    explicit ListSelectionDlg(ScreenServices& services);
    ~ListSelectionDlg() override;

    ListSelectionLogic& logic() { return *m_logic; }
    QTreeWidget* listView() const { return m_list; }
    void showTab(int index);

    void enter() override;
    void onCommand(int id) override;
    void onOk() override;
    void onCancel() override;

protected:
    void setUp() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Reads the rows again and shows them.
    void rebuild();
    // Clears the view and fills it from the logic's rows, the selected row in view.
    void showRows();
    void showSelection();
    void go(ListSelectionLogic::Target target);
    void switchTo(Screen* target);
    void send();
    void receive();
    // Gives the list the focus again after a message or a transfer.
    void backToList();

    std::unique_ptr<ListSelectionLogic> m_logic;
    QTreeWidget* m_list = nullptr;
    QTabBar* m_tabs = nullptr;
    // While a transfer runs, or the rows are refilled, the view's notifications are not ours.
    bool m_busy = false;
};

} // namespace brovant
