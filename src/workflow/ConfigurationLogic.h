// Workflow: the configuration screen without its widgets. Three pages (company header,
// modem phone book, FTP access) whose values live in the registry and are mirrored into the one
// row of Brov_Konfiguration, the row the screen's fields are bound to. The FTP password is not
// mirrored: the database travels in every backup, the registry stays on the device, owner-only.
#pragma once

#include "data/Dataset.h"
#include "masterdata/SettingsStore.h"

#include <QString>

#include <span>

namespace brovant {

enum class ConfigPage : int { CompanyHeader = 0, Modem = 1, Ftp = 2 };

// One field: its page, the row's column, the registry value it mirrors and the screen's label.
struct ConfigBinding {
    ConfigPage page;
    const char* column;
    Setting setting;
    int index;
    const char* label;
    // Opening the page writes the setting's default back when the value reads empty.
    bool storeDefaultWhenEmpty = false;
    // Shown and edited in the row's buffer like the others, but never saved in the row.
    bool registryOnly = false;
};

// What went wrong, in words for the user; empty when all went well.
struct [[nodiscard]] ConfigResult {
    QString error;
    bool ok() const { return error.isEmpty(); }
};

class ConfigurationLogic {
public:
    static constexpr int kPages = 3;

    // `row` is a dataset over Brov_Konfiguration; its buffers are the screen's working copy.
    ConfigurationLogic(SettingsStore& store, Dataset& row);

    static std::span<const ConfigBinding> bindings();
    static std::span<const ConfigBinding> bindings(ConfigPage page);
    static QString pageTitle(ConfigPage page);
    static bool isPage(int page) { return page >= 0 && page < kPages; }

    // Registry -> the page's columns of the row, saved. Makes the row when the table has none
    // and removes any row past the first. A registry-only value reaches the buffer alone.
    ConfigResult open(ConfigPage page);
    // The page's columns as the buffers hold them -> the row (committed) -> the registry, each
    // value written as text. Nothing reaches the registry when the row cannot be saved; a
    // registry-only column is saved empty.
    ConfigResult confirm(ConfigPage page);

private:
    bool selectSingleRow();
    QString registryValue(const ConfigBinding& binding);
    // Saves the row with the page's registry-only columns empty, then puts their values (as the
    // columns cut them) back into the buffers.
    bool saveWithoutRegistryOnly(ConfigPage page);

    SettingsStore& m_store;
    Dataset& m_row;
};

} // namespace brovant
