#include "app/CableSettingsDlg.h"

#include "app/KeyTables.h"
#include "app/PrinterSettingsDlg.h"
#include "app/ScreenStack.h"
#include "masterdata/DeviceSession.h"
#include "workflow/AppState.h"

#include <QComboBox>
#include <QLabel>

namespace brovant {
namespace {

constexpr int kFirstRow = 34;
constexpr int kRowPitch = 40;
constexpr int kRowHeight = 30;

} // namespace

CableSettingsDlg::CableSettingsDlg(ScreenServices& services)
    : KeypadScreen(services.stack, QStringLiteral("cableSettings"))
    , m_services(services)
    , m_logic(services.session.store(), services.state.tables)
{
}

void CableSettingsDlg::setUp()
{
    addTitle(QStringLiteral("Einstellungen - Kabel"), 4, 20);
    setStyleSheet(QStringLiteral("QComboBox QAbstractItemView::item { min-height: 26px; }"));

    const struct {
        const char* name;
        const char* caption;
        QStringList entries;
    } lists[] = {
        {"port", "Schnittstelle:", CableSettingsLogic::portEntries()},
        {"baudrate", "Baudrate:", CableSettingsLogic::baudrates()},
        {"wordlength", "Wortlänge:", CableSettingsLogic::wordlengths()},
        {"stopbits", "Stopbits:", CableSettingsLogic::stopbits()},
    };
    for (size_t i = 0; i < std::size(lists); ++i) {
        const QString name = QString::fromLatin1(lists[i].name);
        const int y = kFirstRow + int(i) * kRowPitch;
        auto* label = new QLabel(QString::fromUtf8(lists[i].caption), this);
        label->setObjectName(QStringLiteral("label_") + name);
        label->setGeometry(8, y, 96, kRowHeight);
        auto* combo = new QComboBox(this);
        combo->setObjectName(name);
        combo->addItems(lists[i].entries);
        combo->setGeometry(108, y, 124, kRowHeight);
        label->setBuddy(combo);
        if (i == 0) {
            m_port = combo;
        } else {
            m_serial[i - 1] = combo;
            m_serialLabels[i - 1] = label;
        }
    }
    connect(m_port, &QComboBox::currentIndexChanged, this, &CableSettingsDlg::showSerialFields);

    addKeyboard(new OnScreenKeyboard(keys::kBottomBarArea, keys::bottomBar(0, false)));
}

void CableSettingsDlg::enter()
{
    const CableEntries stored = m_logic.read();
    m_port->setCurrentIndex(stored.portEntry);
    m_serial[0]->setCurrentIndex(stored.baudrate);
    m_serial[1]->setCurrentIndex(stored.wordlength);
    m_serial[2]->setCurrentIndex(stored.stopbits);
    showSerialFields();
    showKeyboard(0);
}

CableEntries CableSettingsDlg::shown() const
{
    return {m_port->currentIndex(), m_serial[0]->currentIndex(), m_serial[1]->currentIndex(),
            m_serial[2]->currentIndex()};
}

void CableSettingsDlg::showSerialFields()
{
    const bool visible = CableSettingsLogic::serialFieldsShown(m_port->currentIndex());
    for (size_t i = 0; i < m_serial.size(); ++i) {
        m_serial[i]->setVisible(visible);
        m_serialLabels[i]->setVisible(visible);
    }
}

void CableSettingsDlg::onOk()
{
    m_logic.confirm(shown());
    returnToCommunication();
}

void CableSettingsDlg::onCancel()
{
    returnToCommunication();
}

void CableSettingsDlg::returnToCommunication()
{
    Screen* target = stack().screen<PrinterSettingsDlg>();
    if (!target)
        target = previousScreen();
    if (target && target != this)
        stack().switchTo(target);
}

} // namespace brovant
