// Platform layer: keeps Qt's own messages (platform plugin notes, runtime-folder complaints) off
// stderr, which belongs to the program's own messages; the admin tool's are a contract. They go
// to a log file in the device root instead, held back until the root is known.
#pragma once

#include <QString>

namespace brovant::qtlog {

// "\Brovant\qt.log": where the messages of a run on that root go.
constexpr const char16_t* kLogFile = u"\\Brovant\\qt.log";

// Before the application object: a private runtime folder when XDG_RUNTIME_DIR is unset, so Qt
// neither complains nor shares one with other users.
void ensureRuntimeDir();

// Routes every Qt message to the log from now on; fatal ones still reach stderr.
void install();

// The host path of the log file; messages held back so far are written there.
void setFile(const QString& hostPath);

} // namespace brovant::qtlog
