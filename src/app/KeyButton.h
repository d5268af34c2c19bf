// Screen framework: one on-screen key. A key sends its command id to its screen when released,
// exactly like the dialog button it stands for; a character key types its text into the focused
// field. Keys never take the focus, so the field being edited keeps it.
#pragma once

#include <QAbstractButton>
#include <QRectF>
#include <QString>

namespace brovant {

// A row of a key table.
struct KeyDef {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    QString caption;
    int commandId = 0;
    int secondId = 0; // group id: a heading (command 0) belongs to the keys sending this id
    int style = 0;
    int bitmap = 0;

    // Command id of keys that type their caption.
    static constexpr int kCharacter = -1;
    // Command id of a key that switches letters to upper or lower case.
    static constexpr int kShift = -2;
    // Command ids of the keys that turn the pages of a list keyboard.
    static constexpr int kPreviousPage = -3;
    static constexpr int kNextPage = -4;

    bool isHeading() const { return commandId == 0 && secondId != 0; }
};

class KeyButton : public QAbstractButton {
    Q_OBJECT
public:
    KeyButton(const KeyDef& def, int index, QWidget* parent);

    const KeyDef& def() const { return m_def; }
    int index() const { return m_index; }
    void setCaption(const QString& caption);
    QString caption() const { return m_def.caption; }

    // The picture of a bitmap id (":/icons/....svg"), empty when there is none.
    static QString iconPath(int bitmap);

    QSize sizeHint() const override;

    // Where the key draws its picture and its caption's text, in its own coordinates; empty
    // rectangles for what it does not show. A caption under a picture gets its lines' room
    // first and the picture what is left above it, so the two never overlap.
    struct Layout {
        QRectF picture;
        QRectF caption;
    };
    Layout layout() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QFont captionFont() const;
    // The caption as drawn (picture keys lose their two leading line breaks) and its flags.
    QString drawnCaption() const;
    int captionFlags() const;
    // The room the caption is aligned in.
    QRectF captionArea() const;
    QRectF frame() const;

    KeyDef m_def;
    int m_index;
};

} // namespace brovant
