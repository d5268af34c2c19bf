// Program: the demo tour. Drives the real program, on a copy of a device root, through what a
// forester does and writes a PNG of every screen and every message it meets.
#pragma once

#include <QString>

namespace brovant {

// Returns the exit status and prints where the pictures are; a step that cannot be taken (a
// screen, key or message missing) ends the tour with status 1 and its name on stderr.
int runDemoTour(const QString& rootDir, const QString& outDir);

} // namespace brovant
