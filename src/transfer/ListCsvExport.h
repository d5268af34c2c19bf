// Data transfer: one list as a spreadsheet file for the office and the forester's own PC,
// "<LISTE_NR>.csv" beside the printed reports: UTF-8 with a byte order mark, semicolons, CR LF, a
// header row, one line per tree with the list's header data repeated on each, numbers with a
// decimal comma. It is a copy to read, never a list file: the list's .DAT, its marking and its
// export count stay as they are, and nothing reads it back.
#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace brovant {

class Database;
class DeviceRoot;
class MessageDialogs;
class SettingsStore;

class ListCsvExport {
public:
    static constexpr const char16_t* kExtension = u".csv";

    ListCsvExport(const DeviceRoot& root, Database& db, const SettingsStore& store,
                  MessageDialogs& dialogs);

    // Where the file goes: the printer folder (`Printer`/`Path`), where the PDF reports go;
    // "\My Documents" when that is empty or a folder a transfer empties ("\Export", "\Import").
    QString folder() const;
    // "<folder>\<LISTE_NR without trailing blanks>.csv" of a list (by ID_FILE); empty when there
    // is no such list or its number makes no plain file name.
    QString filePath(std::int64_t listId) const;
    // Writes the list's file (under a temporary name, renamed when complete) and returns its
    // device path. Nothing for a list that does not exist; nothing after the notice "Datei kann
    // nicht erzeugt werden!" when its number makes no file name or the file cannot be written.
    [[nodiscard]] std::optional<QString> write(std::int64_t listId);

    // One field as the file holds it: quoted, with its quotes doubled, when it holds a ';', a '"'
    // or a line break.
    static QString quoted(const QString& field);
    // A text that a spreadsheet would take for a formula (it begins with '=', '+', '-', '@', a tab
    // or a carriage return) with an apostrophe before it, so it shows as the text it is.
    static QString guarded(const QString& text);
    // Hundredths with a decimal comma, as German spreadsheets read numbers: 1234 -> "12,34".
    static QString hundredths(std::int64_t value);

private:
    const DeviceRoot& m_root;
    Database& m_db;
    const SettingsStore& m_store;
    MessageDialogs& m_dialogs;
};

} // namespace brovant
