// Platform layer: the keep-awake pair. Long jobs switch the battery suspend time-out off before
// their work and back to the value found at start-up after it, so the handheld does not fall
// asleep in the middle of an import or a transfer.
#pragma once

#include "platform/Registry.h"

#include <QtGlobal>

namespace brovant {

class KeepAwake {
public:
    static constexpr const char16_t* kTimeoutsKey =
        u"SYSTEM\\CurrentControlSet\\Control\\Power\\Timeouts";
    static constexpr const char16_t* kValue = u"BattSuspendTimeout";

    explicit KeepAwake(Registry& registry)
        : m_registry(registry)
    {
    }

    // Start-up reads the time-out once; that is the value "suspend back" restores.
    void readSaved();
    quint32 saved() const { return m_saved; }
    void setSaved(quint32 seconds) { m_saved = seconds; }

    void suspendOff();
    void suspendBack();

    // The pair as a scope: off now, back when the scope ends, however it ends.
    class Scope {
    public:
        explicit Scope(KeepAwake& keepAwake)
            : m_keepAwake(keepAwake)
        {
            m_keepAwake.suspendOff();
        }
        ~Scope() { m_keepAwake.suspendBack(); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        KeepAwake& m_keepAwake;
    };

private:
    void write(quint32 seconds);
    Registry& m_registry;
    quint32 m_saved = 0;
};

} // namespace brovant
