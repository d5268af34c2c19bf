// Data transfer: the list file, written. Every list marked for transfer becomes "\Export\%s.DAT"
// (Windows-1252, CR LF, fixed columns from the field widths): the "TD0" header line, the "001"
// to "009" header records, the list's regions ("REG"), its trees ("10A"/"10B") and the tariff
// assignments of its region ("712"). Also the marking after a transfer that succeeded. Moving
// the files anywhere is the channels' business.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace brovant {

class Database;
class DeviceRoot;
class MessageDialogs;
class SettingsStore;

class ListFileExport {
public:
    static constexpr const char16_t* kFolder = u"\\Export";
    // Lines are cut at this many bytes after conversion.
    static constexpr int kMaxLine = 1000;

    ListFileExport(const DeviceRoot& root, Database& db, const SettingsStore& store,
                   MessageDialogs& dialogs);

    // Lists with DUE_MARK set.
    int markedCount() const;
    // Empties "\Export", then writes the file of every marked list with the progress window.
    // Returns how many marked lists were handled (a list whose file could not be created counts,
    // after its notice), so 0 means none was marked.
    int writeMarked();
    // The file of one list (by ID_FILE) into "\Export"; false when the list does not exist or the
    // file cannot be created ("Datei kann nicht erzeugt werden!").
    bool writeList(std::int64_t listId);
    // "\Export\<formatted LISTE_NR>.DAT" of a list, empty when there is no such list or its
    // LISTE_NR makes no plain file name (such a list is never written).
    QString filePath(std::int64_t listId) const;
    // After a transfer that succeeded: every marked list unmarked and its EXPORTED_N_NI raised by
    // one, in one transaction.
    bool markExported();

private:
    // The first header row (rowid) of a list.
    std::optional<std::int64_t> headerRow(std::int64_t listId) const;
    QString fileName(std::int64_t headerRowId) const;
    bool writeHeaderRow(std::int64_t headerRowId);

    const DeviceRoot& m_root;
    Database& m_db;
    const SettingsStore& m_store;
    MessageDialogs& m_dialogs;
};

} // namespace brovant
