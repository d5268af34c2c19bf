// Program: notices the handheld waking from suspend (logind's PrepareForSleep signal on the
// system bus, where there is one) and reports it like a second start. Without a system bus it
// does nothing.
#pragma once

#include <QObject>

namespace brovant {

class WakeUpWatcher : public QObject {
    Q_OBJECT
public:
    explicit WakeUpWatcher(QObject* parent = nullptr);
    bool watching() const { return m_watching; }

signals:
    void wokeUp();

private slots:
    void prepareForSleep(bool sleeping);

private:
    bool m_watching = false;
};

} // namespace brovant
