// Master data and settings: the in-memory tables the screens work with, filled from the registry
// and the master rows by the settings load. The registry stays the authoritative copy; these are
// refreshed after every import.
#pragma once

#include "masterdata/SettingsStore.h"

#include <QString>
#include <QStringList>

#include <array>

namespace brovant {

class Database;
class KeepAwake;
class MessageDialogs;

struct MasterTables {
    static constexpr int kSpecies = 60;
    static constexpr int kMainSpecies = 12;
    static constexpr int kCodes = 12;
    static constexpr int kSorten = 6;
    static constexpr int kMaxTariffs = 200;

    int duePort = 10;
    int dueMode = 1;

    int printerType = 5;
    quint8 printerPort = 7;
    std::array<int, SettingsStore::kPrinterTypes> pageLength = {68, 72, 68, 67, 68, 65};
    std::array<int, SettingsStore::kPrinterTypes> askBeforePrinting = {};
    int activeAskBeforePrinting = 0;
    int printerBaudrate = 19200;
    QString printerPath = QStringLiteral("\\My Documents");
    int fieldSoftware = 0;
    int fieldSoftwarePrinterType = 22;
    int fieldSoftwareComPort = 3;
    int fieldSoftwarePageLength = 72;
    int fieldSoftwareAsk = 0;

    int caliperActive = 0;
    int caliperPort = 1;

    std::array<QString, kSpecies> species;
    std::array<QString, kMainSpecies> mainSpecies;
    std::array<QString, kCodes> naLong;
    std::array<QString, kCodes> naShort;
    std::array<QString, kCodes> kalLong;
    std::array<QString, kCodes> kalShort;
    std::array<QString, kSorten> sorten;

    // Distinct tariffs of the volume rows in row order (a new entry whenever the tariff differs
    // from the previous volume row's), at most kMaxTariffs.
    QStringList tariffs;

    // Index of a species by its first three characters, or -1.
    int speciesIndex(const QString& code) const;
    bool hasTariff(const QString& tariff) const { return tariffs.contains(tariff); }

    // The whole table as text for a person (the admin tool's "settings").
    QString describe() const;
};

// Fills the tables from the registry and the master rows, showing "Konfiguration wird
// initialisiert..." with its progress. `dialogs` and `keepAwake` may be null.
MasterTables loadSettings(const SettingsStore& store, Database& db, MessageDialogs* dialogs,
                          KeepAwake* keepAwake);

} // namespace brovant
