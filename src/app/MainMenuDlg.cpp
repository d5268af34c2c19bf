#include "app/MainMenuDlg.h"

#include "app/CNorvMFCApp.h"
#include "app/KeyTables.h"
#include "workflow/AppState.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"

#include <QLabel>
#include <QSvgWidget>

namespace brovant {

MainMenuDlg::MainMenuDlg(CNorvMFCApp& app)
    : CNorvKeybDlg(app, QStringLiteral("mainMenu"))
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

void MainMenuDlg::OnInitDialog()
{
    SetKeyboard(new CNorvKeyboard(keys::kTallArea, keys::mainMenu()));

    addTitle(QString::fromUtf8(kTitle), 2, 20, 14);

    auto* forest = new QSvgWidget(QStringLiteral(":/icons/picture_forest.svg"), this);
    forest->setObjectName(QStringLiteral("picture1003"));
    forest->setGeometry(6, 22, 60, 45);
    auto* caliper = new QSvgWidget(QStringLiteral(":/icons/picture_caliper.svg"), this);
    caliper->setObjectName(QStringLiteral("picture1008"));
    caliper->setGeometry(174, 22, 60, 45);

    QFont clockFont = GetDefaultFont();
    clockFont.setBold(true);
    clockFont.setPixelSize(18);
    m_clock = new QLabel(this);
    m_clock->setObjectName(QStringLiteral("clock"));
    m_clock->setFont(clockFont);
    m_clock->setAlignment(Qt::AlignCenter);
    m_clock->setGeometry(66, 24, 108, 22);
    QFont dateFont = GetDefaultFont();
    dateFont.setPixelSize(13);
    m_date = new QLabel(this);
    m_date->setObjectName(QStringLiteral("date"));
    m_date->setFont(dateFont);
    m_date->setAlignment(Qt::AlignCenter);
    m_date->setGeometry(66, 46, 108, 18);
    updateClock();
}

void MainMenuDlg::InitDialog()
{
    updateClock();
    m_timer.start();
}

void MainMenuDlg::OnLeave()
{
    m_timer.stop();
}

void MainMenuDlg::updateClock()
{
    const QDateTime now = app().clock().now();
    m_clock->setText(clockText(now));
    m_date->setText(dateText(now));
}

void MainMenuDlg::openWorkArea(const char* screen, bool needsMasterData, bool resetList)
{
    if (needsMasterData && !app().session().configurationLoaded()) {
        app().messages().notice(QStringLiteral("Keine Stammdaten vorhanden!"));
        return;
    }
    CNorvBaseDlg* target = app().findScreen(QString::fromLatin1(screen));
    if (!target)
        return;
    m_timer.stop();
    if (resetList)
        app().state().currentList = -1;
    app().SwitchToDialog(target, 0);
}

void MainMenuDlg::OnCommand(int id)
{
    switch (id) {
    case kNewList:
        openWorkArea("listHeader", true, true);
        return;
    case kSelectList:
        openWorkArea("listSelection", true, false);
        return;
    case kSystemInfo:
        openWorkArea("systemInfo", false, false);
        return;
    case kSettings:
        openWorkArea("settings", false, false);
        return;
    default:
        CNorvKeybDlg::OnCommand(id);
    }
}

void MainMenuDlg::OnCancel()
{
    if (app().messages().yesNo(QStringLiteral("Programm beenden?")) != MessageDialogs::Yes)
        return;
    m_timer.stop();
    app().SwitchToDialog(nullptr, 0);
}

} // namespace brovant
