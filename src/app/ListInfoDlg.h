// Screens: the list information screen. Shows, read-only, the sixteen free header fields of the
// current list, each beside its label; back returns to the screen that opened it.
#pragma once

#include "app/CNorvKeybDlg.h"
#include "workflow/ListHeaderLogic.h"

#include <array>

class QLabel;

namespace brovant {

class ListInfoDlg : public CNorvKeybDlg {
    Q_OBJECT
public:
    explicit ListInfoDlg(CNorvMFCApp& app);

    void InitDialog() override;
    void OnOK() override { OnCancel(); }

protected:
    void OnInitDialog() override;

private:
    QLabel* m_title = nullptr;
    std::array<QLabel*, ListHeaderLogic::kFreeFields> m_labels{};
    std::array<QLabel*, ListHeaderLogic::kFreeFields> m_values{};
};

} // namespace brovant
