#include "app/ListHeaderDlg.h"

#include "app/KeyTables.h"
#include "app/ListSelectionDlg.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "app/TariffAssignmentDlg.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"

#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

namespace brovant {
namespace {

// Everything above the keyboard (which starts at y 133).
constexpr int kTitleHeight = 17;
constexpr int kPagesTop = 20;
constexpr int kRowPitch = 22;
constexpr int kEditHeight = 20;
constexpr int kLabelHeight = 16;
constexpr int kMargin = 2;
constexpr int kMaxLabelWidth = 104;

const char* const kFixedFields[] = {"ZUSATZ_A", "DATUM_A", "KOR_FAKTOR_N", "REGION_A"};

// A list keyboard of six rows, with "Ziff" on its bar to get back to typing.
std::vector<KeyDef> choiceKeys(int columns)
{
    std::vector<KeyDef> keys = keys::codeList(ListHeaderDlg::kChoiceEntry, columns, 6);
    for (KeyDef& key : keys) {
        if (key.commandId == 0 && key.bitmap == 129)
            key.commandId = KeypadScreen::kZiff;
    }
    return keys;
}

QLabel* makeLabel(QWidget* parent, const QString& field, const QRect& place)
{
    auto* label = new QLabel(parent);
    label->setObjectName(QStringLiteral("label_") + field);
    label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    label->setGeometry(place);
    return label;
}

} // namespace

ListHeaderDlg::ListHeaderDlg(ScreenServices& services)
    : RecordScreen(services.stack, services.session.database(), QStringLiteral("listHeader"),
                   schema::Kopfdaten)
    , m_services(services)
    , m_logic(dataset(), services.session.store(), services.state, services.clock,
              services.messages)
{
    bindKey(Qt::Key_Up, kPreviousField);
    bindKey(Qt::Key_Down, kNextField);
    bindKey(Qt::Key_Return, kEnter);
    bindKey(Qt::Key_Enter, kEnter);
}

void ListHeaderDlg::setUp()
{
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    for (size_t i = 0; i < m_choiceKeys.size(); ++i) {
        m_choiceKeys[i] = new OnScreenKeyboard(keys::kFullArea, choiceKeys(i == 0 ? 2 : 1));
        addKeyboard(m_choiceKeys[i]);
        connect(m_choiceKeys[i], &OnScreenKeyboard::entryChosen, this,
                [this](int, int, const QString& text) { choiceTaken(text); });
    }

    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        auto* edit = qobject_cast<QLineEdit*>(now);
        if (edit && isAncestorOf(edit))
            fieldFocused(edit);
    });

    setStyleSheet(QStringLiteral("QLineEdit { padding: 0px 1px; }"));

    m_title = addTitle(QString(), 1, kTitleHeight);

    m_pageNumber = new QLabel(this);
    m_pageNumber->setObjectName(QStringLiteral("pageNumber"));
    m_pageNumber->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_pageNumber->setGeometry(ScreenStack::kScreenWidth - 44, 1, 40, kTitleHeight);

    for (int page = 1; page <= ListHeaderLogic::kPages; ++page) {
        auto* container = new QWidget(this);
        container->setObjectName(QStringLiteral("page%1").arg(page));
        container->setGeometry(0, kPagesTop, ScreenStack::kScreenWidth,
                               keys::kFullArea.top() - kPagesTop);
        if (page == 1)
            buildFirstPage(container);
        else
            buildFreePage(page, container);
        container->hide();
        m_pages[size_t(page - 1)] = container;
    }
}

void ListHeaderDlg::buildFirstPage(QWidget* page)
{
    const auto addRow = [this, page](int row, const QString& field) {
        QLabel* label = makeLabel(page, field, QRect(kMargin, row * kRowPitch, 0, kEditHeight));
        auto* edit = new QLineEdit(page);
        edit->setObjectName(field);
        edit->setGeometry(0, row * kRowPitch, 0, kEditHeight);
        label->setBuddy(edit);
        bindEdit(edit, field);
        return std::pair(label, edit);
    };
    auto [nameLabel, name] = addRow(0, QStringLiteral("LISTE_NR"));
    nameLabel->setText(QStringLiteral("Liste:"));
    m_name = name;
    for (size_t i = 0; i < std::size(kFixedFields); ++i) {
        auto [label, edit] = addRow(int(i) + 1, QString::fromLatin1(kFixedFields[i]));
        m_fixedLabels[i] = label;
        m_fixedEdits[i] = edit;
    }
}

void ListHeaderDlg::buildFreePage(int page, QWidget* container)
{
    const int width = ScreenStack::kScreenWidth - 2 * kMargin;
    for (int i = 0; i < 2; ++i) {
        const int field = ListHeaderLogic::firstFieldOf(page) + i;
        const QString name = ListHeaderLogic::freeFieldName(field);
        const int top = 4 + i * 2 * (kLabelHeight + kEditHeight);
        QLabel* label = makeLabel(container, name, QRect(kMargin, top, width, kLabelHeight));
        auto* edit = new QLineEdit(container);
        edit->setObjectName(name);
        edit->setGeometry(kMargin, top + kLabelHeight + 1, width, kEditHeight);
        label->setBuddy(edit);
        bindEdit(edit, name);
        m_freeLabels[size_t(field - 1)] = label;
        m_freeEdits[size_t(field - 1)] = edit;
    }
}

void ListHeaderDlg::refreshLabels()
{
    // The configuration may have changed since the screen was last shown.
    const SettingsStore& store = m_services.session.store();
    QLabel* nameLabel = m_pages[0]->findChild<QLabel*>(QStringLiteral("label_LISTE_NR"));
    const QFontMetrics metrics(nameLabel->font());
    int labelWidth = metrics.horizontalAdvance(nameLabel->text());
    for (size_t i = 0; i < m_fixedLabels.size(); ++i) {
        m_fixedLabels[i]->setText(ListHeaderLogic::fixedLabel(store, int(i)));
        labelWidth = std::max(labelWidth, metrics.horizontalAdvance(m_fixedLabels[i]->text()));
    }
    labelWidth = std::min(labelWidth, kMaxLabelWidth);
    const int editLeft = kMargin + labelWidth + 2 * kMargin;
    const int editWidth = ScreenStack::kScreenWidth - kMargin - editLeft;
    for (QLabel* label : m_pages[0]->findChildren<QLabel*>()) {
        label->resize(labelWidth, kEditHeight);
        auto* edit = qobject_cast<QLineEdit*>(label->buddy());
        edit->setGeometry(editLeft, label->y(), editWidth, kEditHeight);
    }

    for (int field = 1; field <= ListHeaderLogic::kFreeFields; ++field) {
        QLabel* label = m_freeLabels[size_t(field - 1)];
        label->setText(ListHeaderLogic::freeLabel(store, field));
        // Mandatory fields stand out.
        QFont font = label->font();
        font.setBold(ListHeaderLogic::mandatory(store, field));
        label->setFont(font);
    }
}

void ListHeaderDlg::openNew(const QString& presetName)
{
    m_preset = presetName;
    m_services.state.currentList = -1;
    activate();
}

void ListHeaderDlg::openExisting()
{
    activate();
}

void ListHeaderDlg::enter()
{
    refreshLabels();
    AppState& state = m_services.state;
    bool fresh = state.currentList == -1;
    if (!fresh && !m_logic.openExisting(state.currentList)) {
        // The list is gone (deleted meanwhile): a new one is made instead.
        state.currentList = -1;
        fresh = true;
    }
    if (fresh && !m_logic.startNew(m_preset, false))
        m_services.messages.notice(QStringLiteral("Datenbank nicht lesbar!"));
    m_preset.clear();
    m_name->setReadOnly(m_logic.nameReadOnly());
    m_name->setStyleSheet(m_name->isReadOnly() ? QStringLiteral("background: #e8e8e2;")
                                               : QString());
    // Shown before the page is set up: a hidden field cannot take the focus, and the question
    // about the model list is asked over the new, empty page.
    bringToFront();
    showPage();
    if (fresh && m_logic.offerModel())
        showPage();
}

void ListHeaderDlg::showPage()
{
    const int page = m_logic.page();
    for (size_t i = 0; i < m_pages.size(); ++i)
        m_pages[i]->setVisible(int(i) + 1 == page);
    m_title->setText(m_logic.title());
    m_pageNumber->setText(QStringLiteral("%1/%2").arg(page).arg(ListHeaderLogic::kPages));
    loadFields();
    for (QLineEdit* edit : m_pages[size_t(page - 1)]->findChildren<QLineEdit*>())
        edit->setCursorPosition(0);
    m_focused = nullptr;
    QLineEdit* first = firstEditOfPage();
    first->setFocus(Qt::OtherFocusReason);
    fieldFocused(first);
}

QLineEdit* ListHeaderDlg::firstEditOfPage() const
{
    const int page = m_logic.page();
    if (page == 1)
        return m_name->isReadOnly() ? m_fixedEdits[0] : m_name;
    return m_freeEdits[size_t(ListHeaderLogic::firstFieldOf(page) - 1)];
}

void ListHeaderDlg::fieldFocused(QLineEdit* edit)
{
    // A field gets its keyboard when the focus comes to it, not when it returns after a message.
    if (edit == m_focused)
        return;
    m_focused = edit;
    QStringList choices;
    if (edit == m_fixedEdits[3]) {
        choices = m_logic.regions();
    } else {
        const auto free = std::find(m_freeEdits.begin(), m_freeEdits.end(), edit);
        if (free != m_freeEdits.end())
            choices = ListHeaderLogic::choices(m_services.session.store(),
                                               int(free - m_freeEdits.begin()) + 1);
    }
    m_choiceIndex = -1;
    if (!choices.isEmpty()) {
        // Two columns when every entry fits on its key in one line, as the key draws it.
        const KeyButton* narrow = m_choiceKeys[0]->keyFor(kChoiceEntry);
        QFont font = narrow->font();
        font.setPixelSize(std::clamp(narrow->height() / 2, 9, 14));
        const QFontMetrics metrics(font);
        const bool fits = std::all_of(choices.begin(), choices.end(), [&](const QString& text) {
            return metrics.horizontalAdvance(text.trimmed()) <= narrow->width() - 6;
        });
        m_choiceIndex = fits ? Choices : WideChoices;
        m_choiceKeys[size_t(m_choiceIndex - Choices)]->setCodeTable(choices, {}, kChoiceEntry);
        showKeyboard(m_choiceIndex);
    } else {
        const bool numeric = edit == m_fixedEdits[1] || edit == m_fixedEdits[2];
        showKeyboard(numeric ? Digits : Letters);
    }
}

void ListHeaderDlg::choiceTaken(const QString& text)
{
    if (!m_focused)
        return;
    m_focused->setText(text);
    // A choice on the page's first free field leads on to the second.
    const auto free = std::find(m_freeEdits.begin(), m_freeEdits.end(), m_focused);
    if (m_logic.page() > 1 && free != m_freeEdits.end()
        && int(free - m_freeEdits.begin()) + 1 == ListHeaderLogic::firstFieldOf(m_logic.page()))
        (*(free + 1))->setFocus(Qt::OtherFocusReason);
}

void ListHeaderDlg::cycleKeyboards()
{
    // With a choice list: list, letters, digits; without one: letters and digits.
    const int shown = keyboardIndex();
    if (m_choiceIndex < 0)
        showKeyboard(shown == Letters ? Digits : Letters);
    else
        showKeyboard(shown == m_choiceIndex ? Letters : shown == Letters ? Digits : m_choiceIndex);
}

void ListHeaderDlg::turnPage(bool down)
{
    storeFields();
    if (down ? m_logic.pageDown() : m_logic.pageUp())
        showPage();
}

void ListHeaderDlg::onCommand(int id)
{
    switch (id) {
    case kPreviousField:
    case kNextField:
        // Page 1 is left only by Enter, so its checks always run; there the keys move between
        // its fields.
        if (m_logic.page() == 1)
            RecordScreen::onCommand(id);
        else
            turnPage(id == kNextField);
        return;
    case kZiff:
        cycleKeyboards();
        return;
    case kChoiceEntry:
        return; // taken by choiceTaken
    default:
        RecordScreen::onCommand(id);
    }
}

void ListHeaderDlg::onOk()
{
    storeFields();
    // Copying the model list's trees may take a while.
    const bool copying = m_logic.page() == 1 && m_logic.isNew() && m_logic.seededFromModel();
    if (copying)
        m_services.host.setWaitCursor(true);
    const PageExit exit = m_logic.leavePage();
    if (copying)
        m_services.host.setWaitCursor(false);
    switch (exit) {
    case PageExit::Stay:
        m_title->setText(m_logic.title());
        return;
    case PageExit::NextPage:
        showPage();
        return;
    case PageExit::AssignTariffs:
        if (auto* tariffs = stack().screen<TariffAssignmentDlg>()) {
            tariffs->openRegion(m_logic.region());
            return;
        }
        showPage();
        return;
    case PageExit::Abandon:
    case PageExit::Finished:
        toListSelection();
        return;
    }
}

void ListHeaderDlg::onCancel()
{
    // Back leaves without writing the page shown; pages left with Enter are written already.
    toListSelection();
}

void ListHeaderDlg::toListSelection()
{
    Screen* target = stack().screen<ListSelectionDlg>();
    if (!target)
        target = stack().screen<MainMenuDlg>();
    if (target)
        stack().switchTo(target);
}

} // namespace brovant
