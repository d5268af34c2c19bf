// Screen framework: a keyboard, a set of keys in one area of the screen built from a key table.
// The list form fills its keys from a table of codes (species, tariffs, regions) and reports the
// chosen entry. What a key does is its screen's business.
#pragma once

#include "app/KeyButton.h"

#include <QRect>
#include <QStringList>
#include <QWidget>

#include <vector>

namespace brovant {

class OnScreenKeyboard : public QWidget {
    Q_OBJECT
public:
    OnScreenKeyboard(const QRect& area, std::vector<KeyDef> keys, QWidget* parent = nullptr);

    // The list form: keys whose command id equals `commandId` take their captions from
    // `primary` in order (entries past the table stay blank); `secondary` holds a second text
    // (long names) for the same entries. A table longer than its keys is shown a page at a time,
    // turned by the keys kPreviousPage and kNextPage.
    void setCodeTable(const QStringList& primary, const QStringList& secondary, int commandId);
    int page() const { return m_page; }
    int pageCount() const;
    void showPage(int page);
    // The table entry of the code key pressed last, or -1.
    int lastEntry() const { return m_lastEntry; }
    QString secondaryText(int entry) const { return m_secondary.value(entry); }

    const QRect& area() const { return m_area; }
    int keyCount() const { return int(m_keys.size()); }
    KeyButton* key(int index) const { return m_keys[size_t(index)]; }
    // First key sending this command id, or null.
    KeyButton* keyFor(int commandId) const;
    void setCaption(int index, const QString& caption);

    // Which key of a group was pressed last: its index among the keys with the same command
    // id, and its caption.
    int lastGroupIndex() const { return m_lastGroupIndex; }
    QString lastCaption() const { return m_lastCaption; }

    // Letter keys show upper or lower case.
    void setUpperCase(bool upper);
    bool upperCase() const { return m_upper; }

signals:
    // A key was released over itself: its command id (or KeyDef::kCharacter / kShift).
    void command(int commandId);
    void character(const QString& text);
    // A code key of the list form: the table's command id and the entry chosen. Blank keys
    // send nothing.
    void entryChosen(int commandId, int entry, const QString& code);

private:
    void released(KeyButton* key);

    QRect m_area;
    std::vector<KeyButton*> m_keys;
    int codeKeyCount() const;
    int m_lastGroupIndex = -1;
    int m_lastEntry = -1;
    int m_codeCommand = 0;
    int m_page = 0;
    QStringList m_primary;
    QStringList m_secondary;
    QString m_lastCaption;
    bool m_upper = true;
};

} // namespace brovant
