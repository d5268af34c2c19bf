#include "app/SettingsDlg.h"

#include "app/ConfigurationDlg.h"
#include "app/KeyTables.h"
#include "app/MainMenuDlg.h"
#include "app/PrinterSettingsDlg.h"
#include "app/QtMessageDialogs.h"
#include "app/RestoreDlg.h"
#include "app/ScreenStack.h"
#include "app/TariffAssignmentDlg.h"
#include "device/BackupService.h"
#include "device/DeviceControls.h"
#include "masterdata/DeviceSession.h"
#include "platform/Clock.h"
#include "platform/MessageDialogs.h"
#include "workflow/AppLifecycle.h"
#include "workflow/AppState.h"
#include "workflow/SettingsLogic.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>
#include <QTabBar>
#include <QTimeEdit>

namespace brovant {

const std::array<std::pair<const char*, int>, 6> SettingsDlg::kSwitchOffChoices = {{
    {"nicht ausschalten", 0},
    {"1 Minute", 60},
    {"2 Minuten", 120},
    {"3 Minuten", 180},
    {"4 Minuten", 240},
    {"5 Minuten", 300},
}};

namespace {

constexpr int kRow = 27;

QLabel* addLabel(QWidget* page, const QString& text, int y)
{
    auto* label = new QLabel(text, page);
    label->setGeometry(4, y, 88, 24);
    return label;
}

QSlider* addSlider(QWidget* page, int id, int maximum, int y)
{
    auto* slider = new QSlider(Qt::Horizontal, page);
    slider->setObjectName(QStringLiteral("slider%1").arg(id));
    // Volume positions start at 1; the backlight never goes below the level that keeps the
    // screen readable.
    slider->setRange(id == SettingsDlg::kVolume ? 1 : DeviceControls::kLowestBacklight, maximum);
    slider->setPageStep(1);
    slider->setGeometry(94, y, 140, 24);
    return slider;
}

} // namespace

SettingsDlg::SettingsDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("settings"))
    , m_services(services)
{
}

SettingsDlg::~SettingsDlg() = default;

QPushButton* SettingsDlg::addButton(QWidget* page, int id, const QString& caption, int x, int y,
                                    int w)
{
    auto* button = new QPushButton(caption, page);
    button->setObjectName(QStringLiteral("button%1").arg(id));
    button->setGeometry(x, y, w, 40);
    button->setFocusPolicy(Qt::NoFocus);
    connect(button, &QPushButton::clicked, this, [this, id] { onCommand(id); });
    return button;
}

void SettingsDlg::setUp()
{
    m_logic =
        std::make_unique<SettingsLogic>(m_services.session, m_services.state, m_services.messages);

    m_tabs = new QTabBar(this);
    m_tabs->setObjectName(QStringLiteral("tabs1021"));
    m_tabs->addTab(QStringLiteral("Funktionen"));
    m_tabs->addTab(QStringLiteral("Konfiguration"));
    m_tabs->addTab(QStringLiteral("Einstellungen"));
    m_tabs->setExpanding(true);
    // All three tabs must show at once on the narrow screen.
    m_tabs->setUsesScrollButtons(false);
    m_tabs->setElideMode(Qt::ElideNone);
    QFont tabFont = defaultFont();
    tabFont.setPixelSize(11);
    m_tabs->setFont(tabFont);
    m_tabs->setStyleSheet(
        QStringLiteral("QTabBar::tab { width: 76px; height: 22px; padding: 0px; }"));
    m_tabs->setGeometry(0, 0, 240, 26);
    m_pages = new QStackedWidget(this);
    m_pages->setGeometry(0, 28, 240, 270);
    connect(m_tabs, &QTabBar::currentChanged, this, &SettingsDlg::showTab);

    auto* functions = new QWidget;
    addButton(functions, kDeleteAll, QStringLiteral("Delete all"), 4, 4, 114);
    addButton(functions, kReloadConfiguration, QStringLiteral("RecKonfig"), 122, 4, 114);
    addButton(functions, kBackup, QStringLiteral("Sichern"), 4, 50, 114);
    addButton(functions, kRestore, QStringLiteral("Wiederh"), 122, 50, 114);
    m_autoBackup = new QCheckBox(QStringLiteral("Automatische Sicherung"), functions);
    m_autoBackup->setObjectName(QStringLiteral("check1194"));
    m_autoBackup->setGeometry(6, 98, 230, 28);
    m_cardBackup = new QCheckBox(QStringLiteral("Speicherkarte verwenden"), functions);
    m_cardBackup->setObjectName(QStringLiteral("check1195"));
    m_cardBackup->setGeometry(6, 128, 230, 28);
    connect(m_autoBackup, &QCheckBox::clicked, this, [this] { onCommand(kAutomaticBackup); });
    connect(m_cardBackup, &QCheckBox::clicked, this, [this] { onCommand(kCardBackup); });
    addButton(functions, kReset, QStringLiteral("Reset"), 4, 166, 232);
    m_pages->addWidget(functions);

    auto* configuration = new QWidget;
    addButton(configuration, kCompanyHeader, QStringLiteral("Firmenkopf"), 4, 4, 232);
    addButton(configuration, kTariffAssignment, QStringLiteral("Tarif-Zuordnung"), 4, 50, 232);
    addButton(configuration, kCommunication, QStringLiteral("Kommunikation"), 4, 96, 232);
    m_pages->addWidget(configuration);

    auto* device = new QWidget;
    addLabel(device, QStringLiteral("Datum:"), 4);
    m_date = new QDateEdit(device);
    m_date->setObjectName(QStringLiteral("date1022"));
    m_date->setDisplayFormat(QStringLiteral("dd.MM.yyyy"));
    m_date->setGeometry(94, 4, 140, 24);
    addLabel(device, QStringLiteral("Uhrzeit:"), 4 + kRow);
    m_time = new QTimeEdit(device);
    m_time->setObjectName(QStringLiteral("time1023"));
    m_time->setDisplayFormat(QStringLiteral("HH:mm:ss"));
    m_time->setGeometry(94, 4 + kRow, 140, 24);
    connect(m_date, &QDateEdit::dateChanged, this, [this] { onCommand(kDate); });
    connect(m_time, &QTimeEdit::timeChanged, this, [this] { onCommand(kTime); });
    addLabel(device, QStringLiteral("Lautstärke:"), 4 + 2 * kRow);
    m_volume = addSlider(device, kVolume, 6, 4 + 2 * kRow);
    addLabel(device, QStringLiteral("Beleuchtung:"), 4 + 3 * kRow);
    m_backlightMains = addSlider(device, kBacklightMains, 10, 4 + 3 * kRow);
    addLabel(device, QStringLiteral("(Akkubetrieb):"), 4 + 4 * kRow);
    m_backlightBattery = addSlider(device, kBacklightBattery, 10, 4 + 4 * kRow);
    for (QSlider* s : {m_volume, m_backlightMains, m_backlightBattery}) {
        const int id = s == m_volume           ? kVolume
                       : s == m_backlightMains ? kBacklightMains
                                               : kBacklightBattery;
        connect(s, &QSlider::valueChanged, this, [this, id] { onCommand(id); });
    }
    addLabel(device, QStringLiteral("Ausschalten:"), 4 + 5 * kRow);
    m_switchOff = new QComboBox(device);
    m_switchOff->setObjectName(QStringLiteral("combo1207"));
    for (const auto& [text, seconds] : kSwitchOffChoices)
        m_switchOff->addItem(QString::fromUtf8(text), seconds);
    m_switchOff->setGeometry(94, 4 + 5 * kRow, 140, 24);
    connect(m_switchOff, &QComboBox::currentIndexChanged, this, [this] { onCommand(kSwitchOff); });
    m_pages->addWidget(device);

    addKeyboard(new OnScreenKeyboard(keys::kBottomBarArea, keys::bottomBar(0, true)));
    addKeyboard(new OnScreenKeyboard(keys::kFullArea, keys::digits()));
    showTab(0);
}

void SettingsDlg::showTab(int index)
{
    if (m_tabs->currentIndex() != index)
        m_tabs->setCurrentIndex(index);
    m_pages->setCurrentIndex(index);
    showKeyboard(0);
}

void SettingsDlg::enter()
{
    // Every control shows what the device holds now; nothing is written while filling them.
    m_loading = true;
    const QDateTime now = m_services.clock.now();
    m_date->setDate(now.date());
    m_time->setTime(now.time());
    DeviceControls& device = m_services.device;
    m_backlightMains->setValue(device.backlight(PowerSource::Mains).value_or(0));
    m_backlightBattery->setValue(device.backlight(PowerSource::Battery).value_or(0));
    for (size_t i = 0; i < kSwitchOffChoices.size(); ++i) {
        if (kSwitchOffChoices[i].second == device.switchOff())
            m_switchOff->setCurrentIndex(int(i));
    }
    const SettingsStore& store = m_services.session.store();
    if (auto* communication =
            findChild<QPushButton*>(QStringLiteral("button%1").arg(kCommunication)))
        communication->setEnabled(stack().screen<PrinterSettingsDlg>() != nullptr);
    m_autoBackup->setChecked(store.readInt(Setting::BackupAuto) == 1);
    m_cardBackup->setChecked(store.readInt(Setting::BackupKarte) == 1);
    m_loading = false;
}

void SettingsDlg::applyDateTime(int changed)
{
    // The pickers were filled when the screen opened; the part the user did not touch is taken
    // from the clock now, so the time keeps running while the screen is open.
    const QDateTime now = m_services.clock.now();
    m_services.device.setDateTime(changed == kDate ? QDateTime(m_date->date(), now.time())
                                                   : QDateTime(now.date(), m_time->time()));
}

void SettingsDlg::goTo(Screen* target)
{
    if (target)
        stack().switchTo(target);
}

void SettingsDlg::onCommand(int id)
{
    if (m_loading)
        return;
    DeviceControls& device = m_services.device;
    switch (id) {
    case kDeleteAll:
        if (m_logic->deleteAll(m_services.host))
            goTo(stack().screen<MainMenuDlg>());
        return;
    case kReloadConfiguration:
        m_logic->reloadConfiguration(m_services.channels, m_services.host);
        return;
    case kBackup: {
        const QStringList question = BackupService::question();
        if (m_services.messages.yesNo(question[0], question[1], question[2]) != Answer::Yes)
            return;
        m_services.host.setWaitCursor(true);
        m_services.backup.backup(BackupService::Kind::Manual);
        m_services.host.setWaitCursor(false);
        return;
    }
    case kRestore:
        if (auto* dialogs = dynamic_cast<QtMessageDialogs*>(&m_services.messages))
            dialogs->playQuestion();
        if (RestoreDlg::open(m_services))
            m_logic->afterRestore(m_services.host);
        return;
    case kAutomaticBackup:
        m_autoBackup->setChecked(m_logic->setAutomaticBackup(m_autoBackup->isChecked()));
        return;
    case kCardBackup:
        m_cardBackup->setChecked(m_logic->setCardBackup(m_cardBackup->isChecked()));
        return;
    case kReset:
        if (m_services.messages.yesNo(QStringLiteral("Wollen Sie den Reset"),
                                      QStringLiteral("durchführen?"))
            == Answer::Yes)
            device.reset();
        return;
    case kCompanyHeader:
        if (auto* screen = stack().screen<ConfigurationDlg>())
            screen->openPage(0);
        return;
    case kTariffAssignment:
        if (auto* screen = stack().screen<TariffAssignmentDlg>())
            screen->openAll();
        return;
    case kCommunication:
        goTo(stack().screen<PrinterSettingsDlg>());
        return;
    case kDate:
    case kTime:
        applyDateTime(id);
        return;
    case kVolume:
        device.setVolume(m_volume->value());
        return;
    case kBacklightMains:
        device.setBacklight(PowerSource::Mains, m_backlightMains->value());
        return;
    case kBacklightBattery:
        device.setBacklight(PowerSource::Battery, m_backlightBattery->value());
        return;
    case kSwitchOff:
        if (!device.setSwitchOff(m_switchOff->currentData().toInt()))
            m_logic->switchOffNotApplied();
        return;
    default:
        KeypadScreen::onCommand(id);
    }
}

void SettingsDlg::onCancel()
{
    goTo(stack().screen<MainMenuDlg>());
}

} // namespace brovant
