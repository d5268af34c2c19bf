#include "platform/Clock.h"

#include <QThread>

namespace brovant {

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime().addMSecs(m_offsetMs);
}

bool SystemClock::setNow(const QDateTime& localTime)
{
    if (!localTime.isValid())
        return false;
    // Changing the system clock needs privileges a field program should not hold; the offset gives
    // the user the date and time they chose inside the program.
    m_offsetMs = QDateTime::currentDateTime().msecsTo(localTime);
    return true;
}

void SystemClock::sleepMs(int milliseconds)
{
    if (milliseconds > 0)
        QThread::msleep(static_cast<unsigned long>(milliseconds));
}

ManualClock::ManualClock(QDateTime start)
    : m_now(std::move(start))
{
}

bool ManualClock::setNow(const QDateTime& localTime)
{
    if (!localTime.isValid())
        return false;
    m_now = localTime;
    return true;
}

void ManualClock::sleepMs(int milliseconds)
{
    if (milliseconds <= 0)
        return;
    m_sleptMs += milliseconds;
    m_now = m_now.addMSecs(milliseconds);
}

} // namespace brovant
