#include "workflow/CableSettingsLogic.h"

#include "workflow/AppLifecycle.h"
#include "platform/Registry.h"
#include "transfer/CableChannel.h"

namespace brovant {
namespace {

int entryOrDefault(int entry, qsizetype count, int defaultEntry)
{
    return entry >= 0 && entry < count ? entry : defaultEntry;
}

} // namespace

CableSettingsLogic::CableSettingsLogic(SettingsStore& store, MasterTables& tables)
    : m_store(store)
    , m_tables(tables)
{
}

QStringList CableSettingsLogic::portEntries()
{
    QStringList entries;
    for (int port = 1; port <= kActiveSyncEntry; ++port)
        entries << QStringLiteral("COM%1").arg(port);
    return entries << QStringLiteral("ActiveSync");
}

// The texts come from the transfer's own index tables, so the lists say what a transfer uses.
QStringList CableSettingsLogic::baudrates()
{
    QStringList rates;
    for (int index = 0; index < kBaudrates; ++index)
        rates << QString::number(CableSettings::baudRateAt(index));
    return rates;
}

QStringList CableSettingsLogic::wordlengths()
{
    return {QString::number(CableSettings::dataBitsAt(0)),
            QString::number(CableSettings::dataBitsAt(1))};
}

QStringList CableSettingsLogic::stopbits()
{
    return {QString::number(CableSettings::stopBitsAt(0)),
            QString::number(CableSettings::stopBitsAt(1))};
}

CableEntries CableSettingsLogic::read() const
{
    const auto shown = [this](Setting id, qsizetype count, int offset = 0) {
        return entryOrDefault(m_store.readInt(id) - offset, count,
                              SettingsStore::defaultInt(id) - offset);
    };
    CableEntries s;
    s.portEntry = shown(Setting::DuePort, portEntries().size(), 1);
    s.baudrate = shown(Setting::DueBaudrate, baudrates().size());
    s.wordlength = shown(Setting::DueWordlength, wordlengths().size());
    s.stopbits = shown(Setting::DueStopbits, stopbits().size());
    return s;
}

void CableSettingsLogic::confirm(const CableEntries& shown)
{
    Registry& registry = m_store.profile().registry();
    Registry::Batch batch(registry);
    const int port = shown.portEntry + 1;
    if (port == kActiveSyncEntry + 1) {
        // Plugged into the cradle, the device then starts ActiveSync without being asked.
        registry.setDword(Hive::CurrentUser, QString::fromUtf16(AppLifecycle::kCommKey),
                          QString::fromUtf16(kAutoConnect), 1);
    }
    m_store.writeInt(Setting::DuePort, 0, port);
    m_store.writeInt(Setting::DueBaudrate, 0, shown.baudrate);
    m_store.writeInt(Setting::DueWordlength, 0, shown.wordlength);
    m_store.writeInt(Setting::DueStopbits, 0, shown.stopbits);
    m_tables.duePort = port;
}

QString CableSettingsLogic::describe(const CableEntries& settings)
{
    const QString port = portEntries().value(settings.portEntry);
    if (!serialFieldsShown(settings.portEntry))
        return port;
    const QString stop = stopbits().value(settings.stopbits);
    return QStringLiteral("%1, %2 Bd, %3 Bit, %4 %5")
        .arg(port, baudrates().value(settings.baudrate), wordlengths().value(settings.wordlength),
             stop,
             stop == QStringLiteral("1") ? QStringLiteral("Stopbit") : QStringLiteral("Stopbits"));
}

} // namespace brovant
