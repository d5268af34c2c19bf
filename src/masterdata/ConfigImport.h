// Master data and settings: the import of the configuration file "\Brovant\passive.dtr" into
// the master rows of Brov_Einstellungen and the registry. It replaces all master data; it does
// not fetch the file (transfers stage it) and does not fill the in-memory tables (loadSettings).
#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <optional>

namespace brovant {

class Database;
class DeviceRoot;
class KeepAwake;
class MessageDialogs;
class SettingsStore;

class ConfigImport {
public:
    static constexpr const char16_t* kStagedPath = u"\\Brovant\\passive.dtr";
    static constexpr int kLineLimit = 999; // characters kept of a line
    static constexpr int kProgressEvery = 30;

    enum class Result {
        NoFile,         // nothing staged: nothing changed, nothing said
        Loaded,         // KONFIG/Loaded = 1
        WrongStructure, // "Falsche Struktur der Konfigura-" / "tion!", Loaded = 0
        StoreFailed,    // the database refused a write: rolled back, Loaded = 0
    };

    ConfigImport(const DeviceRoot& root, Database& db, SettingsStore& store,
                 MessageDialogs& dialogs, KeepAwake* keepAwake);

    Result run();

    // Numeric columns are read the way the office software writes them and C's "%d" / "%f"
    // read them: leading blanks, a sign, digits; nullopt when nothing parses.
    static std::optional<int> parseInt(QByteArrayView column);
    static std::optional<float> parseFloat(QByteArrayView column);
    // Volume in hundredths: single precision times 100, widened, plus 0.5, truncated.
    static std::int64_t hundredths(float cubicMetres);

private:
    const DeviceRoot& m_root;
    Database& m_db;
    SettingsStore& m_store;
    MessageDialogs& m_dialogs;
    KeepAwake* m_keepAwake;
};

} // namespace brovant
