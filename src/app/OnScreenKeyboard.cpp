#include "app/OnScreenKeyboard.h"

namespace brovant {

OnScreenKeyboard::OnScreenKeyboard(const QRect& area, std::vector<KeyDef> keys, QWidget* parent)
    : QWidget(parent)
    , m_area(area)
{
    setGeometry(area);
    setFocusPolicy(Qt::NoFocus);
    for (size_t i = 0; i < keys.size(); ++i) {
        auto* key = new KeyButton(keys[i], int(i), this);
        connect(key, &QAbstractButton::clicked, this, [this, key] { released(key); });
        m_keys.push_back(key);
    }
}

void OnScreenKeyboard::setCodeTable(const QStringList& primary, const QStringList& secondary,
                                    int commandId)
{
    m_primary = primary;
    m_secondary = secondary;
    m_codeCommand = commandId;
    showPage(0);
}

int OnScreenKeyboard::codeKeyCount() const
{
    int count = 0;
    for (KeyButton* key : m_keys)
        count += key->def().commandId == m_codeCommand ? 1 : 0;
    return count;
}

int OnScreenKeyboard::pageCount() const
{
    const int perPage = codeKeyCount();
    if (perPage == 0)
        return 1;
    // Trailing blank entries need no page of their own.
    int used = int(m_primary.size());
    while (used > 0 && m_primary[used - 1].trimmed().isEmpty())
        --used;
    return std::max(1, (used + perPage - 1) / perPage);
}

void OnScreenKeyboard::showPage(int page)
{
    m_page = std::clamp(page, 0, pageCount() - 1);
    int entry = m_page * codeKeyCount();
    for (KeyButton* key : m_keys) {
        const int id = key->def().commandId;
        if (id == KeyDef::kPreviousPage)
            key->setEnabled(m_page > 0);
        else if (id == KeyDef::kNextPage)
            key->setEnabled(m_page + 1 < pageCount());
        if (m_codeCommand == 0 || id != m_codeCommand)
            continue;
        key->setCaption(entry < m_primary.size() ? m_primary[entry].trimmed() : QString());
        ++entry;
    }
}

KeyButton* OnScreenKeyboard::keyFor(int commandId) const
{
    for (KeyButton* key : m_keys) {
        if (key->def().commandId == commandId)
            return key;
    }
    return nullptr;
}

void OnScreenKeyboard::setCaption(int index, const QString& caption)
{
    if (index >= 0 && index < keyCount())
        m_keys[size_t(index)]->setCaption(caption);
}

void OnScreenKeyboard::setUpperCase(bool upper)
{
    m_upper = upper;
    for (KeyButton* key : m_keys) {
        if (key->def().commandId != KeyDef::kCharacter || key->caption().size() != 1)
            continue;
        // "ß" has no one-letter capital; it stays as it is.
        const QString changed = upper ? key->caption().toUpper() : key->caption().toLower();
        if (changed.size() == 1)
            key->setCaption(changed);
    }
}

void OnScreenKeyboard::released(KeyButton* key)
{
    const KeyDef& def = key->def();
    m_lastCaption = key->caption();
    m_lastGroupIndex = 0;
    for (KeyButton* other : m_keys) {
        if (other == key)
            break;
        if (other->def().commandId == def.commandId)
            ++m_lastGroupIndex;
    }
    if (def.commandId == KeyDef::kCharacter) {
        emit character(key->caption() == QStringLiteral("␣") ? QStringLiteral(" ")
                                                             : key->caption());
        return;
    }
    if (def.commandId == KeyDef::kShift) {
        setUpperCase(!m_upper);
        return;
    }
    if (def.commandId == KeyDef::kPreviousPage || def.commandId == KeyDef::kNextPage) {
        showPage(m_page + (def.commandId == KeyDef::kNextPage ? 1 : -1));
        return;
    }
    if (m_codeCommand != 0 && def.commandId == m_codeCommand) {
        const int entry = m_page * codeKeyCount() + m_lastGroupIndex;
        if (key->caption().isEmpty())
            return;
        m_lastEntry = entry;
        emit entryChosen(def.commandId, entry, m_primary.value(entry));
    }
    if (def.commandId != 0)
        emit command(def.commandId);
}

} // namespace brovant
