#include "app/KeyButton.h"

#include <QFile>
#include <QFontMetricsF>
#include <QPainter>
#include <QSvgRenderer>

namespace brovant {

KeyButton::KeyButton(const KeyDef& def, int index, QWidget* parent)
    : QAbstractButton(parent)
    , m_def(def)
    , m_index(index)
{
    setFocusPolicy(Qt::NoFocus);
    setGeometry(def.x, def.y, def.width, def.height);
    setText(def.caption);
    setEnabled(!def.isHeading());
    if (def.commandId > 0)
        setObjectName(QStringLiteral("key%1").arg(def.commandId));
    else if (def.commandId == KeyDef::kCharacter)
        setObjectName(QStringLiteral("char_") + def.caption);
    else if (def.commandId == KeyDef::kShift)
        setObjectName(QStringLiteral("keyShift"));
    else if (def.commandId == KeyDef::kPreviousPage)
        setObjectName(QStringLiteral("pagePrevious"));
    else if (def.commandId == KeyDef::kNextPage)
        setObjectName(QStringLiteral("pageNext"));
}

void KeyButton::setCaption(const QString& caption)
{
    m_def.caption = caption;
    setText(caption);
    update();
}

QString KeyButton::iconPath(int bitmap)
{
    switch (bitmap) {
    case 129:
        return QStringLiteral(":/icons/bar_digits.svg");
    case 130:
        return QStringLiteral(":/icons/bar_next.svg");
    case 131:
        return QStringLiteral(":/icons/bar_backspace.svg");
    case 132:
        return QStringLiteral(":/icons/bar_back.svg");
    case 133:
        return QStringLiteral(":/icons/bar_prev.svg");
    case 134:
        return QStringLiteral(":/icons/bar_enter.svg");
    case 141:
        return QStringLiteral(":/icons/menu_system_info.svg");
    case 142:
        return QStringLiteral(":/icons/menu_select_list.svg");
    case 143:
        return QStringLiteral(":/icons/menu_settings.svg");
    case 144:
        return QStringLiteral(":/icons/menu_new_list.svg");
    case 145:
        return QStringLiteral(":/icons/picture_caliper.svg");
    case 146:
        return QStringLiteral(":/icons/picture_forest.svg");
    default:
        return {};
    }
}

QSize KeyButton::sizeHint() const
{
    return {m_def.width, m_def.height};
}

QRectF KeyButton::frame() const
{
    return QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
}

QFont KeyButton::captionFont() const
{
    QFont f = font();
    f.setBold(m_def.isHeading() || m_def.style == 49 || m_def.height >= 24);
    f.setPixelSize(std::clamp(m_def.height / 2, 9, 14));
    return f;
}

QString KeyButton::drawnCaption() const
{
    // Picture keys start their caption with two line breaks; the text stands below the picture.
    return m_def.caption.startsWith(QStringLiteral("\n\n")) ? m_def.caption.mid(2) : m_def.caption;
}

int KeyButton::captionFlags() const
{
    if (m_def.caption.startsWith(QStringLiteral("\n\n")))
        return Qt::AlignHCenter | Qt::AlignBottom;
    return Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextWordWrap;
}

QRectF KeyButton::captionArea() const
{
    QRectF area = frame().adjusted(2, 1, -2, -1);
    if (m_def.caption.startsWith(QStringLiteral("\n\n")))
        area.setBottom(area.bottom() - 3);
    return area;
}

KeyButton::Layout KeyButton::layout() const
{
    Layout out;
    const QRectF r = frame();
    const bool belowPicture = m_def.caption.startsWith(QStringLiteral("\n\n"));
    if (!m_def.caption.isEmpty()) {
        out.caption = QFontMetricsF(captionFont())
                          .boundingRect(captionArea(), captionFlags(), drawnCaption());
    }

    const QString path = iconPath(m_def.bitmap);
    QSvgRenderer svg(path);
    if (path.isEmpty() || !svg.isValid())
        return out;
    const bool captioned = !m_def.caption.trimmed().isEmpty();
    QRectF box = r.adjusted(2, 2, -2, -2);
    if (captioned) {
        // Above the caption's first line when it stands below, else the upper part of the key.
        const qreal top = r.top() + 4;
        const qreal height = belowPicture ? out.caption.top() - 2 - top : r.height() * 0.55;
        box = QRectF(r.left() + 4, top, r.width() - 8, std::max<qreal>(0, height));
    }
    QSizeF size = svg.defaultSize();
    size.scale(box.size(), Qt::KeepAspectRatio);
    const QPointF topLeft(box.center().x() - size.width() / 2,
                          captioned ? box.top() : box.center().y() - size.height() / 2);
    out.picture = QRectF(topLeft, size);
    return out;
}

void KeyButton::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = frame();
    const bool heading = m_def.isHeading();
    const bool down = isDown();
    QColor face = heading ? QColor(0x2e, 0x5e, 0x3a)
                  : down  ? QColor(0x9c, 0xc4, 0x9f)
                          : QColor(0xf2, 0xf2, 0xea);
    p.setPen(QPen(QColor(0x30, 0x30, 0x30), 1));
    p.setBrush(face);
    p.drawRoundedRect(r, 3, 3);

    const Layout places = layout();
    if (!places.picture.isEmpty())
        QSvgRenderer(iconPath(m_def.bitmap)).render(&p, places.picture);
    if (m_def.caption.isEmpty())
        return;
    p.setFont(captionFont());
    p.setPen(heading ? Qt::white : Qt::black);
    p.drawText(captionArea(), captionFlags(), drawnCaption());
}

} // namespace brovant
