#include "app/ConfigurationDlg.h"

#include "app/KeyTables.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>

namespace brovant {
namespace {

// Everything above the keyboard (which starts at y 133): title, page keys, five rows of fields.
constexpr int kTitleHeight = 15;
constexpr int kPageKeyTop = 16;
constexpr int kPageKeyHeight = 19;
constexpr int kFieldsTop = 37;
constexpr int kRowPitch = 19;
constexpr int kEditHeight = 18;

// The modem page pairs each name with its number on one row, so all pages fit in five rows.
int columnsOf(ConfigPage page)
{
    return page == ConfigPage::Modem ? 2 : 1;
}

} // namespace

ConfigurationDlg::ConfigurationDlg(ScreenServices& services)
    : RecordScreen(services.stack, services.session.database(), QStringLiteral("configuration"),
                   schema::Konfiguration)
    , m_services(services)
    , m_logic(services.session.store(), dataset())
{
}

void ConfigurationDlg::setUp()
{
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));

    // A field reached by the field keys comes all selected, so typing replaces it, yet shows its
    // start: imported company lines end in blanks. A tap still places the cursor.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        auto* edit = qobject_cast<QLineEdit*>(now);
        if (edit && isAncestorOf(edit) && edit->selectedText() == edit->text())
            edit->setSelection(int(edit->text().size()), -int(edit->text().size()));
    });

    addTitle(QStringLiteral("Konfiguration"), 0, kTitleHeight);

    // Key look: the current page stands out like a heading key.
    setStyleSheet(QStringLiteral(
        "QPushButton { background: #f2f2ea; border: 1px solid #303030; border-radius: 3px; }"
        "QPushButton:checked { background: #2e5e3a; color: white; font-weight: bold; }"
        "QLineEdit { padding: 0px 1px; }"));

    const int keyWidth = ScreenStack::kScreenWidth / ConfigurationLogic::kPages;
    for (int i = 0; i < ConfigurationLogic::kPages; ++i) {
        const auto page = ConfigPage(i);
        auto* key = new QPushButton(ConfigurationLogic::pageTitle(page), this);
        key->setObjectName(QStringLiteral("page") + ConfigurationLogic::pageTitle(page));
        key->setFocusPolicy(Qt::NoFocus);
        key->setCheckable(true);
        key->setGeometry(i * keyWidth, kPageKeyTop, keyWidth - 1, kPageKeyHeight);
        connect(key, &QPushButton::clicked, this, [this, i] { onCommand(kPageCommand + i); });
        m_pageKeys[size_t(i)] = key;

        auto* fields = new QWidget(this);
        fields->setObjectName(QStringLiteral("fields") + ConfigurationLogic::pageTitle(page));
        fields->setGeometry(0, kFieldsTop, ScreenStack::kScreenWidth,
                            keys::kFullArea.top() - kFieldsTop);
        buildPage(page, fields);
        fields->hide();
        m_pageFields[size_t(i)] = fields;
    }
}

void ConfigurationDlg::buildPage(ConfigPage page, QWidget* container)
{
    const std::span<const ConfigBinding> fields = ConfigurationLogic::bindings(page);
    const size_t columns = size_t(columnsOf(page));
    QFont font = defaultFont();
    if (columns > 1)
        font.setPixelSize(11);
    const QFontMetrics metrics(font);
    std::array<int, 2> labelWidth{};
    for (size_t i = 0; i < fields.size(); ++i) {
        int& width = labelWidth[i % columns];
        width = std::max(width, metrics.horizontalAdvance(QString::fromUtf8(fields[i].label)));
    }
    // Each cell is margin, label, gap, edit, margin; the edits of a row get equal widths.
    constexpr int kGap = 2;
    int editWidth = ScreenStack::kScreenWidth - 3 * kGap * int(columns);
    for (size_t c = 0; c < columns; ++c)
        editWidth -= labelWidth[c];
    editWidth /= int(columns);

    for (size_t i = 0; i < fields.size(); ++i) {
        const ConfigBinding& binding = fields[i];
        const size_t column = i % columns;
        int left = kGap;
        for (size_t c = 0; c < column; ++c)
            left += labelWidth[c] + editWidth + 3 * kGap;
        const int top = int(i / columns) * kRowPitch;
        const int editLeft = left + labelWidth[column] + kGap;
        // A field left alone on the last row gets the rest of the width.
        const bool alone = column == 0 && i + 1 == fields.size();
        const int width = alone ? ScreenStack::kScreenWidth - kGap - editLeft : editWidth;
        const QString name = QString::fromLatin1(binding.column);

        auto* label = new QLabel(QString::fromUtf8(binding.label), container);
        label->setObjectName(QStringLiteral("label_") + name);
        label->setFont(font);
        label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        label->setGeometry(left, top, labelWidth[column], kEditHeight);

        auto* edit = new QLineEdit(container);
        edit->setObjectName(name);
        edit->setFont(font);
        edit->setGeometry(editLeft, top, width, kEditHeight);
        label->setBuddy(edit);
        bindEdit(edit, name);
        m_edits[size_t(page)].push_back(edit);
    }
}

void ConfigurationDlg::openPage(int page)
{
    if (!ConfigurationLogic::isPage(page))
        return;
    if (stack().activeScreen() == this) {
        onCommand(kPageCommand + page);
        return;
    }
    m_page = ConfigPage(page);
    stack().switchTo(this);
}

void ConfigurationDlg::enter()
{
    showKeyboard(0);
    showPage(m_page);
}

void ConfigurationDlg::showPage(ConfigPage page)
{
    m_page = page;
    for (size_t i = 0; i < m_pageKeys.size(); ++i) {
        m_pageKeys[i]->setChecked(i == size_t(page));
        m_pageFields[i]->setVisible(i == size_t(page));
    }
    const ConfigResult opened = m_logic.open(page);
    loadFields();
    for (QLineEdit* edit : m_edits[size_t(page)])
        edit->setCursorPosition(0);
    m_edits[size_t(page)].front()->setFocus(Qt::TabFocusReason);
    if (!opened.ok())
        m_services.messages.notice(opened.error);
}

bool ConfigurationDlg::pageModified()
{
    const std::span<const ConfigBinding> fields = ConfigurationLogic::bindings(m_page);
    const std::vector<QLineEdit*>& edits = m_edits[size_t(m_page)];
    for (size_t i = 0; i < edits.size(); ++i) {
        if (edits[i]->text() != dataset().loadText(QString::fromLatin1(fields[i].column)))
            return true;
    }
    return false;
}

bool ConfigurationDlg::confirmPage()
{
    storeFields();
    const ConfigResult confirmed = m_logic.confirm(m_page);
    if (!confirmed.ok())
        m_services.messages.notice(confirmed.error);
    return confirmed.ok();
}

void ConfigurationDlg::onCommand(int id)
{
    const int page = id - kPageCommand;
    if (!ConfigurationLogic::isPage(page)) {
        RecordScreen::onCommand(id);
        return;
    }
    if (ConfigPage(page) == m_page) {
        m_pageKeys[size_t(page)]->setChecked(true);
        return;
    }
    // Leaving a page would drop what was typed on it; the user decides.
    if (pageModified()
        && m_services.messages.yesNo(QStringLiteral("Änderungen speichern?")) == Answer::Yes
        && !confirmPage()) {
        m_pageKeys[size_t(page)]->setChecked(false);
        return;
    }
    showPage(ConfigPage(page));
}

void ConfigurationDlg::onOk()
{
    if (confirmPage())
        returnToCaller();
}

void ConfigurationDlg::onCancel()
{
    returnToCaller();
}

void ConfigurationDlg::returnToCaller()
{
    Screen* target = previousScreen();
    if (!target || target == this)
        target = stack().screen<MainMenuDlg>();
    if (target)
        stack().switchTo(target);
}

} // namespace brovant
