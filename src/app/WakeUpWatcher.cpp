#include "app/WakeUpWatcher.h"

#include <QDBusConnection>

namespace brovant {

WakeUpWatcher::WakeUpWatcher(QObject* parent)
    : QObject(parent)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return;
    m_watching = bus.connect(QStringLiteral("org.freedesktop.login1"),
                             QStringLiteral("/org/freedesktop/login1"),
                             QStringLiteral("org.freedesktop.login1.Manager"),
                             QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
}

void WakeUpWatcher::prepareForSleep(bool sleeping)
{
    // The signal comes twice: true before sleeping, false after waking.
    if (!sleeping)
        emit wokeUp();
}

} // namespace brovant
