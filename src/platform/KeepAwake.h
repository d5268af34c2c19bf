// Platform layer: the keep-awake pair. Long jobs switch the battery suspend time-out off before
// their work and back to the value found at start-up after it, so the handheld does not fall
// asleep in the middle of an import or a transfer. Where the system itself can be held awake (a
// logind inhibitor, injected by the program), the pair holds it for the same time.
#pragma once

#include "platform/Registry.h"

#include <QtGlobal>

namespace brovant {

// Keeps the system from idling and sleeping while held. The real one lives outside the QtCore
// core (it needs D-Bus); tests pass a fake.
class SleepInhibitor {
public:
    virtual ~SleepInhibitor() = default;
    virtual void hold() = 0;
    virtual void release() = 0;
};

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

    // May be null; must outlive the pair or be replaced before it goes.
    void setInhibitor(SleepInhibitor* inhibitor) { m_inhibitor = inhibitor; }

    // A job inside another job (a transfer during a configuration reload) changes nothing: only
    // the outermost pair switches.
    void suspendOff();
    void suspendBack();
    bool held() const { return m_depth > 0; }

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
    SleepInhibitor* m_inhibitor = nullptr;
    quint32 m_saved = 0;
    int m_depth = 0;
};

} // namespace brovant
