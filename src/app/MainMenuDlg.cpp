#include "app/MainMenuDlg.h"

#include "app/KeyTables.h"
#include "app/ListHeaderDlg.h"
#include "app/ListSelectionDlg.h"
#include "app/ScreenStack.h"
#include "app/SettingsDlg.h"
#include "app/SystemInfoDlg.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "workflow/AppState.h"

#include <QLabel>
#include <QSvgWidget>

namespace brovant {

MainMenuDlg::MainMenuDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("mainMenu"))
    , m_services(services)
{
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &MainMenuDlg::updateClock);
}

QString MainMenuDlg::clockText(const QDateTime& time)
{
    const QTime t = time.time();
    return QString::asprintf("%02d:%02d:%02d", t.hour(), t.minute(), t.second());
}

QString MainMenuDlg::dateText(const QDateTime& time)
{
    const QDate d = time.date();
    return QString::asprintf("%02d.%02d.%4d", d.day(), d.month(), d.year());
}

void MainMenuDlg::setUp()
{
    addKeyboard(new OnScreenKeyboard(keys::kTallArea, keys::mainMenu()));

    addTitle(QString::fromUtf8(kTitle), 2, 20, 14);

    auto* forest = new QSvgWidget(QStringLiteral(":/icons/picture_forest.svg"), this);
    forest->setObjectName(QStringLiteral("picture1003"));
    forest->setGeometry(6, 22, 60, 45);
    auto* caliper = new QSvgWidget(QStringLiteral(":/icons/picture_caliper.svg"), this);
    caliper->setObjectName(QStringLiteral("picture1008"));
    caliper->setGeometry(174, 22, 60, 45);

    QFont clockFont = defaultFont();
    clockFont.setBold(true);
    clockFont.setPixelSize(18);
    m_clock = new QLabel(this);
    m_clock->setObjectName(QStringLiteral("clock"));
    m_clock->setFont(clockFont);
    m_clock->setAlignment(Qt::AlignCenter);
    m_clock->setGeometry(66, 24, 108, 22);
    QFont dateFont = defaultFont();
    dateFont.setPixelSize(13);
    m_date = new QLabel(this);
    m_date->setObjectName(QStringLiteral("date"));
    m_date->setFont(dateFont);
    m_date->setAlignment(Qt::AlignCenter);
    m_date->setGeometry(66, 46, 108, 18);
    updateClock();
}

void MainMenuDlg::enter()
{
    updateClock();
    m_timer.start();
}

void MainMenuDlg::leave()
{
    m_timer.stop();
}

void MainMenuDlg::updateClock()
{
    const QDateTime now = m_services.clock.now();
    m_clock->setText(clockText(now));
    m_date->setText(dateText(now));
}

void MainMenuDlg::openWorkArea(Screen* target, bool needsMasterData, bool resetList)
{
    if (needsMasterData && !m_services.session.configurationLoaded()) {
        m_services.messages.notice(QStringLiteral("Keine Stammdaten vorhanden!"));
        return;
    }
    if (!target)
        return;
    m_timer.stop();
    if (resetList)
        m_services.state.currentList = -1;
    stack().switchTo(target);
}

void MainMenuDlg::onCommand(int id)
{
    switch (id) {
    case kNewList:
        openWorkArea(stack().screen<ListHeaderDlg>(), true, true);
        return;
    case kSelectList:
        openWorkArea(stack().screen<ListSelectionDlg>(), true, false);
        return;
    case kSystemInfo:
        openWorkArea(stack().screen<SystemInfoDlg>(), false, false);
        return;
    case kSettings:
        openWorkArea(stack().screen<SettingsDlg>(), false, false);
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

void MainMenuDlg::onCancel()
{
    if (m_services.messages.yesNo(QStringLiteral("Programm beenden?")) != Answer::Yes)
        return;
    m_timer.stop();
    stack().switchTo(nullptr);
}

} // namespace brovant
