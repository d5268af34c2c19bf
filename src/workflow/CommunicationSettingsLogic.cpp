#include "workflow/CommunicationSettingsLogic.h"

#include "masterdata/DeviceSession.h"
#include "platform/DeviceRoot.h"
#include "platform/Registry.h"

#include <algorithm>

namespace brovant {
namespace {

bool within(int value, int first, int last)
{
    return value >= first && value <= last;
}

// A stored value the screen offers no choice for shows as the setting's default.
int shownInt(const SettingsStore& store, Setting id, int first, int last, int index = 0)
{
    const int value = store.readInt(id, index);
    return within(value, first, last) ? value : SettingsStore::defaultInt(id, index);
}

// Writes the value when the store holds another; returns whether it did.
bool writeChanged(SettingsStore& store, Setting id, int index, int value)
{
    if (store.readInt(id, index) == value)
        return false;
    store.writeInt(id, index, value);
    return true;
}

} // namespace

CommunicationSettingsLogic::CommunicationSettingsLogic(SettingsStore& store, MasterTables& tables)
    : m_store(store)
    , m_tables(tables)
{
}

const QList<int>& CommunicationSettingsLogic::baudrates()
{
    static const QList<int> rates = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    return rates;
}

CommunicationSettings CommunicationSettingsLogic::read() const
{
    CommunicationSettings s;
    s.mode = shownInt(m_store, Setting::DueMode, kCableMode, kFtpMode);
    s.modemEntry = shownInt(m_store, Setting::ModemSelected, 1, kModemEntries);
    s.caliperActive = m_store.readInt(Setting::KluppeAktiv) != 0;
    s.caliperPort = shownInt(m_store, Setting::KluppePort, 1, kPorts);
    s.caliperFormat = shownInt(m_store, Setting::KluppeFormat, 0, 1);
    s.printerType = shownInt(m_store, Setting::PrinterType, 0, SettingsStore::kPrinterTypes - 1);
    s.printerPort = shownInt(m_store, Setting::PrinterPort, 1, kPorts);
    const int baudrate = m_store.readInt(Setting::PrinterBaudrate);
    s.printerBaudrate = baudrates().contains(baudrate)
                            ? baudrate
                            : SettingsStore::defaultInt(Setting::PrinterBaudrate);
    for (int type = 0; type < SettingsStore::kPrinterTypes; ++type) {
        s.pageLength[size_t(type)] =
            shownInt(m_store, Setting::PrinterSeitenlaenge, kMinPageLength, kMaxPageLength, type);
        s.askBeforePrinting[size_t(type)] = m_store.readInt(Setting::PrinterFrage, type) != 0;
    }
    s.printerPath = m_store.readText(Setting::PrinterPath);
    return s;
}

int CommunicationSettingsLogic::confirm(const CommunicationSettings& shown)
{
    int written = 0;
    Registry::Batch batch(m_store.profile().registry());
    const auto write = [&](Setting id, int value, int index = 0) {
        written += writeChanged(m_store, id, index, value);
    };
    write(Setting::DueMode, shown.mode);
    write(Setting::ModemSelected, shown.modemEntry);
    // The flags are read as "not zero"; a stored 2 is no change from a ticked box.
    if ((m_store.readInt(Setting::KluppeAktiv) != 0) != shown.caliperActive)
        write(Setting::KluppeAktiv, shown.caliperActive ? 1 : 0);
    write(Setting::KluppePort, shown.caliperPort);
    write(Setting::KluppeFormat, shown.caliperFormat);
    write(Setting::PrinterType, shown.printerType);
    write(Setting::PrinterPort, shown.printerPort);
    write(Setting::PrinterBaudrate, shown.printerBaudrate);
    for (int type = 0; type < SettingsStore::kPrinterTypes; ++type) {
        write(Setting::PrinterSeitenlaenge, shown.pageLength[size_t(type)], type);
        const bool ask = shown.askBeforePrinting[size_t(type)];
        if ((m_store.readInt(Setting::PrinterFrage, type) != 0) != ask)
            write(Setting::PrinterFrage, ask ? 1 : 0, type);
    }
    if (m_store.readText(Setting::PrinterPath) != shown.printerPath) {
        m_store.writeText(Setting::PrinterPath, 0, shown.printerPath);
        ++written;
    }

    m_tables.dueMode = shown.mode;
    m_tables.caliperActive = shown.caliperActive ? 1 : 0;
    m_tables.caliperPort = shown.caliperPort;
    m_tables.caliperFormat = shown.caliperFormat;
    m_tables.printerType = shown.printerType;
    m_tables.printerPort = quint8(shown.printerPort);
    m_tables.printerBaudrate = shown.printerBaudrate;
    for (size_t type = 0; type < shown.pageLength.size(); ++type) {
        m_tables.pageLength[type] = shown.pageLength[type];
        m_tables.askBeforePrinting[type] = shown.askBeforePrinting[type] ? 1 : 0;
    }
    m_tables.activeAskBeforePrinting = m_tables.askBeforePrinting[size_t(shown.printerType)];
    m_tables.printerPath = shown.printerPath;
    return written;
}

QString CommunicationSettingsLogic::modeName(int mode)
{
    switch (mode) {
    case kCableMode:
        return QStringLiteral("Kabel / ActiveSync");
    case kModemMode:
        return QStringLiteral("Modem");
    case kFtpMode:
        return QStringLiteral("FTP");
    default:
        return {};
    }
}

QString CommunicationSettingsLogic::caliperFormatName(int format)
{
    return format == 1 ? QStringLiteral("NMEA") : QStringLiteral("Telegramm");
}

QString CommunicationSettingsLogic::printerTypeName(int type)
{
    return QStringLiteral("Typ %1").arg(type);
}

QString CommunicationSettingsLogic::modemEntryCaption(const SettingsStore& store, int entry)
{
    QString shown = store.readText(Setting::ModemName, entry).trimmed();
    if (shown.isEmpty())
        shown = store.readText(Setting::ModemNumber, entry).trimmed();
    if (shown.isEmpty())
        shown = QStringLiteral("(leer)");
    return QStringLiteral("%1: %2").arg(entry).arg(shown);
}

QStringList CommunicationSettingsLogic::printFolders(const DeviceRoot& root, const QString& current)
{
    const QString registryFolder =
        QString::fromUtf16(DeviceSession::kRegistryFolder).mid(1).toCaseFolded();
    QStringList folders;
    const auto add = [&folders](const QString& folder) {
        const bool known = std::any_of(folders.begin(), folders.end(), [&](const QString& f) {
            return f.compare(folder, Qt::CaseInsensitive) == 0;
        });
        if (!folder.isEmpty() && !known)
            folders << folder;
    };
    add(current);
    add(SettingsStore::defaultText(Setting::PrinterPath));
    for (const QString& name : root.find(QStringLiteral("\\*"), DeviceRoot::Kind::Folders)) {
        // Dot folders are the host's, not the device's.
        if (name.toCaseFolded() != registryFolder && !name.startsWith(u'.'))
            add(QStringLiteral("\\") + name);
    }
    std::sort(folders.begin(), folders.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    return folders;
}

} // namespace brovant
