// Workflow: the cable settings screen ("Einstellungen - Kabel") without its widgets. The
// port list (COM1..COM9, ActiveSync) and the serial line's indices in section DUE; confirming an
// ActiveSync port also lets the device connect to ActiveSync by itself. How the line is opened
// is the transfer's business.
#pragma once

#include "masterdata/MasterTables.h"
#include "masterdata/SettingsStore.h"

#include <QString>
#include <QStringList>

namespace brovant {

// Entries of the screen's four lists. The port entry is the port number minus 1.
struct CableEntries {
    int portEntry = 9;
    int baudrate = 5;
    int wordlength = 1;
    int stopbits = 0;

    bool operator==(const CableEntries&) const = default;
};

class CableSettingsLogic {
public:
    static constexpr int kActiveSyncEntry = 9;
    static constexpr int kBaudrates = 8;
    // HKEY_CURRENT_USER "ControlPanel\Comm", value AutoCnct.
    static constexpr const char16_t* kAutoConnect = u"AutoCnct";

    CableSettingsLogic(SettingsStore& store, MasterTables& tables);

    // The lists' texts, in index order.
    static QStringList portEntries();
    static QStringList baudrates();
    static QStringList wordlengths();
    static QStringList stopbits();

    // The store as the lists show it; a stored value outside its list shows as its default.
    CableEntries read() const;
    // Baud rate, word length and stop bits mean nothing to ActiveSync; the screen hides them.
    static bool serialFieldsShown(int portEntry) { return portEntry != kActiveSyncEntry; }
    // Stores Port (entry + 1), Baudrate, Wordlength and Stopbits in DUE, and for ActiveSync
    // AutoCnct = 1; the loaded tables take the port.
    void confirm(const CableEntries& shown);

    // One line for the communication screen: "ActiveSync" or "COM1, 38400 Bd, 8 Bit, 1 Stopbit".
    static QString describe(const CableEntries& settings);

private:
    SettingsStore& m_store;
    MasterTables& m_tables;
};

} // namespace brovant
