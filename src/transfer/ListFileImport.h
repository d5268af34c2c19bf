// Data transfer: the list file, read. Every "\Import\*.dat" (any case, in directory order)
// becomes a new list with its regions and trees, each file in a transaction of its own that also
// marks the file as read, so a crash between the commit and the file's removal never brings a list
// in twice; the folder is emptied at the end. Fields come from fixed columns of lines padded to 500
// characters; nothing in a file can crash the reader. Receiving the files is the channels'
// business.
#pragma once

#include <QString>

#include <cstdint>

namespace brovant {

class Database;
class DeviceRoot;
class MessageDialogs;

class ListFileImport {
public:
    static constexpr const char16_t* kFolder = u"\\Import";
    static constexpr int kLineLength = 500;

    enum class Result {
        Imported,       // every file read (also when there was none)
        WrongStructure, // "Falsche Struktur der Liste!": the import ended at that file
        Failed,         // the database refused a file; that file left nothing behind
    };
    struct Outcome {
        Result result = Result::Imported;
        int files = 0;              // files that went in
        std::int64_t lastList = -1; // ID_FILE of the last list made, -1 for none
    };

    ListFileImport(const DeviceRoot& root, Database& db, MessageDialogs& dialogs);

    Outcome run();

    // One file's bytes as a list with the number `listId`, in the caller's transaction; false
    // (nothing of it written) on a wrong structure tag or a database error. `wrongStructure` tells
    // the two apart.
    bool importFile(const QByteArray& bytes, std::int64_t listId, bool* wrongStructure = nullptr);

    // The number conversion of the column table: blanks removed, the fraction filled or started
    // to `decimals` digits, the point removed, the leading digits read as "%lu" reads them (0 when
    // empty or not a number, at most 4294967295; a leading minus negates).
    static std::int64_t number(QStringView text, int decimals);

private:
    const DeviceRoot& m_root;
    Database& m_db;
    MessageDialogs& m_dialogs;
};

} // namespace brovant
