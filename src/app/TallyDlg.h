// Screens: the tally screen ("Holzaufnahme"): one list's trees, entered field by field with the key
// bar of the focused field, confirmed with Enter in the diameter, browsed with the cursor keys.
// What an entry means, what is checked and what is written is TallyLogic's; this class shows the
// record, feeds the edits and keys into the logic and switches screens. The caliper's measurements
// arrive here while the screen is shown.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/TallyLogic.h"

#include <array>
#include <utility>
#include <vector>

class QLabel;
class QLineEdit;

namespace brovant {

class TallyDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    using Field = TallyLogic::Field;

    // Key commands.
    static constexpr int kEnd = 1501;          // "Ende"
    static constexpr int kFirst = 1502;        // "Anfang"
    static constexpr int kDelete = 1503;       // "Delete"
    static constexpr int kEval = 1504;         // "Eval"
    static constexpr int kClasses = 1505;      // "BHD/Stufe"
    static constexpr int kSpeciesSetup = 1506; // "Einstellung"
    static constexpr int kEtc = 1507;          // "Etc": the secondary key bar and back
    static constexpr int kAlpha = 1508;        // "Alpha": the letters and back
    static constexpr int kUp = 1509;
    static constexpr int kDown = 1510;
    static constexpr int kClear = 1511; // "C" on the keypad: empties the field
    // What the code keys of the list bars send.
    static constexpr int kSpeciesEntry = 1521;
    static constexpr int kTariffEntry = 1522;
    static constexpr int kQualityEntry = 1523;
    static constexpr int kCaliperClassEntry = 1524;

    // Keyboards in the order they are attached.
    enum KeyboardIndex {
        SpeciesKeys,
        TariffKeys,
        QualityKeys,
        CaliperClassKeys,
        Numeric,
        Secondary,
        Letters
    };

    explicit TallyDlg(ScreenServices& services);
    ~TallyDlg() override;

    TallyLogic& logic() { return m_logic; }
    QLineEdit* edit(Field field) const { return m_edits[size_t(field)]; }

    void enter() override;
    void leave() override;
    void onCommand(int id) override;
    // Enter: on to the next field; in the diameter, the last one, the confirm action.
    void onEnterKey() override;
    void onOk() override;
    void onCancel() override;

public slots:
    // A caliper measurement (species key 0..7 or -1, diameter in cm); taken only while this screen
    // is the active one.
    void takeMeasurement(int speciesKey, int diameter);
    // A caliper's diameter sentence with the species code sent before it; a code that is neither
    // a main species nor the caliper's own species (and an empty one) keeps the species.
    void takeSentenceMeasurement(const QString& speciesCode, int diameter);

protected:
    void setUp() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildFields();
    // The edit's text into the logic when it differs from what the logic shows.
    void commit(QLineEdit* edit);
    void commitFocused();
    int fieldOf(const QWidget* widget) const;
    // Every edit, the volume and the preview lines from the logic.
    void refresh();
    void refreshCodeKeys();
    void focusField(Field field);
    void fieldFocused(QLineEdit* edit);
    KeyboardIndex barOf(Field field) const;
    Field focusedField() const;
    void codeChosen(int command, int entry, const QString& code);
    void moveField(int step);
    // After a load, save or navigation: the fields shown afresh, the focus where the logic says.
    void settle();
    void toTotals();
    void switchTo(Screen* target);

    // One measurement of either caliper format: a species text, when there is one, goes in
    // before the key is applied.
    struct CaliperMeasurement {
        int speciesKey = -1;
        QString species;
        int diameter = 0;
    };
    void takeCaliperMeasurement(const CaliperMeasurement& measurement);
    // "Kluppe: verbunden" or "Kluppe: getrennt" while the caliper is switched on, else nothing.
    void showCaliperState();

    TallyLogic m_logic;
    QLabel* m_title = nullptr;
    QLabel* m_position = nullptr;
    QLabel* m_preview1 = nullptr;
    QLabel* m_preview2 = nullptr;
    std::array<QLineEdit*, TallyLogic::kFields> m_edits{};
    QLineEdit* m_volume = nullptr;
    std::array<OnScreenKeyboard*, 4> m_codeBars{};
    QStringList m_tariffCodes;
    QLabel* m_caliperState = nullptr;
    // Measurements that came while one was being taken (a message was open).
    std::vector<CaliperMeasurement> m_pendingMeasurements;
    bool m_measuring = false;
    // The screen moves the focus itself (and selects the value at once).
    bool m_focusing = false;
    QMetaObject::Connection m_focusConnection;
};

} // namespace brovant
