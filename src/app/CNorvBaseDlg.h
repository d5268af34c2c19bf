// Screen framework: a full-screen dialog. Every screen is created once, hidden, and is then only
// shown and hidden by the application's single active-screen slot. Commands (button ids, key
// ids) arrive at OnCommand; a screen maps them to its handlers.
#pragma once

#include <QFont>
#include <QStringList>
#include <QWidget>

class QLabel;

namespace brovant {

class CNorvMFCApp;

class CNorvBaseDlg : public QWidget {
    Q_OBJECT
public:
    // Shared command ids.
    static constexpr int IDOK = 1;
    static constexpr int IDCANCEL = 2;

    CNorvBaseDlg(CNorvMFCApp& app, const QString& objectName);

    // First-time set-up; runs once, from Create().
    void Create();
    bool IsCreated() const { return m_created; }

    // Per activation: runs each time the screen is switched to, before it is shown.
    virtual void InitDialog() {}
    // Runs when the screen is left (timers stop here).
    virtual void OnLeave() {}

    virtual void OnCommand(int id);
    // The screen's cancel command: by default back to the screen that was active before.
    virtual void OnCancel();
    virtual void OnOK() {}

    // Switches to this screen, or runs its per-activation set-up again when it already is the
    // active one.
    void Activate();

    void ShowFullScreen();
    void Hide(int flag = 0);
    CNorvBaseDlg* GetPrevDlg() const { return m_prev; }
    void setPrevDlg(CNorvBaseDlg* prev) { m_prev = prev; }

    static QFont GetDefaultFont();
    // The screen's centred bold title line across the full width, named "title".
    QLabel* addTitle(const QString& text, int y, int height, int pixelSize = 13);
    // Index of `text` among the first `count` entries of `table`, or -1.
    static int TextOffset(const QString& text, const QStringList& table, int count);

    CNorvMFCApp& app() const { return m_app; }

protected:
    virtual void OnInitDialog() {}
    void keyPressEvent(QKeyEvent* event) override;

private:
    CNorvMFCApp& m_app;
    CNorvBaseDlg* m_prev = nullptr;
    bool m_created = false;
};

} // namespace brovant
