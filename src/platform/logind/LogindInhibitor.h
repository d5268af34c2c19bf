// Platform layer: the system's keep-awake on Linux, a logind "idle:sleep" inhibitor. Holding it
// is holding the file descriptor logind hands out; closing it gives the system back its idle
// and sleep. Where no system bus or no logind runs, holding silently does nothing.
#pragma once

#include "platform/KeepAwake.h"

#include <QDBusUnixFileDescriptor>
#include <QString>

namespace brovant {

class LogindInhibitor final : public SleepInhibitor {
public:
    static constexpr const char* kService = "org.freedesktop.login1";

    void hold() override;
    void release() override;
    bool holding() const { return m_lock.isValid(); }

private:
    QDBusUnixFileDescriptor m_lock;
    // Asked once: a system without logind does not grow one while the program runs.
    bool m_unavailable = false;
};

} // namespace brovant
