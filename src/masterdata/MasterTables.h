// Master data and settings: the in-memory tables the screens work with, filled from the registry
// and the master rows by the settings load. The registry stays the authoritative copy; these are
// refreshed after every import.
#pragma once

#include "masterdata/SettingsStore.h"

#include <QString>
#include <QStringList>

#include <QHash>

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace brovant {

class Database;
class KeepAwake;
class MessageDialogs;

// Volume of one tree (hundredths of m3) by tariff and diameter class. Keys are the tariff in its
// five characters and the class in its two, padded or cut as the fields' formatting does; where a
// pair occurs twice the first added wins, as a walk from the top of the table would find it.
// Built by add() and finish(), then read: a sorted array, so ~100,000 rows load without an
// allocation per row and arrive mostly in order already.
class VolumeIndex {
public:
    void reserve(size_t rows) { m_entries.reserve(rows); }
    void add(QStringView tariff, QStringView diameterClass, int volume);
    // The same from the column bytes (UTF-8) without a string in between.
    void addUtf8(std::string_view tariff, std::string_view diameterClass, int volume);
    void finish();

    std::optional<int> find(QStringView tariff, QStringView diameterClass) const;
    size_t size() const { return m_entries.size(); }
    bool empty() const { return m_entries.empty(); }

private:
    // Seven UTF-16 units packed big-end first, so integer order is the text's order.
    struct Key {
        std::uint64_t high = 0;
        std::uint64_t low = 0;
        auto operator<=>(const Key&) const = default;
    };
    struct Entry {
        Key key;
        int volume = 0;
    };
    static Key keyOf(QStringView tariff, QStringView diameterClass);
    std::vector<Entry> m_entries;
    bool m_sorted = true;
};

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
    // The species the caliper's key "8" stands for; empty keeps the species entered.
    QString caliperSpecies;
    // 0: the classic telegram, 1: NMEA-style sentences.
    int caliperFormat = 0;

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

    // The master rows the tally looks things up in, read once per settings load. Text values are
    // held formatted (blank-padded to their field's width), as the lookups compare them.
    struct DiameterClass {
        int upperBound = 0; // BHDBIS
        QString code;       // DMSTUFE
        int diameter = 0;   // BHD: the diameter the class stands for
    };
    // ID_TYPE 1 rows in table order, and the running maximum of their bounds: the first class
    // whose bound reaches a diameter is found by a binary search over it.
    std::vector<DiameterClass> classes;
    std::vector<int> classReach;
    // Volume of one tree by tariff and class code from the ID_TYPE 2 rows in table order.
    VolumeIndex volumes;
    int volumeRows = 0;
    // TARIF of the ID_TYPE 3 rows in table order, by formatted BAUMART.
    QHash<QString, QStringList> speciesTariffChoices;
    // Reads speciesTariffChoices again after assignment rows were added, changed or deleted on
    // the device, so the tally offers them without a new settings load.
    void reloadTariffChoices(Database& db);

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
