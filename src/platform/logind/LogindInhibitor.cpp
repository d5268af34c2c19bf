#include "platform/logind/LogindInhibitor.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace brovant {

void LogindInhibitor::hold()
{
    if (holding() || m_unavailable)
        return;
    QDBusConnection bus = QDBusConnection::systemBus();
    // Asking the bus first: a call to a missing service could wait for an activation instead.
    if (!bus.isConnected() || !bus.interface()
        || !bus.interface()->isServiceRegistered(QString::fromLatin1(kService)).value()) {
        m_unavailable = true;
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call << QStringLiteral("idle:sleep") << QStringLiteral("Brovant")
         << QStringLiteral("Import, Übertragung oder Sicherung läuft") << QStringLiteral("block");
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        // Not permitted here (or logind refuses): the job runs all the same.
        m_unavailable = true;
        return;
    }
    m_lock = qvariant_cast<QDBusUnixFileDescriptor>(reply.arguments().constFirst());
}

void LogindInhibitor::release()
{
    m_lock = QDBusUnixFileDescriptor();
}

} // namespace brovant
