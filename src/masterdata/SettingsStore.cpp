#include "masterdata/SettingsStore.h"

#include <array>

namespace brovant {
namespace {

constexpr int kPageLengths[SettingsStore::kPrinterTypes] = {68, 72, 68, 67, 68, 65};

constexpr SettingDef kLayout[] = {
    // id, section, entry, text, first, last, int default, text default
    {Setting::KonfigLoaded, "KONFIG", "Loaded", false, 0, 0, 0, "", {}},
    {Setting::Stufenanzahl, "ALLG", "Stufenanzahl", false, 0, 0, 0, "", {}},
    {Setting::KopfLabel, "HDL_KOPF", "KOPF%02d", true, 0, 19, 0, "", {}},
    {Setting::Plausi, "HDL_KOPF", "PLAUSI%02d", false, 1, 16, 0, "", {}},
    {Setting::Sorte, "HDL_KOPF", "SORTE%02d", true, 0, 5, 0, "", {}},
    {Setting::Auswahl, "KOPF%02d", "AUSWAHL%02d", true, 1, 30, 0, "", {}},
    {Setting::Holzart, "HOLZART", "Holzart%02d", true, 1, 60, 0, "", {}},
    {Setting::HauptHolzart, "HA_HAUPT", "Holzart%02d", true, 1, 12, 0, "", {}},
    {Setting::NaLang, "NA", "NA_Lang%02d", true, 1, 12, 0, "", {}},
    {Setting::NaKurz, "NA", "NA_Kurz%02d", true, 1, 12, 0, "", {}},
    {Setting::KalLang, "KAL", "KAL_Lang%02d", true, 1, 12, 0, "", {}},
    {Setting::KalKurz, "KAL", "KAL_Kurz%02d", true, 1, 12, 0, "", {}},
    {Setting::Firmenkopf, "FIRMENKOPF", "%1d", true, 1, 5, 0, "", {}},
    {Setting::ModemName, "MODEM", "Name%1d", true, 1, 4, 0, "", {}},
    {Setting::ModemNumber, "MODEM", "Number%1d", true, 1, 4, 0, "", {}},
    {Setting::ModemInit, "MODEM", "Init", true, 0, 0, 0, "AT", {}},
    {Setting::ModemSelected, "MODEM", "Selected", false, 0, 0, 1, "", {}},
    {Setting::FtpServer, "FTP", "Server", true, 0, 0, 0, "ftp.example.com", {}},
    {Setting::FtpName, "FTP", "Name", true, 0, 0, 0, "qk730215", {}},
    {Setting::FtpPassword, "FTP", "Password", true, 0, 0, 0, "tebralik", {}},
    {Setting::FtpDirectory, "FTP", "Directory", true, 0, 0, 0, "data", {}},
    {Setting::FtpDirectory2, "FTP", "Directory2", true, 0, 0, 0, "data", {}},
    {Setting::DuePort, "DUE", "Port", false, 0, 0, 10, "", {}},
    {Setting::DueMode, "DUE", "DueMode", false, 0, 0, 1, "", {}},
    {Setting::DueBaudrate, "DUE", "Baudrate", false, 0, 0, 5, "", {}},
    {Setting::DueWordlength, "DUE", "Wordlength", false, 0, 0, 1, "", {}},
    {Setting::DueStopbits, "DUE", "Stopbits", false, 0, 0, 0, "", {}},
    {Setting::PrinterType, "Printer", "Type", false, 0, 0, 5, "", {}},
    {Setting::PrinterPort, "Printer", "Port", false, 0, 0, 7, "", {}},
    {Setting::PrinterSeitenlaenge, "Printer", "Seitenlaenge%1d", false, 0, 5, 0, "", kPageLengths},
    {Setting::PrinterFrage, "Printer", "Frage%1d", false, 0, 5, 0, "", {}},
    {Setting::PrinterBaudrate, "Printer", "Baudrate", false, 0, 0, 19200, "", {}},
    {Setting::PrinterPath, "Printer", "Path", true, 0, 0, 0, "\\My Documents", {}},
    {Setting::FieldSoftware, "Printer", "FieldSoftware", false, 0, 0, 0, "", {}},
    {Setting::FieldSoftwarePrinterType,
     "Printer",
     "FieldSoftwarePrinterType",
     false,
     0,
     0,
     22,
     "",
     {}},
    {Setting::FieldSoftwareComPort, "Printer", "FieldSoftwareComPort", false, 0, 0, 3, "", {}},
    {Setting::FieldSoftwareSeitenlaenge,
     "Printer",
     "FieldSoftwareSeitenlaenge",
     false,
     0,
     0,
     72,
     "",
     {}},
    {Setting::FieldSoftwareFrage,
     "Printer",
     "m_bFieldSoftwarePrinterFrage",
     false,
     0,
     0,
     0,
     "",
     {}},
    {Setting::KluppeAktiv, "Kluppe", "Aktiv", false, 0, 0, 0, "", {}},
    {Setting::KluppePort, "Kluppe", "Port", false, 0, 0, 1, "", {}},
    {Setting::KluppeHolzart, "Kluppe", "Holzart8", true, 0, 0, 0, "", {}},
    {Setting::KluppeFormat, "Kluppe", "Format", false, 0, 0, 0, "", {}},
    {Setting::BackupAuto, "Backup", "Auto", false, 0, 0, 0, "", {}},
    {Setting::BackupKarte, "Backup", "Karte", false, 0, 0, 0, "", {}},
};

QString expand(const char* pattern, int index)
{
    const QString p = QString::fromLatin1(pattern);
    if (p.contains(QLatin1StringView("%02d")))
        return QString(p).replace(QLatin1StringView("%02d"),
                                  QString::number(index).rightJustified(2, u'0'));
    if (p.contains(QLatin1StringView("%1d")))
        return QString(p).replace(QLatin1StringView("%1d"), QString::number(index));
    return p;
}

} // namespace

std::span<const SettingDef> SettingsStore::layout()
{
    return kLayout;
}

const SettingDef& SettingsStore::def(Setting id)
{
    // The table is kept in enum order; the static_assert-free check keeps it honest in tests.
    return kLayout[static_cast<size_t>(id)];
}

QString SettingsStore::sectionName(Setting id, int sectionIndex)
{
    return expand(def(id).section, sectionIndex);
}

QString SettingsStore::entryName(Setting id, int index)
{
    return expand(def(id).entry, index);
}

int SettingsStore::defaultInt(Setting id, int index)
{
    const SettingDef& d = def(id);
    if (!d.defaultsByIndex.empty() && index >= 0 && size_t(index) < d.defaultsByIndex.size())
        return d.defaultsByIndex[size_t(index)];
    return d.intDefault;
}

QString SettingsStore::defaultText(Setting id)
{
    return QString::fromUtf8(def(id).textDefault);
}

int SettingsStore::readInt(Setting id, int index, int defaultValue) const
{
    return m_profile.readInt(sectionName(id), entryName(id, index), defaultValue);
}

QString SettingsStore::readText(Setting id, int index, const QString& defaultValue) const
{
    return m_profile.readString(sectionName(id), entryName(id, index), defaultValue);
}

QString SettingsStore::choice(int field, int entry) const
{
    return m_profile.readString(sectionName(Setting::Auswahl, field),
                                entryName(Setting::Auswahl, entry));
}

void SettingsStore::writeInt(Setting id, int index, int value)
{
    m_profile.writeInt(sectionName(id), entryName(id, index), value);
}

void SettingsStore::writeText(Setting id, int index, const QString& value)
{
    m_profile.writeString(sectionName(id), entryName(id, index), value);
}

void SettingsStore::writeChoice(int field, int entry, const QString& value)
{
    m_profile.writeString(sectionName(Setting::Auswahl, field), entryName(Setting::Auswahl, entry),
                          value);
}

QStringList SettingsStore::masterDataSections(bool withKonfig)
{
    QStringList sections = {QStringLiteral("ALLG"), QStringLiteral("HDL_KOPF"),
                            QStringLiteral("HOLZART"), QStringLiteral("KAL")};
    for (int i = 1; i <= 16; ++i)
        sections << sectionName(Setting::Auswahl, i);
    sections << QStringLiteral("NA");
    if (withKonfig)
        sections << QStringLiteral("KONFIG");
    return sections;
}

void SettingsStore::deleteMasterData(bool withKonfig)
{
    Registry::Batch batch(m_profile.registry());
    for (const QString& section : masterDataSections(withKonfig))
        m_profile.deleteSection(section);
}

} // namespace brovant
