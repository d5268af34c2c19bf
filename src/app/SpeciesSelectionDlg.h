// Screens: the species selection screen ("* Einstellung der Holzart *"), reached from the tally.
// A species code typed into the edit goes to one of the twelve main-species slots (the tally's
// species keys and the caliper's keys "1" to "7") or to the caliper's key "8"; each key shows the
// code its slot holds. The settings are written at once.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "masterdata/MasterTables.h"

#include <optional>

class QLabel;
class QLineEdit;

namespace brovant {

class SpeciesSelectionDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // Key commands: "HA1" is kFirstSlot, "HA12" kFirstSlot + 11.
    static constexpr int kFirstSlot = 1601;
    static constexpr int kCaliperKey = 1613; // "Kl.8"
    static constexpr int kLetters = 1614;    // "ABC"

    // Keyboards in the order they are attached.
    enum KeyboardIndex { SlotKeys, Digits, Letters };

    explicit SpeciesSelectionDlg(ScreenServices& services);

    void enter() override;
    void onCommand(int id) override;
    // Enter: back from typing to the slot keys.
    void onEnterKey() override;
    void onCancel() override;

protected:
    void setUp() override;

private:
    // The edit's code as it is stored (three characters), or nothing after a beep.
    std::optional<QString> typedCode();
    void assignSlot(int slot);
    void assignCaliperKey();
    void showCodes();

    OnScreenKeyboard* m_slots = nullptr;
    QLineEdit* m_code = nullptr;
};

} // namespace brovant
