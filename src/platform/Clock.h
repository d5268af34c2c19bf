// Platform layer: local time and waiting. Everything that reads the time or waits goes through a
// Clock, so tests can set the date (cold-boot check) and run protocol time-outs in milliseconds.
#pragma once

#include <QDateTime>

namespace brovant {

class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    virtual bool setNow(const QDateTime& localTime) = 0;
    virtual void sleepMs(int milliseconds) = 0;
};

// The machine's clock. Setting the time goes to the system where that is permitted; elsewhere the
// program keeps an offset so its own display follows the user's choice.
class SystemClock final : public Clock {
public:
    QDateTime now() const override;
    bool setNow(const QDateTime& localTime) override;
    void sleepMs(int milliseconds) override;

private:
    qint64 m_offsetMs = 0;
};

// A clock that only moves when told to; sleeping advances it at once.
class ManualClock final : public Clock {
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2026, 5, 4), QTime(7, 30, 0)));
    QDateTime now() const override { return m_now; }
    bool setNow(const QDateTime& localTime) override;
    void sleepMs(int milliseconds) override;
    void advanceMs(qint64 milliseconds) { m_now = m_now.addMSecs(milliseconds); }
    qint64 sleptMs() const { return m_sleptMs; }

private:
    QDateTime m_now;
    qint64 m_sleptMs = 0;
};

} // namespace brovant
