#include "app/PrinterSettingsDlg.h"

#include "app/CableSettingsDlg.h"
#include "app/KeyTables.h"
#include "app/MainMenuDlg.h"
#include "app/ScreenStack.h"
#include "app/SettingsDlg.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"
#include "workflow/CableSettingsLogic.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTabBar>

#include <algorithm>
#include <utility>

namespace brovant {
namespace {

// Rows a gloved finger can hit: 28 pixels high, 4 apart; captions left, choices right.
constexpr int kRowHeight = 28;
constexpr int kRowPitch = 32;
constexpr int kLabelLeft = 4;
constexpr int kLabelWidth = 92;
constexpr int kFieldLeft = 98;
constexpr int kFieldWidth = 138;
constexpr int kPagesTop = 48;

QLabel* addLabel(QWidget* page, const QString& name, const QString& text, int y)
{
    auto* label = new QLabel(text, page);
    label->setObjectName(QStringLiteral("label_") + name);
    label->setGeometry(kLabelLeft, y, kLabelWidth, kRowHeight);
    return label;
}

QComboBox* addCombo(QWidget* page, const QString& name, const QString& caption, int y)
{
    QLabel* label = addLabel(page, name, caption, y);
    auto* combo = new QComboBox(page);
    combo->setObjectName(name);
    combo->setGeometry(kFieldLeft, y, kFieldWidth, kRowHeight);
    label->setBuddy(combo);
    return combo;
}

void selectData(QComboBox* combo, int value)
{
    combo->setCurrentIndex(combo->findData(value));
}

} // namespace

PrinterSettingsDlg::PrinterSettingsDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("printerSettings"))
    , m_services(services)
    , m_logic(services.session.store(), services.state.tables)
{
}

void PrinterSettingsDlg::setUp()
{
    addTitle(QStringLiteral("Einstellungen - Kommunikation"), 0, 18, 12);
    // Big marks and list lines: the screen is worked with gloves.
    setStyleSheet(QStringLiteral(
        "QRadioButton::indicator, QCheckBox::indicator { width: 18px; height: 18px; }"
        "QComboBox QAbstractItemView::item { min-height: 26px; }"));

    m_tabs = new QTabBar(this);
    m_tabs->setObjectName(QStringLiteral("tabs"));
    m_tabs->addTab(QStringLiteral("Übertragung"));
    m_tabs->addTab(QStringLiteral("Kluppe"));
    m_tabs->addTab(QStringLiteral("Drucker"));
    m_tabs->setExpanding(true);
    m_tabs->setUsesScrollButtons(false);
    m_tabs->setElideMode(Qt::ElideNone);
    m_tabs->setFocusPolicy(Qt::NoFocus);
    QFont tabFont = defaultFont();
    tabFont.setPixelSize(11);
    m_tabs->setFont(tabFont);
    m_tabs->setStyleSheet(
        QStringLiteral("QTabBar::tab { width: 78px; height: 24px; padding: 0px; }"));
    m_tabs->setGeometry(0, 20, ScreenStack::kScreenWidth, 26);
    m_pages = new QStackedWidget(this);
    m_pages->setGeometry(0, kPagesTop, ScreenStack::kScreenWidth,
                         keys::kBottomBarArea.top() - kPagesTop - 2);
    connect(m_tabs, &QTabBar::currentChanged, this, &PrinterSettingsDlg::showTab);

    for (auto build : {&PrinterSettingsDlg::buildTransferTab, &PrinterSettingsDlg::buildCaliperTab,
                       &PrinterSettingsDlg::buildPrinterTab}) {
        auto* page = new QWidget;
        (this->*build)(page);
        m_pages->addWidget(page);
    }

    addKeyboard(new OnScreenKeyboard(keys::kBottomBarArea, keys::bottomBar(0, false)));
}

void PrinterSettingsDlg::buildTransferTab(QWidget* page)
{
    addLabel(page, QStringLiteral("mode"), QStringLiteral("Übertragung über:"), 0)
        ->resize(ScreenStack::kScreenWidth - 2 * kLabelLeft, kRowHeight);
    m_modes = new QButtonGroup(page);
    for (int mode = CommunicationSettingsLogic::kCableMode;
         mode <= CommunicationSettingsLogic::kFtpMode; ++mode) {
        auto* radio = new QRadioButton(CommunicationSettingsLogic::modeName(mode), page);
        radio->setObjectName(QStringLiteral("mode%1").arg(mode));
        const int y = kRowPitch * mode - 6;
        radio->setGeometry(6, y,
                           mode == CommunicationSettingsLogic::kCableMode ? 230 : kFieldLeft - 8,
                           kRowHeight);
        m_modes->addButton(radio, mode);
    }
    connect(m_modes, &QButtonGroup::idClicked, this, [this](int mode) {
        m_shown.mode = mode;
        updateEnabled();
    });

    m_modemEntry = new QComboBox(page);
    m_modemEntry->setObjectName(QStringLiteral("modemEntry"));
    m_modemEntry->setGeometry(kFieldLeft, 2 * kRowPitch - 6, kFieldWidth, kRowHeight);
    connect(m_modemEntry, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.modemEntry = m_modemEntry->currentData().toInt();
    });
    m_ftpServer = new QLabel(page);
    m_ftpServer->setObjectName(QStringLiteral("ftpServer"));
    m_ftpServer->setGeometry(kFieldLeft + 4, 3 * kRowPitch - 6, kFieldWidth - 4, kRowHeight);

    auto* cable = new QPushButton(QStringLiteral("Kabel..."), page);
    cable->setObjectName(QStringLiteral("cable"));
    cable->setFocusPolicy(Qt::NoFocus);
    cable->setGeometry(4, 4 * kRowPitch + 6, 232, 40);
    connect(cable, &QPushButton::clicked, this, &PrinterSettingsDlg::openCableSettings);
    m_cableLine = new QLabel(page);
    m_cableLine->setObjectName(QStringLiteral("cableLine"));
    m_cableLine->setAlignment(Qt::AlignCenter);
    m_cableLine->setGeometry(4, 4 * kRowPitch + 50, 232, 22);
}

void PrinterSettingsDlg::buildCaliperTab(QWidget* page)
{
    m_caliperActive = new QCheckBox(QStringLiteral("Kluppe aktiv"), page);
    m_caliperActive->setObjectName(QStringLiteral("caliperActive"));
    m_caliperActive->setGeometry(6, 4, 230, kRowHeight);
    connect(m_caliperActive, &QCheckBox::toggled, this, [this](bool on) {
        if (m_loading)
            return;
        m_shown.caliperActive = on;
        updateEnabled();
    });

    m_caliperPort = addCombo(page, QStringLiteral("caliperPort"), QStringLiteral("Schnittstelle:"),
                             4 + kRowPitch + 4);
    for (int port = 1; port <= CommunicationSettingsLogic::kPorts; ++port)
        m_caliperPort->addItem(CommunicationSettingsLogic::portName(port), port);
    connect(m_caliperPort, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.caliperPort = m_caliperPort->currentData().toInt();
    });

    m_caliperFormat = addCombo(page, QStringLiteral("caliperFormat"), QStringLiteral("Format:"),
                               4 + 2 * kRowPitch + 4);
    for (int format = 0; format <= 1; ++format)
        m_caliperFormat->addItem(CommunicationSettingsLogic::caliperFormatName(format), format);
    connect(m_caliperFormat, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.caliperFormat = m_caliperFormat->currentData().toInt();
    });
}

void PrinterSettingsDlg::buildPrinterTab(QWidget* page)
{
    m_printerType = addCombo(page, QStringLiteral("printerType"), QStringLiteral("Druckertyp:"), 4);
    for (int type = 0; type < SettingsStore::kPrinterTypes; ++type)
        m_printerType->addItem(CommunicationSettingsLogic::printerTypeName(type), type);
    connect(m_printerType, &QComboBox::currentIndexChanged, this, [this] {
        if (m_loading)
            return;
        m_shown.printerType = m_printerType->currentData().toInt();
        showPrinterType();
    });

    m_printerPort = addCombo(page, QStringLiteral("printerPort"), QStringLiteral("Schnittstelle:"),
                             4 + kRowPitch);
    for (int port = 1; port <= CommunicationSettingsLogic::kPorts; ++port)
        m_printerPort->addItem(CommunicationSettingsLogic::portName(port), port);
    connect(m_printerPort, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.printerPort = m_printerPort->currentData().toInt();
    });

    m_printerBaudrate = addCombo(page, QStringLiteral("printerBaudrate"),
                                 QStringLiteral("Baudrate:"), 4 + 2 * kRowPitch);
    for (int rate : CommunicationSettingsLogic::baudrates())
        m_printerBaudrate->addItem(QString::number(rate), rate);
    connect(m_printerBaudrate, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.printerBaudrate = m_printerBaudrate->currentData().toInt();
    });

    // Lines per page by steps: no soft keyboard has to cover the fields.
    const int lengthTop = 4 + 3 * kRowPitch;
    addLabel(page, QStringLiteral("pageLength"), QStringLiteral("Seitenlänge:"), lengthTop);
    m_pageLengthDown = new QPushButton(QStringLiteral("−"), page);
    m_pageLengthDown->setObjectName(QStringLiteral("pageLengthDown"));
    m_pageLengthDown->setGeometry(kFieldLeft, lengthTop, 38, kRowHeight);
    m_pageLength = new QLabel(page);
    m_pageLength->setObjectName(QStringLiteral("pageLength"));
    m_pageLength->setAlignment(Qt::AlignCenter);
    m_pageLength->setFrameShape(QFrame::StyledPanel);
    m_pageLength->setGeometry(kFieldLeft + 41, lengthTop, kFieldWidth - 82, kRowHeight);
    m_pageLengthUp = new QPushButton(QStringLiteral("+"), page);
    m_pageLengthUp->setObjectName(QStringLiteral("pageLengthUp"));
    m_pageLengthUp->setGeometry(kFieldLeft + kFieldWidth - 38, lengthTop, 38, kRowHeight);
    for (QPushButton* step : {m_pageLengthDown, m_pageLengthUp}) {
        step->setFocusPolicy(Qt::NoFocus);
        // Held down, the key keeps counting.
        step->setAutoRepeat(true);
        const int by = step == m_pageLengthUp ? 1 : -1;
        connect(step, &QPushButton::clicked, this, [this, by] { stepPageLength(by); });
    }

    m_ask = new QCheckBox(QStringLiteral("Vor dem Drucken fragen"), page);
    m_ask->setObjectName(QStringLiteral("askBeforePrinting"));
    m_ask->setGeometry(6, 4 + 4 * kRowPitch + 2, 230, kRowHeight);
    connect(m_ask, &QCheckBox::toggled, this, [this](bool on) {
        if (!m_loading)
            m_shown.askBeforePrinting[size_t(m_shown.printerType)] = on;
    });

    m_printFolder = addCombo(page, QStringLiteral("printFolder"), QStringLiteral("Druckordner:"),
                             4 + 5 * kRowPitch + 4);
    connect(m_printFolder, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading)
            m_shown.printerPath = m_printFolder->currentText();
    });
}

void PrinterSettingsDlg::showTab(int index)
{
    if (m_tabs->currentIndex() != index)
        m_tabs->setCurrentIndex(index);
    m_pages->setCurrentIndex(index);
}

void PrinterSettingsDlg::enter()
{
    Screen* cableScreen = stack().screen<CableSettingsDlg>();
    const bool backFromCable = m_inCableSettings && cableScreen && previousScreen() == cableScreen;
    m_inCableSettings = false;
    if (!backFromCable) {
        // A fresh start: what the store holds now, on the first tab.
        m_caller = previousScreen();
        m_shown = m_logic.read();
        fillFields();
        showTab(TransferTab);
    }
    if (auto* cable = findChild<QPushButton*>(QStringLiteral("cable")))
        cable->setEnabled(cableScreen != nullptr);
    const CableSettingsLogic line(m_services.session.store(), m_services.state.tables);
    m_cableLine->setText(CableSettingsLogic::describe(line.read()));
    showKeyboard(0);
}

void PrinterSettingsDlg::fillFields()
{
    m_loading = true;
    const SettingsStore& store = m_services.session.store();
    if (QAbstractButton* mode = m_modes->button(m_shown.mode))
        mode->setChecked(true);
    m_modemEntry->clear();
    for (int entry = 1; entry <= CommunicationSettingsLogic::kModemEntries; ++entry)
        m_modemEntry->addItem(CommunicationSettingsLogic::modemEntryCaption(store, entry), entry);
    selectData(m_modemEntry, m_shown.modemEntry);
    const QString server = store.readText(Setting::FtpServer);
    m_ftpServer->setText(
        m_ftpServer->fontMetrics().elidedText(server, Qt::ElideRight, m_ftpServer->width()));
    m_ftpServer->setToolTip(server);

    m_caliperActive->setChecked(m_shown.caliperActive);
    selectData(m_caliperPort, m_shown.caliperPort);
    selectData(m_caliperFormat, m_shown.caliperFormat);

    selectData(m_printerType, m_shown.printerType);
    selectData(m_printerPort, m_shown.printerPort);
    selectData(m_printerBaudrate, m_shown.printerBaudrate);
    m_printFolder->clear();
    m_printFolder->addItems(
        CommunicationSettingsLogic::printFolders(m_services.session.root(), m_shown.printerPath));
    m_printFolder->setCurrentIndex(m_printFolder->findText(m_shown.printerPath));
    m_loading = false;
    showPrinterType();
    updateEnabled();
}

void PrinterSettingsDlg::showPrinterType()
{
    const size_t type = size_t(m_shown.printerType);
    const int length = m_shown.pageLength[type];
    const bool loading = std::exchange(m_loading, true);
    m_pageLength->setText(QString::number(length));
    m_ask->setChecked(m_shown.askBeforePrinting[type]);
    m_loading = loading;
    m_pageLengthDown->setEnabled(length > CommunicationSettingsLogic::kMinPageLength);
    m_pageLengthUp->setEnabled(length < CommunicationSettingsLogic::kMaxPageLength);
}

void PrinterSettingsDlg::updateEnabled()
{
    m_modemEntry->setEnabled(m_shown.mode == CommunicationSettingsLogic::kModemMode);
    m_ftpServer->setEnabled(m_shown.mode == CommunicationSettingsLogic::kFtpMode);
    m_caliperPort->setEnabled(m_shown.caliperActive);
    m_caliperFormat->setEnabled(m_shown.caliperActive);
}

void PrinterSettingsDlg::stepPageLength(int step)
{
    int& length = m_shown.pageLength[size_t(m_shown.printerType)];
    length = std::clamp(length + step, CommunicationSettingsLogic::kMinPageLength,
                        CommunicationSettingsLogic::kMaxPageLength);
    showPrinterType();
}

void PrinterSettingsDlg::openCableSettings()
{
    Screen* cable = stack().screen<CableSettingsDlg>();
    if (!cable)
        return;
    m_inCableSettings = true;
    stack().switchTo(cable);
}

void PrinterSettingsDlg::onOk()
{
    m_logic.confirm(m_shown);
    returnToCaller();
}

void PrinterSettingsDlg::onCancel()
{
    returnToCaller();
}

void PrinterSettingsDlg::returnToCaller()
{
    Screen* target = m_caller;
    if (!target || target == this || target == stack().screen<CableSettingsDlg>())
        target = stack().screen<SettingsDlg>();
    if (!target)
        target = stack().screen<MainMenuDlg>();
    if (target)
        stack().switchTo(target);
}

} // namespace brovant
