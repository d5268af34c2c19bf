// Workflow: the printer and communication settings screen without its widgets. The
// transfer channel (with the modem's phone-book entry), the caliper and the printer, read from
// the settings store into one working copy; confirming writes what the user changed and brings
// the loaded tables in line. The serial line itself is the cable settings screen's.
#pragma once

#include "masterdata/MasterTables.h"
#include "masterdata/SettingsStore.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

namespace brovant {

class DeviceRoot;

// What the screen shows. Stored values the screen has no choice for show as their default.
struct CommunicationSettings {
    int mode = 1;       // DUE/DueMode: 1 cable or ActiveSync, 2 modem, 3 FTP
    int modemEntry = 1; // MODEM/Selected: the phone-book entry the modem dials, 1..4
    bool caliperActive = false;
    int caliperPort = 1;   // COM port number
    int caliperFormat = 0; // 0 telegram, 1 NMEA sentences
    int printerType = 5;
    int printerPort = 7;
    int printerBaudrate = 19200; // bit/s
    std::array<int, SettingsStore::kPrinterTypes> pageLength{};
    std::array<bool, SettingsStore::kPrinterTypes> askBeforePrinting{};
    QString printerPath;

    bool operator==(const CommunicationSettings&) const = default;
};

class CommunicationSettingsLogic {
public:
    static constexpr int kCableMode = 1;
    static constexpr int kModemMode = 2;
    static constexpr int kFtpMode = 3;
    static constexpr int kModemEntries = 4;
    static constexpr int kPorts = 9; // COM1..COM9
    // Lines per page the screen lets the user choose.
    static constexpr int kMinPageLength = 10;
    static constexpr int kMaxPageLength = 200;

    CommunicationSettingsLogic(SettingsStore& store, MasterTables& tables);

    // The store as the screen shows it. Reading writes nothing.
    CommunicationSettings read() const;
    // Writes every value that differs from what the store holds, then the loaded tables take
    // the values the screen shows. Returns how many values were written.
    int confirm(const CommunicationSettings& shown);

    // Choices, in the order the screen lists them.
    static QString modeName(int mode);
    static QString caliperFormatName(int format);
    static QString printerTypeName(int type);
    static QString portName(int port) { return QStringLiteral("COM%1").arg(port); }
    static const QList<int>& baudrates();

    // "2: Büro": the entry's name, else its number, else that it is empty.
    static QString modemEntryCaption(const SettingsStore& store, int entry);
    // Folders for print files: the root's top-level folders, the default folder and `current`,
    // sorted, each once. The emulated device's registry folder is no choice.
    static QStringList printFolders(const DeviceRoot& root, const QString& current);

private:
    SettingsStore& m_store;
    MasterTables& m_tables;
};

} // namespace brovant
