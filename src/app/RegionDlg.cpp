#include "app/RegionDlg.h"

#include "app/KeyTables.h"
#include "app/ListSelectionDlg.h"
#include "app/ScreenStack.h"
#include "app/TariffAssignmentDlg.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"
#include "workflow/ListHeaderLogic.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>

#include <algorithm>

namespace brovant {
namespace {

// Everything above the keyboard (which starts at y 133).
constexpr int kTitleHeight = 16;
constexpr QRect kViewArea(0, 17, 240, 84);
constexpr int kRowTop = 104;
constexpr int kRowHeight = 27;
constexpr QRect kEditArea(1, kRowTop + 1, 86, kRowHeight - 2);
constexpr QRect kActionArea(89, kRowTop, 151, kRowHeight);

// Regions are up to eight characters: three keys a row, with "Ziff" on the bar to type one.
std::vector<KeyDef> regionKeys()
{
    std::vector<KeyDef> keys = keys::codeList(RegionDlg::kRegionEntry, 3, 6);
    for (KeyDef& key : keys) {
        if (key.commandId == 0 && key.bitmap == 129)
            key.commandId = KeypadScreen::kZiff;
    }
    return keys;
}

std::vector<KeyDef> actionKeys()
{
    const int half = kActionArea.width() / 2;
    return {
        {0, 0, half - 1, kRowHeight, QStringLiteral("Hinzu"), RegionDlg::kAdd},
        {half + 1, 0, kActionArea.width() - half - 1, kRowHeight, QStringLiteral("Entfernen"),
         RegionDlg::kRemove},
    };
}

} // namespace

RegionDlg::RegionDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("region"))
    , m_services(services)
    , m_logic(services.session.database(), services.messages)
{
    setWindowTitle(QStringLiteral("Wuchsregionen"));
}

void RegionDlg::setUp()
{
    m_regionKeys = new OnScreenKeyboard(keys::kFullArea, regionKeys());
    addKeyboard(m_regionKeys);
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::letters()));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    connect(m_regionKeys, &OnScreenKeyboard::entryChosen, this,
            [this](int, int, const QString& code) {
                m_region->setText(code.trimmed());
                add();
            });
    auto* actions = new OnScreenKeyboard(kActionArea, actionKeys(), this);
    connect(actions, &OnScreenKeyboard::command, this, [this](int id) { onCommand(id); });

    m_title = addTitle(windowTitle(), 0, kTitleHeight);

    m_view = keys::rowView(this, QStringLiteral("regionView"), kViewArea);
    m_view->setFocusPolicy(Qt::NoFocus);
    m_view->setHeaderLabels({QStringLiteral("WR"), QStringLiteral("HA"), QStringLiteral("Tarif")});
    m_view->setColumnWidth(0, 90);
    m_view->setColumnWidth(1, 60);

    m_region = new QLineEdit(this);
    m_region->setObjectName(QStringLiteral("REGION_A"));
    m_region->setMaxLength(8);
    m_region->setGeometry(kEditArea);
    QFont font = m_region->font();
    font.setPixelSize(13);
    m_region->setFont(font);
}

void RegionDlg::enter()
{
    const Screen* previous = previousScreen();
    const bool fromTariffs = previous && qobject_cast<const TariffAssignmentDlg*>(previous);
    m_logic.open(m_services.state.currentList);
    m_title->setText(m_logic.listName().isEmpty()
                         ? windowTitle()
                         : QStringLiteral("%1: %2").arg(windowTitle(), m_logic.listName()));
    m_regionKeys->setCodeTable(m_logic.masterRegions(), {}, kRegionEntry);
    m_region->setPlaceholderText(ListHeaderLogic::fixedLabel(m_services.session.store(), 3));
    showKeyboard(RegionList);
    showRows(-1);
    // Back from assigning its tariffs, the region waiting in the field joins the list.
    if (fromTariffs && ListHeaderLogic::hasTariffs(m_services.session.database(), m_region->text()))
        add();
    else if (!fromTariffs)
        m_region->clear();
    m_region->setFocus(Qt::OtherFocusReason);
}

void RegionDlg::showRows(int selected)
{
    m_view->clear();
    QList<QTreeWidgetItem*> items;
    for (const RegionLogic::Row& row : m_logic.rows())
        items << new QTreeWidgetItem({row.region, row.species, row.tariff});
    m_view->addTopLevelItems(items);
    if (QTreeWidgetItem* item = m_view->topLevelItem(selected)) {
        m_view->setCurrentItem(item);
        m_view->scrollToItem(item);
    }
}

void RegionDlg::add()
{
    const QString region = m_region->text().trimmed();
    switch (m_logic.add(region)) {
    case RegionLogic::Added::Yes: {
        m_region->clear();
        // The first row of the region added comes into view.
        const auto& rows = m_logic.rows();
        const auto first = std::find_if(rows.begin(), rows.end(),
                                        [&](const auto& row) { return row.region == region; });
        showRows(int(first - rows.begin()));
        break;
    }
    case RegionLogic::Added::AssignTariffs:
        if (auto* tariffs = stack().screen<TariffAssignmentDlg>())
            tariffs->openRegion(region);
        break;
    case RegionLogic::Added::No:
        break;
    }
}

void RegionDlg::remove()
{
    const int row = m_view->indexOfTopLevelItem(m_view->currentItem());
    if (m_logic.remove(row))
        showRows(std::min(row, int(m_logic.rows().size()) - 1));
}

void RegionDlg::onCommand(int id)
{
    switch (id) {
    case kAdd:
        add();
        return;
    case kRemove:
        remove();
        return;
    case kRegionEntry:
        return; // taken by the list keyboard's entryChosen
    case kPreviousField:
    case kNextField:
        keys::stepSelection(*m_view, id == kPreviousField ? -1 : 1);
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

void RegionDlg::onOk()
{
    add();
}

void RegionDlg::onCancel()
{
    if (Screen* lists = stack().screen<ListSelectionDlg>())
        stack().switchTo(lists);
}

} // namespace brovant
