// Master data and settings: one device root opened for work: its registry, profile, settings
// store, keep-awake pair and working database, with the structure check that start-up runs.
// The program and the admin tool both start from here; screens are not its business.
#pragma once

#include "data/Database.h"
#include "masterdata/SettingsStore.h"
#include "platform/DeviceRoot.h"
#include "platform/KeepAwake.h"
#include "platform/Profile.h"
#include "platform/Registry.h"

#include <functional>

namespace brovant {

class DeviceSession {
public:
    static constexpr const char16_t* kRegistryFolder = u"\\Registry";

    explicit DeviceSession(const QString& rootDir,
                           Database::Durability durability = Database::Durability::Full);

    enum class DatabaseState { Created, Accepted, Recreated, Failed };

    // Creates "\Brovant", "\Import" and "\Export" as needed, checks the database's structure and
    // opens it. A database of another version (or no database at all) is moved aside to
    // "\Brovant\Brovant.cdb.alt", a new empty one is made and the master-data sections are
    // deleted (KONFIG included), so the next import starts clean. `beforeRecreate` runs first,
    // where the screen shows its notice.
    DatabaseState openDatabase(const std::function<void()>& beforeRecreate = {});

    DeviceRoot& root() { return m_root; }
    Registry& registry() { return m_registry; }
    Profile& profile() { return m_profile; }
    SettingsStore& store() { return m_store; }
    KeepAwake& keepAwake() { return m_keepAwake; }
    Database& database() { return m_database; }

    bool configurationLoaded() const { return m_store.readInt(Setting::KonfigLoaded) == 1; }

private:
    DeviceRoot m_root;
    Registry m_registry;
    Profile m_profile;
    SettingsStore m_store;
    KeepAwake m_keepAwake;
    Database m_database;
};

} // namespace brovant
