#include "app/CNorvKeyboard.h"

namespace brovant {

CNorvKeyboard::CNorvKeyboard(const QRect& area, std::vector<KeyDef> keys, QWidget* parent)
    : QWidget(parent)
    , m_area(area)
{
    setGeometry(area);
    setFocusPolicy(Qt::NoFocus);
    for (size_t i = 0; i < keys.size(); ++i) {
        auto* key = new CNorvKey(keys[i], int(i), this);
        connect(key, &QAbstractButton::clicked, this, [this, key] { released(key); });
        m_keys.push_back(key);
    }
}

void CNorvKeyboard::setCodeTable(const QStringList& primary, const QStringList&, int commandId)
{
    int entry = 0;
    for (CNorvKey* key : m_keys) {
        if (key->def().commandId != commandId)
            continue;
        key->setCaption(entry < primary.size() ? primary[entry].trimmed() : QString());
        ++entry;
    }
}

CNorvKey* CNorvKeyboard::keyFor(int commandId) const
{
    for (CNorvKey* key : m_keys) {
        if (key->def().commandId == commandId)
            return key;
    }
    return nullptr;
}

void CNorvKeyboard::setCaption(int index, const QString& caption)
{
    if (index >= 0 && index < keyCount())
        m_keys[size_t(index)]->setCaption(caption);
}

void CNorvKeyboard::setUpperCase(bool upper)
{
    m_upper = upper;
    for (CNorvKey* key : m_keys) {
        if (key->def().commandId != KeyDef::kCharacter || key->caption().size() != 1)
            continue;
        // "ß" has no one-letter capital; it stays as it is.
        const QString changed = upper ? key->caption().toUpper() : key->caption().toLower();
        if (changed.size() == 1)
            key->setCaption(changed);
    }
}

void CNorvKeyboard::released(CNorvKey* key)
{
    const KeyDef& def = key->def();
    m_lastCaption = key->caption();
    m_lastGroupIndex = 0;
    for (CNorvKey* other : m_keys) {
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
    if (def.commandId != 0)
        emit command(def.commandId);
}

} // namespace brovant
