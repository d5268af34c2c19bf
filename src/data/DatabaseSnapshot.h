// Data layer: whole copies of the SQLite database file that are safe to keep. The copy is a
// snapshot of what was committed (SQLite's online backup on a connection of its own), flushed to
// the medium before anyone may rely on it; and the check that a file is a complete database.
// Names, folders and numbering are the backup service's.
#pragma once

#include <QString>

#include <functional>

namespace brovant {

class DatabaseSnapshot {
public:
    // Pages copied per step; between steps the source is unlocked and the progress is told.
    static constexpr int kPagesPerStep = 256;

    using Progress = std::function<bool(int done, int total)>;

    // Writes the committed state of the database `sourceFile` into the new file `targetFile`
    // (host paths; an existing target is replaced; the new file is the owner's only) and flushes
    // it. On failure, or when `progress`
    // returns false, the target is removed and false returned.
    static bool copy(const QString& sourceFile, const QString& targetFile,
                     const Progress& progress = {});

    // Every page the header counts is in the file and SQLite's quick check finds nothing wrong;
    // a truncated or damaged copy fails. The file is only read.
    static bool isIntact(const QString& file);
};

} // namespace brovant
