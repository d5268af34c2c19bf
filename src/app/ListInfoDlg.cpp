#include "app/ListInfoDlg.h"

#include "app/KeyTables.h"
#include "app/ScreenStack.h"
#include "data/Dataset.h"
#include "data/FieldDescriptor.h"
#include "data/Schema.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"

#include <QFontMetrics>
#include <QLabel>

#include <algorithm>

namespace brovant {
namespace {

// Sixteen rows between the title and the bar (which starts at y 299).
constexpr int kTitleHeight = 17;
constexpr int kRowsTop = 20;
constexpr int kRowPitch = 17;
constexpr int kRowHeight = 16;
constexpr int kMargin = 3;
constexpr int kMaxLabelWidth = 112;

// Back, and Enter doing the same; the other bar keys have nothing to do here.
std::vector<KeyDef> barKeys()
{
    std::vector<KeyDef> keys = keys::bottomBar(0, false);
    std::erase_if(keys, [](const KeyDef& key) {
        return key.commandId != Screen::kCancel && key.commandId != KeypadScreen::kEnter;
    });
    return keys;
}

} // namespace

ListInfoDlg::ListInfoDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("listInfo"))
    , m_services(services)
{
}

void ListInfoDlg::setUp()
{
    addKeyboard(new OnScreenKeyboard(keys::kBottomBarArea, barKeys()));

    m_title = addTitle(QString(), 1, kTitleHeight);

    QFont font = defaultFont();
    font.setPixelSize(11);
    for (int field = 1; field <= ListHeaderLogic::kFreeFields; ++field) {
        const QString name = ListHeaderLogic::freeFieldName(field);
        const int top = kRowsTop + (field - 1) * kRowPitch;
        auto* label = new QLabel(this);
        label->setObjectName(QStringLiteral("label_") + name);
        label->setFont(font);
        label->setGeometry(kMargin, top, kMaxLabelWidth, kRowHeight);
        auto* value = new QLabel(this);
        value->setObjectName(name);
        value->setFont(font);
        value->setAutoFillBackground(true);
        QPalette shaded = value->palette();
        shaded.setColor(QPalette::Window, QColor(0xe8, 0xe8, 0xe2));
        value->setPalette(shaded);
        value->setGeometry(kMargin + kMaxLabelWidth, top, 0, kRowHeight);
        m_labels[size_t(field - 1)] = label;
        m_values[size_t(field - 1)] = value;
    }
}

void ListInfoDlg::enter()
{
    const SettingsStore& store = m_services.session.store();
    Dataset row(m_services.session.database(), schema::Kopfdaten);
    const bool found = m_services.state.currentList >= 0
                       && row.reset(Filter::byList(m_services.state.currentList)) && !row.eof();
    const QString name = found ? withoutTrailingBlanks(row.loadText(u"LISTE_NR")) : QString();
    m_title->setText(QStringLiteral("Liste: %1").arg(name));

    const QFontMetrics metrics(m_labels[0]->font());
    int labelWidth = 0;
    for (int field = 1; field <= ListHeaderLogic::kFreeFields; ++field) {
        const QString label = ListHeaderLogic::freeLabel(store, field);
        m_labels[size_t(field - 1)]->setText(label);
        labelWidth = std::max(labelWidth, metrics.horizontalAdvance(label));
    }
    labelWidth = std::min(labelWidth + kMargin, kMaxLabelWidth);
    const int valueWidth = ScreenStack::kScreenWidth - 2 * kMargin - labelWidth;
    for (int field = 1; field <= ListHeaderLogic::kFreeFields; ++field) {
        QLabel* label = m_labels[size_t(field - 1)];
        QLabel* value = m_values[size_t(field - 1)];
        label->resize(labelWidth, kRowHeight);
        value->setGeometry(kMargin + labelWidth, value->y(), valueWidth, kRowHeight);
        const QString text =
            found ? row.loadText(ListHeaderLogic::freeFieldName(field)).trimmed() : QString();
        // What does not fit ends in an ellipsis; the whole text is the tooltip.
        value->setText(metrics.elidedText(text, Qt::ElideRight, valueWidth - 4));
        value->setToolTip(text);
        value->setIndent(2);
    }
}

} // namespace brovant
