// Screens: the list header screen, bound to one row of Brov_Kopfdaten. Nine pages: page 1 the
// list name and the fixed fields, pages 2 to 9 the sixteen free fields two by two. Fields are typed
// on the letter and digit keyboards or picked from the list keyboard of the focused field; Enter
// checks and writes the page, the bar's cursor keys turn the free pages.
#pragma once

#include "app/RecordScreen.h"
#include "app/ScreenServices.h"
#include "workflow/ListHeaderLogic.h"

#include <array>

class QLabel;

namespace brovant {

class ListHeaderDlg : public RecordScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    // What the keys of the list keyboard send.
    static constexpr int kChoiceEntry = 1401;

    // Keyboards in the order they are attached: a choice list comes in two columns when its
    // entries fit, else in one.
    enum KeyboardIndex { Letters, Digits, Choices, WideChoices };

    explicit ListHeaderDlg(ScreenServices& services);

    // Switch to this screen for a new list (the current list becomes -1) named `presetName`, or
    // for the current list.
    void openNew(const QString& presetName = {});
    void openExisting();
    ListHeaderLogic& logic() { return m_logic; }

    void enter() override;
    void onCommand(int id) override;
    void onOk() override;
    void onCancel() override;

protected:
    void setUp() override;

private:
    void buildFirstPage(QWidget* page);
    void buildFreePage(int page, QWidget* container);
    void refreshLabels();
    void showPage();
    QLineEdit* firstEditOfPage() const;
    void fieldFocused(QLineEdit* edit);
    void choiceTaken(const QString& text);
    void cycleKeyboards();
    void turnPage(bool down);
    void toListSelection();

    ListHeaderLogic m_logic;
    QString m_preset;
    QLabel* m_title = nullptr;
    QLabel* m_pageNumber = nullptr;
    std::array<QWidget*, ListHeaderLogic::kPages> m_pages{};
    QLineEdit* m_name = nullptr;
    // ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, REGION_A with their labels.
    std::array<QLabel*, 4> m_fixedLabels{};
    std::array<QLineEdit*, 4> m_fixedEdits{};
    std::array<QLabel*, ListHeaderLogic::kFreeFields> m_freeLabels{};
    std::array<QLineEdit*, ListHeaderLogic::kFreeFields> m_freeEdits{};
    std::array<OnScreenKeyboard*, 2> m_choiceKeys{};
    QLineEdit* m_focused = nullptr;
    // The choice keyboard of the focused field, or -1 when it has no choice list.
    int m_choiceIndex = -1;
};

} // namespace brovant
