// Screens: the list information screen. Shows, read-only, the sixteen free header fields of the
// current list, each beside its label; back returns to the screen that opened it.
#pragma once

#include "app/KeypadScreen.h"
#include "app/ScreenServices.h"
#include "workflow/ListHeaderLogic.h"

#include <array>

class QLabel;

namespace brovant {

class ListInfoDlg : public KeypadScreen {
    Q_OBJECT
    ScreenServices& m_services;

public:
    explicit ListInfoDlg(ScreenServices& services);

    void enter() override;
    void onOk() override { onCancel(); }

protected:
    void setUp() override;

private:
    QLabel* m_title = nullptr;
    std::array<QLabel*, ListHeaderLogic::kFreeFields> m_labels{};
    std::array<QLabel*, ListHeaderLogic::kFreeFields> m_values{};
};

} // namespace brovant
