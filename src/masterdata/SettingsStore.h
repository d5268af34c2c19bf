// Master data and settings: the layout of the program's registry key (every section, value, type
// and default in one table) and typed access to it. The in-memory tables filled from it are
// MasterTables (loadSettings); the registry itself is the platform's.
#pragma once

#include "platform/Profile.h"

#include <QString>
#include <QStringList>

#include <span>

namespace brovant {

enum class Setting {
    KonfigLoaded,
    Stufenanzahl,
    KopfLabel,    // HDL_KOPF/KOPF00..KOPF19
    Plausi,       // HDL_KOPF/PLAUSI01..PLAUSI16
    Sorte,        // HDL_KOPF/SORTE00..SORTE05
    Auswahl,      // KOPF01..KOPF16/AUSWAHL01.. (section index = header field)
    Holzart,      // HOLZART/Holzart01..60
    HauptHolzart, // HA_HAUPT/Holzart01..12
    NaLang,
    NaKurz,
    KalLang,
    KalKurz,
    Firmenkopf, // FIRMENKOPF/1..5
    ModemName,
    ModemNumber,
    ModemInit,
    ModemSelected, // the phone-book entry (1..4) the modem dials
    FtpServer,
    FtpName,
    FtpPassword,
    FtpDirectory,
    FtpDirectory2,
    DuePort,
    DueMode,
    DueBaudrate,
    DueWordlength,
    DueStopbits,
    PrinterType,
    PrinterPort,
    PrinterSeitenlaenge, // one per printer type
    PrinterFrage,        // one per printer type
    PrinterBaudrate,
    PrinterPath,
    FieldSoftware,
    FieldSoftwarePrinterType,
    FieldSoftwareComPort,
    FieldSoftwareSeitenlaenge,
    FieldSoftwareFrage,
    KluppeAktiv,
    KluppePort,
    KluppeHolzart, // the species of the caliper's key "8"
    KluppeFormat,  // 0: the classic telegram, 1: NMEA-style sentences of Bluetooth calipers
    BackupAuto,
    BackupKarte,
};

struct SettingDef {
    Setting id;
    const char* section; // may hold "%02d" for the section index
    const char* entry;   // may hold "%02d" or "%1d" for the index
    bool isText;
    int first; // index range of a numbered family (both 0 when not numbered)
    int last;
    int intDefault;
    const char* textDefault;
    std::span<const int> defaultsByIndex; // per-index defaults where they differ
};

class SettingsStore {
public:
    static constexpr int kPrinterTypes = 6;

    explicit SettingsStore(Profile& profile)
        : m_profile(profile)
    {
    }

    static const SettingDef& def(Setting id);
    static std::span<const SettingDef> layout();

    static QString sectionName(Setting id, int sectionIndex = 0);
    static QString entryName(Setting id, int index = 0);
    static int defaultInt(Setting id, int index = 0);
    static QString defaultText(Setting id);

    int readInt(Setting id, int index = 0) const
    {
        return readInt(id, index, defaultInt(id, index));
    }
    int readInt(Setting id, int index, int defaultValue) const;
    QString readText(Setting id, int index = 0) const
    {
        return readText(id, index, defaultText(id));
    }
    QString readText(Setting id, int index, const QString& defaultValue) const;
    // Choice entry `entry` of header field `field`; empty when absent.
    QString choice(int field, int entry) const;

    void writeInt(Setting id, int index, int value);
    void writeText(Setting id, int index, const QString& value);
    void writeChoice(int field, int entry, const QString& value);

    // Sections that hold imported master data. Start-up's re-creation also clears KONFIG.
    static QStringList masterDataSections(bool withKonfig);
    void deleteMasterData(bool withKonfig);

    Profile& profile() const { return m_profile; }

private:
    Profile& m_profile;
};

} // namespace brovant
