// Screen framework: a screen with on-screen keys. Key releases arrive as commands; character keys
// type into the focused field; "Ziff" (1009) switches between the screen's keyboards; the bar's
// field keys (6001 to 6004) move between fields, delete and confirm.
#pragma once

#include "app/OnScreenKeyboard.h"
#include "app/Screen.h"

#include <vector>

namespace brovant {

class KeypadScreen : public Screen {
    Q_OBJECT
public:
    static constexpr int kZiff = 1009;
    static constexpr int kPreviousField = 6001;
    static constexpr int kNextField = 6002;
    static constexpr int kBackspace = 6003;
    static constexpr int kEnter = 6004;

    using Screen::Screen;

    // Attaches a keyboard (the screen takes it over); the first one attached is shown. More than
    // one keyboard makes "Ziff" switch between them in turn.
    void addKeyboard(OnScreenKeyboard* keyboard);
    OnScreenKeyboard* keyboard() const { return m_active; }
    void showKeyboard(int index);
    int keyboardIndex() const;

    void onCommand(int id) override;

    // What a bar's Enter does: by default the screen's confirm command.
    virtual void onEnterKey() { onCommand(kOk); }

private:
    void typeText(const QString& text);
    void sendKey(int key);
    std::vector<OnScreenKeyboard*> m_keyboards;
    OnScreenKeyboard* m_active = nullptr;
};

} // namespace brovant
