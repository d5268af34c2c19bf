#include "app/SystemInfoDlg.h"

#include "app/KeyTables.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "device/DeviceControls.h"
#include "device/DeviceRoutes.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"

#include <QLabel>
#include <QLocale>
#include <QProgressBar>

namespace brovant {

namespace {

constexpr int kIndent = 16;
constexpr int kLineHeight = 16;

QLabel* addLabel(QWidget* parent, const QString& name, const QString& text, const QRect& place,
                 int pixelSize = 12, bool bold = false)
{
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    QFont font = Screen::defaultFont();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    label->setGeometry(place);
    return label;
}

} // namespace

SystemInfoDlg::SystemInfoDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("systemInfo"))
    , m_services(services)
{
    m_timer.setInterval(kRefreshMs);
    connect(&m_timer, &QTimer::timeout, this, &SystemInfoDlg::refresh);
}

QString SystemInfoDlg::buildLine(const QString& version, const char* compileDate)
{
    // The compiler writes "Mmm dd yyyy" in English, whatever the machine's language.
    const QString raw = QString::fromLatin1(compileDate).simplified();
    const QDate date = QLocale::c().toDate(raw, QStringLiteral("MMM d yyyy"));
    const QString shown = date.isValid() ? date.toString(QStringLiteral("dd.MM.yyyy")) : raw;
    return QStringLiteral("Version %1 vom %2").arg(version, shown);
}

void SystemInfoDlg::setUp()
{
    // Without a soft keyboard "Ziff" has nothing to switch.
    addKeyboard(new OnScreenKeyboard(keys::kBottomBarArea, keys::bottomBar(0, false)));
    const int width = ScreenStack::kScreenWidth;
    const int textWidth = width - 2 * kIndent;

    QLabel* title = addLabel(this, QStringLiteral("title"), QStringLiteral("Systeminfo"),
                             QRect(0, 2, width, 20), 14, true);
    title->setAlignment(Qt::AlignCenter);

    addLabel(this, QStringLiteral("software"), QStringLiteral("Software: Arvenlo"),
             QRect(8, 30, width - 16, kLineHeight), 12, true);
    addLabel(this, QStringLiteral("version"), QString::fromUtf8(MainMenuDlg::kTitle),
             QRect(kIndent, 48, textWidth, kLineHeight));
    addLabel(this, QStringLiteral("build"), buildLine(QStringLiteral(BROVANT_VERSION), __DATE__),
             QRect(kIndent, 64, textWidth, kLineHeight));

    addLabel(this, QStringLiteral("hardwareLabel"), QStringLiteral("Hardware:"),
             QRect(8, 88, width - 16, kLineHeight), 12, true);
    QLabel* hardware =
        addLabel(this, QStringLiteral("hardware"), hardwareDescription(m_services.session.root()),
                 QRect(kIndent, 106, textWidth, 2 * kLineHeight));
    hardware->setWordWrap(true);
    hardware->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    addLabel(this, QStringLiteral("batteryLabel"), QStringLiteral("Akkuzustand:"),
             QRect(8, 142, width - 16, kLineHeight), 12, true);
    m_batteryBar = new QProgressBar(this);
    m_batteryBar->setObjectName(QStringLiteral("batteryBar"));
    m_batteryBar->setRange(0, 100);
    m_batteryBar->setGeometry(kIndent, 160, textWidth, 18);
    m_batteryText = addLabel(this, QStringLiteral("batteryState"), QString(),
                             QRect(kIndent, 160, textWidth, 18));

    m_time = addLabel(this, QStringLiteral("time"), QString(), QRect(0, 196, width, 22), 18, true);
    m_time->setAlignment(Qt::AlignCenter);
    m_date = addLabel(this, QStringLiteral("date"), QString(), QRect(0, 218, width, 18), 13);
    m_date->setAlignment(Qt::AlignCenter);

    QLabel* footer =
        addLabel(this, QStringLiteral("footer"), QStringLiteral("Holzaufnahme im Wald"),
                 QRect(0, 272, width, kLineHeight), 11);
    footer->setAlignment(Qt::AlignCenter);
    footer->setForegroundRole(QPalette::PlaceholderText);

    refresh();
}

void SystemInfoDlg::enter()
{
    refresh();
    m_timer.start();
}

void SystemInfoDlg::leave()
{
    m_timer.stop();
}

void SystemInfoDlg::refresh()
{
    showBattery(m_services.device.battery());
    const QDateTime now = m_services.clock.now();
    m_time->setText(MainMenuDlg::clockText(now));
    m_date->setText(MainMenuDlg::dateText(now));
}

void SystemInfoDlg::showBattery(const BatteryStatus& status)
{
    // The device's own state word wins; a charge only shows as the bar; nothing known is a word.
    const bool bar = !status.hasState && status.percent >= 0;
    m_batteryBar->setVisible(bar);
    m_batteryText->setVisible(!bar);
    if (bar)
        m_batteryBar->setValue(status.percent);
    else
        m_batteryText->setText(BatteryStatus::stateText(status.hasState ? status.state : 255));
}

} // namespace brovant
