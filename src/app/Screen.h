// Screen framework: a full-screen dialog. Every screen is created once, hidden, and is then only
// shown and hidden by its stack's single active-screen slot. Commands (button ids, key
// ids) arrive at onCommand; a screen maps them to its handlers.
#pragma once

#include <QFont>
#include <QStringList>
#include <QWidget>

#include <map>

class QLabel;

namespace brovant {

class KeyButton;
class ScreenStack;

class Screen : public QWidget {
    Q_OBJECT
public:
    // Shared command ids.
    static constexpr int kOk = 1;
    static constexpr int kCancel = 2;

    Screen(ScreenStack& stack, const QString& objectName);

    // First-time set-up; runs once, from create().
    void create();
    bool isCreated() const { return m_created; }

    // Per activation: runs each time the screen is switched to, before it is shown.
    virtual void enter() {}
    // Runs when the screen is left (timers stop here).
    virtual void leave() {}

    virtual void onCommand(int id);
    // The screen's cancel command: by default back to the screen that was active before.
    virtual void onCancel();
    virtual void onOk() {}

    // Switches to this screen, or runs its per-activation set-up again when it already is the
    // active one.
    void activate();

    void bringToFront();
    Screen* previousScreen() const { return m_prev; }
    void setPreviousScreen(Screen* prev) { m_prev = prev; }

    // The shown key sending `commandId` (bar keys exist once per keyboard), or null.
    KeyButton* shownKey(int commandId) const;

    static QFont defaultFont();
    // The screen's centred bold title line across the full width, named "title".
    QLabel* addTitle(const QString& text, int y, int height, int pixelSize = 13);
    // Index of `text` among the first `count` entries of `table`, or -1.
    static int indexIn(const QString& text, const QStringList& table, int count);

    ScreenStack& stack() const { return m_stack; }

protected:
    virtual void setUp() {}
    // The device's hardware key `qtKey` sends `command`, as the screen's own key would.
    void bindKey(int qtKey, int command) { m_keyCommands[qtKey] = command; }
    void keyPressEvent(QKeyEvent* event) override;

private:
    ScreenStack& m_stack;
    std::map<int, int> m_keyCommands;
    Screen* m_prev = nullptr;
    bool m_created = false;
};

} // namespace brovant
