#include "app/SpeciesSelectionDlg.h"

#include "app/KeyTables.h"
#include "app/ScreenStack.h"
#include "app/TallyDlg.h"
#include "data/FieldDescriptor.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "workflow/AppState.h"

#include <QLabel>
#include <QLineEdit>

namespace brovant {
namespace {

// Above the keyboard (which starts at y 133): the title, the edit with its caption and a hint.
constexpr int kTitleHeight = 18;
constexpr QRect kCaptionPlace(10, 44, 96, 34);
constexpr QRect kEditPlace(110, 44, 70, 34);
constexpr QRect kHintPlace(4, 92, 232, 34);

// The twelve slot keys four a row, "Kl.8" and "ABC" below them, the bottom bar at the foot.
constexpr int kSlotColumns = 4;
constexpr int kSlotWidth = 60;
constexpr int kSlotPitch = 41;
constexpr int kBarTop = 166;

std::vector<KeyDef> slotKeys()
{
    std::vector<KeyDef> keys;
    for (int slot = 0; slot < MasterTables::kMainSpecies; ++slot) {
        keys.push_back({(slot % kSlotColumns) * kSlotWidth, (slot / kSlotColumns) * kSlotPitch,
                        kSlotWidth - 1, kSlotPitch - 1, QStringLiteral("HA%1").arg(slot + 1),
                        SpeciesSelectionDlg::kFirstSlot + slot});
    }
    const int top = 3 * kSlotPitch;
    const int height = kBarTop - 1 - top;
    keys.push_back(
        {0, top, 119, height, QStringLiteral("Kl.8"), SpeciesSelectionDlg::kCaliperKey, 0, 1});
    keys.push_back(
        {120, top, 120, height, QStringLiteral("ABC"), SpeciesSelectionDlg::kLetters, 0, 1});
    for (const KeyDef& k : keys::bottomBar(kBarTop, true))
        keys.push_back(k);
    return keys;
}

} // namespace

SpeciesSelectionDlg::SpeciesSelectionDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("species"))
    , m_services(services)
{
    setWindowTitle(QStringLiteral("* Einstellung der Holzart *"));
}

void SpeciesSelectionDlg::setUp()
{
    m_slots = new OnScreenKeyboard(keys::kFullArea, slotKeys());
    addKeyboard(m_slots);
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));

    addTitle(windowTitle(), 0, kTitleHeight);

    QFont large = defaultFont();
    large.setPixelSize(18);
    auto* caption = new QLabel(QStringLiteral("Holzart:"), this);
    caption->setObjectName(QStringLiteral("label_BAUMART"));
    caption->setFont(large);
    caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    caption->setGeometry(kCaptionPlace);

    m_code = new QLineEdit(this);
    m_code->setObjectName(QStringLiteral("BAUMART"));
    large.setBold(true);
    m_code->setFont(large);
    m_code->setMaxLength(3);
    m_code->setGeometry(kEditPlace);
    caption->setBuddy(m_code);

    auto* hint = new QLabel(QStringLiteral("Holzart eingeben (ABC), dann\n"
                                           "die Taste des Platzes wählen."),
                            this);
    hint->setObjectName(QStringLiteral("hint"));
    hint->setAlignment(Qt::AlignCenter);
    hint->setGeometry(kHintPlace);
}

void SpeciesSelectionDlg::enter()
{
    m_code->clear();
    showCodes();
    showKeyboard(SlotKeys);
    bringToFront();
    m_code->setFocus(Qt::OtherFocusReason);
}

void SpeciesSelectionDlg::showCodes()
{
    const MasterTables& tables = m_services.state.tables;
    for (int slot = 0; slot < MasterTables::kMainSpecies; ++slot) {
        m_slots->keyFor(kFirstSlot + slot)
            ->setCaption(QStringLiteral("HA%1\n%2")
                             .arg(slot + 1)
                             .arg(withoutTrailingBlanks(tables.mainSpecies[size_t(slot)])));
    }
    m_slots->keyFor(kCaliperKey)
        ->setCaption(QStringLiteral("Kl.8\n%1").arg(withoutTrailingBlanks(tables.caliperSpecies)));
}

std::optional<QString> SpeciesSelectionDlg::typedCode()
{
    const QString typed = withoutTrailingBlanks(m_code->text());
    if (typed.isEmpty()) {
        m_services.messages.beep();
        return std::nullopt;
    }
    // Held as the species table holds it: blank-padded to the field's three characters.
    return typed.leftJustified(3, u' ', true);
}

void SpeciesSelectionDlg::assignSlot(int slot)
{
    const std::optional<QString> code = typedCode();
    if (!code)
        return;
    m_services.state.tables.mainSpecies[size_t(slot - 1)] = *code;
    m_services.session.store().writeText(Setting::HauptHolzart, slot, *code);
    showCodes();
    m_code->clear();
}

void SpeciesSelectionDlg::assignCaliperKey()
{
    const std::optional<QString> code = typedCode();
    if (!code)
        return;
    m_services.state.tables.caliperSpecies = *code;
    m_services.session.store().writeText(Setting::KluppeHolzart, 0, *code);
    showCodes();
    m_code->clear();
}

void SpeciesSelectionDlg::onCommand(int id)
{
    if (id >= kFirstSlot && id < kFirstSlot + MasterTables::kMainSpecies) {
        assignSlot(id - kFirstSlot + 1);
        return;
    }
    switch (id) {
    case kCaliperKey:
        assignCaliperKey();
        return;
    case kLetters:
        showKeyboard(Letters);
        return;
    case kZiff:
        showKeyboard(keyboardIndex() == Digits ? SlotKeys : Digits);
        return;
    case kPreviousField:
    case kNextField:
        return; // one field only
    default:
        KeypadScreen::onCommand(id);
    }
}

void SpeciesSelectionDlg::onEnterKey()
{
    showKeyboard(SlotKeys);
}

void SpeciesSelectionDlg::onCancel()
{
    Screen* target = stack().screen<TallyDlg>();
    if (!target)
        target = previousScreen();
    if (target && target != this)
        stack().switchTo(target);
}

} // namespace brovant
