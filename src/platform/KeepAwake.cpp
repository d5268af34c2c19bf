#include "platform/KeepAwake.h"

namespace brovant {

void KeepAwake::readSaved()
{
    const auto value = m_registry.dword(Hive::LocalMachine, QString::fromUtf16(kTimeoutsKey),
                                        QString::fromUtf16(kValue));
    m_saved = value.value_or(0);
}

void KeepAwake::suspendOff()
{
    if (m_depth++ > 0)
        return;
    write(0);
    if (m_inhibitor)
        m_inhibitor->hold();
}

void KeepAwake::suspendBack()
{
    if (m_depth == 0 || --m_depth > 0)
        return;
    if (m_inhibitor)
        m_inhibitor->release();
    write(m_saved);
}

void KeepAwake::write(quint32 seconds)
{
    // The power manager's key is only opened, never created: a device without it has nothing to
    // switch. On the device a named event makes the power manager reload the value; the emulated
    // registry is read afresh by whoever needs it, so there is nothing more to signal.
    m_registry.setDword(Hive::LocalMachine, QString::fromUtf16(kTimeoutsKey),
                        QString::fromUtf16(kValue), seconds, Registry::Create::No);
}

} // namespace brovant
