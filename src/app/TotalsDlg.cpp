#include "app/TotalsDlg.h"

#include "app/DistributionDlg.h"
#include "app/KeyTables.h"
#include "app/Printing.h"
#include "app/ScreenStack.h"
#include "evaluation/Totals.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"

#include <QHeaderView>
#include <QTreeWidget>

#include <algorithm>

namespace brovant {
namespace {

constexpr int kTitleHeight = 16;
constexpr QRect kViewArea(0, 17, 240, 238);
// The two printout keys and, at their foot, the bottom bar (which lands at y 299 like
// everywhere).
constexpr QRect kKeyArea(0, 257, 240, 63);
constexpr int kKeyHeight = 40;
constexpr int kBottomBarTop = 42;

// The cells are fixed-width texts ("%7.2f" and so on): in a fixed-pitch font the columns hold them
// whole and leave room for the scroll bar of a long list.
constexpr int kColumnWidths[Totals::kColumns] = {44, 64, 46, 60};

std::vector<KeyDef> keyBar()
{
    std::vector<KeyDef> keys = {
        {0, 0, 79, kKeyHeight, QStringLiteral("Ausdruck"), TotalsDlg::kPrint},
        {80, 0, 79, kKeyHeight, QStringLiteral("Sortiment"), TotalsDlg::kAssortment},
        {160, 0, 80, kKeyHeight, QStringLiteral("Vert."), TotalsDlg::kDistribution},
    };
    for (const KeyDef& key : keys::browseBar(kBottomBarTop))
        keys.push_back(key);
    return keys;
}

} // namespace

TotalsDlg::TotalsDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("totals"))
    , m_services(services)
{
    setWindowTitle(QStringLiteral("Gesamtsumme"));
}

void TotalsDlg::setUp()
{
    addTitle(windowTitle(), 0, kTitleHeight);

    m_view = keys::rowView(this, QStringLiteral("totalsView"), kViewArea);
    m_view->header()->setStretchLastSection(false);
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setPixelSize(12);
    m_view->setFont(font);

    m_view->setColumnCount(Totals::kColumns);
    m_view->setHeaderLabels({QStringLiteral("HA"), QStringLiteral("Kub."), QStringLiteral("Stk"),
                             QStringLiteral("d-Kub.")});
    for (int column = 0; column < Totals::kColumns; ++column) {
        m_view->setColumnWidth(column, kColumnWidths[column]);
        if (column > 0)
            m_view->headerItem()->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }

    addKeyboard(new OnScreenKeyboard(kKeyArea, keyBar()));
}

void TotalsDlg::openAsTallied()
{
    m_nextOrder = Totals::Order::AsTallied;
    stack().switchTo(this);
}

void TotalsDlg::enter()
{
    Screen* from = previousScreen();
    if (m_opener && from && from != m_opener && from == stack().screen<DistributionDlg>()) {
        // Back from the distribution opened here: the rows in the order they were opened in,
        // and back from here still where it led before.
        setPreviousScreen(m_opener);
    } else {
        m_opener = from;
        m_order = m_nextOrder;
    }
    m_nextOrder = Totals::Order::BySpecies;
    rebuild();
}

void TotalsDlg::rebuild()
{
    m_view->clear();
    const auto totals =
        Totals::compute(m_services.session.database(), m_services.state.currentList, m_order);
    if (totals) {
        QList<QTreeWidgetItem*> items;
        for (const Totals::Row& row : totals->rows()) {
            auto* item = new QTreeWidgetItem(QStringList(row.begin(), row.end()));
            for (int column = 1; column < Totals::kColumns; ++column)
                item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
            items << item;
        }
        m_view->addTopLevelItems(items);
        m_view->setCurrentItem(m_view->topLevelItem(0));
    }
    m_view->setFocus(Qt::OtherFocusReason);
}

void TotalsDlg::switchTo(Screen* target)
{
    // A screen that does not exist (a bare framework in tests) leaves the user here.
    if (target)
        stack().switchTo(target);
    else
        m_view->setFocus(Qt::OtherFocusReason);
}

void TotalsDlg::onCommand(int id)
{
    switch (id) {
    case kPrint:
        Printing::run(m_services, ReportKind::Listing, m_services.state.currentList);
        m_view->setFocus(Qt::OtherFocusReason);
        return;
    case kAssortment:
        Printing::run(m_services, ReportKind::ClassTable, m_services.state.currentList);
        m_view->setFocus(Qt::OtherFocusReason);
        return;
    case kDistribution:
        switchTo(stack().screen<DistributionDlg>());
        return;
    case kPreviousField:
    case kNextField:
        keys::stepSelection(*m_view, id == kPreviousField ? -1 : 1);
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

} // namespace brovant
