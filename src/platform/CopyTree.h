// Platform layer: a host folder copied with everything below it, empty folders and hidden files
// included (a device root for the demo tour, a prepared root for a test).
#pragma once

#include <QString>

namespace brovant {

// False when a folder or a file could not be made; what was copied until then stays.
bool copyTree(const QString& from, const QString& to);

} // namespace brovant
