// Platform layer: files written whole or not at all on a medium that may be full or failing: the
// commit of a QSaveFile that also checks the sync, which QSaveFile itself does not.
#pragma once

class QSaveFile;

namespace brovant {

// Flushes, syncs to the medium and commits; a failed flush or sync cancels the file, so nothing
// the medium may not hold takes the target's name. False when the file did not arrive.
bool commitToMedium(QSaveFile& file);

} // namespace brovant
