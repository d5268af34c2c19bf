#include "app/CNorvKey.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace brovant {

CNorvKey::CNorvKey(const KeyDef& def, int index, QWidget* parent)
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

void CNorvKey::setCaption(const QString& caption)
{
    m_def.caption = caption;
    setText(caption);
    update();
}

QString CNorvKey::iconPath(int bitmap)
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

QSize CNorvKey::sizeHint() const
{
    return {m_def.width, m_def.height};
}

void CNorvKey::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const bool heading = m_def.isHeading();
    const bool down = isDown();
    QColor face = heading ? QColor(0x2e, 0x5e, 0x3a)
                  : down  ? QColor(0x9c, 0xc4, 0x9f)
                          : QColor(0xf2, 0xf2, 0xea);
    p.setPen(QPen(QColor(0x30, 0x30, 0x30), 1));
    p.setBrush(face);
    p.drawRoundedRect(r, 3, 3);

    QRectF textArea = r.adjusted(2, 1, -2, -1);
    const QString path = iconPath(m_def.bitmap);
    if (!path.isEmpty()) {
        QSvgRenderer svg(path);
        if (svg.isValid()) {
            const bool captioned = !m_def.caption.trimmed().isEmpty();
            const QSizeF box =
                captioned ? QSizeF(r.width() - 8, r.height() * 0.55) : r.size() - QSizeF(4, 4);
            QSizeF size = svg.defaultSize();
            size.scale(box, Qt::KeepAspectRatio);
            const QPointF topLeft(r.center().x() - size.width() / 2,
                                  captioned ? r.top() + 4 : r.center().y() - size.height() / 2);
            svg.render(&p, QRectF(topLeft, size));
        }
    }
    if (m_def.caption.isEmpty())
        return;
    QFont f = font();
    f.setBold(heading || m_def.style == 49 || m_def.height >= 24);
    // Picture keys start their caption with two line breaks; the text stands below the picture.
    QString caption = m_def.caption;
    int flags = Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextWordWrap;
    if (caption.startsWith(QStringLiteral("\n\n"))) {
        caption = caption.mid(2);
        flags = Qt::AlignHCenter | Qt::AlignBottom;
        textArea.setBottom(textArea.bottom() - 3);
    }
    f.setPixelSize(std::clamp(m_def.height / 2, 9, 14));
    p.setFont(f);
    p.setPen(heading ? Qt::white : Qt::black);
    p.drawText(textArea, flags, caption);
}

} // namespace brovant
