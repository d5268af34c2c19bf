#include "app/ListSelectionDlg.h"

#include "app/KeyTables.h"
#include "app/ListHeaderDlg.h"
#include "app/ListInfoDlg.h"
#include "app/MainMenuDlg.h"
#include "app/Printing.h"
#include "app/RegionDlg.h"
#include "app/ScreenStack.h"
#include "app/TallyDlg.h"
#include "app/TotalsDlg.h"
#include "device/BackupService.h"
#include "masterdata/DeviceSession.h"
#include "platform/MessageDialogs.h"
#include "transfer/ListCsvExport.h"
#include "transfer/TransferChannels.h"
#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QTabBar>
#include <QTreeWidget>

#include <utility>

namespace brovant {
namespace {

constexpr int kTitleHeight = 16;
constexpr QRect kListArea(0, 16, 240, 180);
constexpr QRect kTabArea(0, 197, 240, 22);
// The tab's keys and, at its foot, the bottom bar (which lands at y 299 like everywhere).
constexpr QRect kKeyArea(0, 221, 240, 99);
constexpr int kKeysHeight = 76;
constexpr int kBottomBarTop = 78;

constexpr int kListWidth = 80;
constexpr int kMarkWidth = 30;
constexpr int kAdditionWidth = 80;

struct BarKey {
    const char* caption;
    int command;
};

// "CSV" on the transfer bar: the selected list as a spreadsheet file beside the printed reports.
constexpr int kCsvExport = 1131;

// Three keys a row; a single row takes the whole height.
std::vector<KeyDef> keyBar(std::initializer_list<BarKey> barKeys)
{
    std::vector<KeyDef> keys;
    const int rows = int(barKeys.size() + 2) / 3;
    const int height = kKeysHeight / rows;
    int i = 0;
    for (const BarKey& s : barKeys) {
        keys.push_back({(i % 3) * 80, (i / 3) * (height + 1), 79, height - 1,
                        QString::fromUtf8(s.caption), s.command});
        ++i;
    }
    for (const KeyDef& k : keys::bottomBar(kBottomBarTop, false))
        keys.push_back(k);
    return keys;
}

std::vector<KeyDef> tallyKeys()
{
    return keyBar({{"Holz", ListSelectionDlg::kTally},
                   {"Neu", ListSelectionDlg::kNew},
                   {"Info", ListSelectionDlg::kInfo},
                   {"Del", ListSelectionDlg::kDelete},
                   {"Modell", ListSelectionDlg::kModel},
                   {"Region", ListSelectionDlg::kRegion}});
}

std::vector<KeyDef> evaluationKeys()
{
    return keyBar({{"Eval", ListSelectionDlg::kEval},
                   {"Ausdruck", ListSelectionDlg::kPrint},
                   {"Sortiment", ListSelectionDlg::kAssortment}});
}

std::vector<KeyDef> transferKeys()
{
    return keyBar({{"DÜ", ListSelectionDlg::kMark},
                   {"Send", ListSelectionDlg::kSend},
                   {"Receive", ListSelectionDlg::kReceive},
                   {"CSV", kCsvExport}});
}

} // namespace

ListSelectionDlg::ListSelectionDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("listSelection"))
    , m_services(services)
{
    setWindowTitle(QStringLiteral("Listenauswahl"));
}

ListSelectionDlg::~ListSelectionDlg() = default;

void ListSelectionDlg::setUp()
{
    DeviceSession& session = m_services.session;
    m_logic = std::make_unique<ListSelectionLogic>(
        session.root(), session.database(), session.store(), m_services.state, m_services.messages,
        m_services.clock, &m_services.host);

    addTitle(windowTitle(), 0, kTitleHeight);

    m_list = keys::rowView(this, QStringLiteral("listView"), kListArea);
    m_list->header()->setStretchLastSection(false);
    m_list->installEventFilter(this);
    connect(m_list, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (!m_busy)
            m_logic->setSelectedRow(item ? m_list->indexOfTopLevelItem(item) : -1);
    });
    connect(m_list, &QTreeWidget::itemDoubleClicked, this, [this] {
        if (!m_busy)
            onCommand(kOk);
    });

    m_tabs = new QTabBar(this);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    for (const char* tab : {"Holzaufnahme", "Auswert.", "  DÜ   "})
        m_tabs->addTab(QString::fromUtf8(tab));
    m_tabs->setExpanding(true);
    m_tabs->setUsesScrollButtons(false);
    m_tabs->setElideMode(Qt::ElideNone);
    m_tabs->setFocusPolicy(Qt::NoFocus);
    QFont tabFont = defaultFont();
    tabFont.setPixelSize(11);
    m_tabs->setFont(tabFont);
    // The long first caption gets the room the two short ones do not need; the chosen tab is
    // shown in the headings' green so it reads at a glance.
    m_tabs->setStyleSheet(
        QStringLiteral("QTabBar::tab { width: 75px; height: 20px; padding: 0px; margin: 0px;"
                       " border: 1px solid #808080; border-bottom: none; background: #e4e4dc; }"
                       "QTabBar::tab:first { width: 88px; }"
                       "QTabBar::tab:selected { background: #2e5e3a; color: white; }"));
    m_tabs->setGeometry(kTabArea);

    addKeyboard(new OnScreenKeyboard(kKeyArea, tallyKeys()));
    addKeyboard(new OnScreenKeyboard(kKeyArea, evaluationKeys()));
    addKeyboard(new OnScreenKeyboard(kKeyArea, transferKeys()));
    connect(m_tabs, &QTabBar::currentChanged, this, &ListSelectionDlg::showTab);
    showTab(TallyTab);
}

void ListSelectionDlg::showTab(int index)
{
    if (m_tabs->currentIndex() != index)
        m_tabs->setCurrentIndex(index);
    showKeyboard(index);
}

void ListSelectionDlg::enter()
{
    // Coming back from editing a header or from tallying saves the database first.
    if (const Screen* previous = previousScreen(); previous
                                                   && (qobject_cast<const ListHeaderDlg*>(previous)
                                                       || qobject_cast<const TallyDlg*>(previous)))
        m_services.backup.automaticIfEnabled();
    rebuild();
}

void ListSelectionDlg::rebuild()
{
    m_logic->build();
    showRows();
}

void ListSelectionDlg::showRows()
{
    const bool wasBusy = std::exchange(m_busy, true);
    m_list->clear();
    m_list->setHeaderLabels({QStringLiteral("Liste"), QStringLiteral("DÜ"), m_logic->heading()});
    m_list->headerItem()->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    m_list->setColumnWidth(0, kListWidth);
    m_list->setColumnWidth(1, kMarkWidth);
    m_list->setColumnWidth(2, kAdditionWidth);
    showKeyboard(m_tabs->currentIndex());

    const auto& rows = m_logic->rows();
    QList<QTreeWidgetItem*> items;
    items.reserve(qsizetype(rows.size()));
    for (const auto& row : rows) {
        auto* item = new QTreeWidgetItem({row.listNo, row.mark, row.addition});
        item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
        items << item;
    }
    m_list->addTopLevelItems(items);
    showSelection();
    m_busy = wasBusy;
    m_list->setFocus(Qt::OtherFocusReason);
}

void ListSelectionDlg::showSelection()
{
    const bool wasBusy = std::exchange(m_busy, true);
    const int row = m_logic->selectedRow();
    QTreeWidgetItem* item = row >= 0 ? m_list->topLevelItem(row) : nullptr;
    m_list->setCurrentItem(item);
    if (item)
        m_list->scrollToItem(item);
    else
        m_list->clearSelection();
    m_busy = wasBusy;
}

void ListSelectionDlg::backToList()
{
    m_list->setFocus(Qt::OtherFocusReason);
}

void ListSelectionDlg::switchTo(Screen* target)
{
    // Without a target (a screen the stack does not hold) the user stays on the list.
    if (target)
        stack().switchTo(target);
    else
        backToList();
}

void ListSelectionDlg::go(ListSelectionLogic::Target target)
{
    using Target = ListSelectionLogic::Target;
    switch (target) {
    case Target::None:
        backToList();
        return;
    case Target::ListHeader:
        switchTo(stack().screen<ListHeaderDlg>());
        return;
    case Target::ListInfo:
        switchTo(stack().screen<ListInfoDlg>());
        return;
    case Target::Tally:
        switchTo(stack().screen<TallyDlg>());
        return;
    case Target::Totals:
        switchTo(stack().screen<TotalsDlg>());
        return;
    case Target::Region:
        // The region screen is told by a property that it was opened for one list.
        if (Screen* region = stack().screen<RegionDlg>()) {
            region->setProperty("regionMode", 1);
            stack().switchTo(region);
        } else {
            backToList();
        }
        return;
    case Target::TallyPrintout:
        Printing::run(m_services, ReportKind::Listing, m_services.state.currentList);
        backToList();
        return;
    case Target::AssortmentPrintout:
        Printing::run(m_services, ReportKind::ClassTable, m_services.state.currentList);
        backToList();
        return;
    }
}

void ListSelectionDlg::onCommand(int id)
{
    switch (id) {
    case kMark: {
        const int row = m_logic->selectedRow();
        if (const auto text = m_logic->toggleMark()) {
            if (QTreeWidgetItem* item = m_list->topLevelItem(std::max(row, 0)))
                item->setText(1, *text);
        }
        backToList();
        return;
    }
    case kNew:
        go(m_logic->newList());
        return;
    case kTally:
        go(m_logic->openTally());
        return;
    case kDelete: {
        const int row = m_logic->selectedRow();
        if (m_logic->deleteSelected()) {
            const bool wasBusy = std::exchange(m_busy, true);
            delete m_list->takeTopLevelItem(row);
            m_busy = wasBusy;
            showSelection();
        }
        backToList();
        return;
    }
    case kEval:
        go(m_logic->openTotals());
        return;
    case kPrint:
        go(m_logic->printTally());
        return;
    case kAssortment:
        go(m_logic->printAssortment());
        return;
    case kInfo:
        go(m_logic->openInfo());
        return;
    case kRegion:
        go(m_logic->openRegion());
        return;
    case kModel:
        m_logic->buildModel();
        rebuild();
        return;
    case kSend:
        send();
        return;
    case kReceive:
        receive();
        return;
    case kCsvExport: {
        // The selected list, or the first one when none is selected, as the other keys do.
        const auto& rows = m_logic->rows();
        const size_t row = size_t(std::max(m_logic->selectedRow(), 0));
        if (row >= rows.size()) {
            m_services.messages.beep();
        } else {
            DeviceSession& session = m_services.session;
            ListCsvExport csv(session.root(), session.database(), session.store(),
                              m_services.messages);
            if (const std::optional<QString> path = csv.write(rows[row].idFile))
                m_services.messages.notice(QStringLiteral("CSV-Datei erstellt:"),
                                           path->section(u'\\', -1), path->section(u'\\', 0, -2),
                                           QStringLiteral("OK"), false);
        }
        backToList();
        return;
    }
    case kPreviousField:
    case kNextField:
        keys::stepSelection(*m_list, id == kPreviousField ? -1 : 1);
        return;
    case kBackspace:
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

void ListSelectionDlg::send()
{
    using Transfer = ListSelectionLogic::Transfer;
    const bool wasBusy = std::exchange(m_busy, true);
    const Transfer result = m_logic->send(m_services.channels);
    if (result == Transfer::Done)
        showRows();
    m_busy = wasBusy;
    if (result != Transfer::NotStarted)
        bringToFront();
    backToList();
}

void ListSelectionDlg::receive()
{
    const bool wasBusy = std::exchange(m_busy, true);
    const bool received = m_logic->receive(m_services.channels, &m_services.session.keepAwake())
                          == ListSelectionLogic::Transfer::Done;
    if (received)
        showRows();
    m_busy = wasBusy;
    if (received)
        bringToFront();
    backToList();
}

void ListSelectionDlg::onOk()
{
    // Confirm (Enter, a double tap on a row) opens the list for tallying, as "Holz" does.
    onCommand(kTally);
}

void ListSelectionDlg::onCancel()
{
    switchTo(stack().screen<MainMenuDlg>());
}

bool ListSelectionDlg::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Delete) {
            onCommand(kDelete);
            return true;
        }
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            onCommand(kOk);
            return true;
        }
    }
    return KeypadScreen::eventFilter(watched, event);
}

} // namespace brovant
