// The system's keep-awake against the real logind, where this machine has one.
#include "platform/logind/LogindInhibitor.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <gtest/gtest.h>

#include <unistd.h>

namespace brovant {
namespace {

// The inhibitors logind lists for this process as "what who why mode".
QStringList ownInhibitors(QDBusConnection& bus)
{
    const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
        QString::fromLatin1(LogindInhibitor::kService), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("ListInhibitors")));
    QStringList found;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {QStringLiteral("<no answer>")};
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        QString what, who, why, mode;
        uint uid = 0, pid = 0;
        list.beginStructure();
        list >> what >> who >> why >> mode >> uid >> pid;
        list.endStructure();
        if (pid == uint(getpid()))
            found << QStringList{what, who, why, mode}.join(u' ');
    }
    list.endArray();
    return found;
}

TEST(LogindInhibitor, HoldsIdleAndSleepWhereLogindRunsAndIsSilentElsewhere)
{
    QDBusConnection bus = QDBusConnection::systemBus();
    const bool logind =
        bus.isConnected()
        && bus.interface()->isServiceRegistered(QString::fromLatin1(LogindInhibitor::kService));
    LogindInhibitor inhibitor;
    inhibitor.hold();
    if (!logind) {
        EXPECT_FALSE(inhibitor.holding());
        inhibitor.release();
        GTEST_SKIP() << "no system bus with logind here";
    }
    if (!inhibitor.holding())
        GTEST_SKIP() << "logind grants this user no inhibitor";
    EXPECT_EQ(ownInhibitors(bus),
              QStringList{QStringLiteral("idle:sleep Brovant Import, Übertragung oder Sicherung "
                                         "läuft block")});
    inhibitor.release();
    EXPECT_FALSE(inhibitor.holding());
    // logind sees the closed descriptor in its own loop; a few round trips give it the turn.
    QStringList left = ownInhibitors(bus);
    for (int ask = 0; ask < 20 && !left.isEmpty(); ++ask)
        left = ownInhibitors(bus);
    EXPECT_EQ(left, QStringList{});
}

} // namespace
} // namespace brovant
