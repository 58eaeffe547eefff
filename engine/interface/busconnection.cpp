#include "interface/busconnection.h"

#include <QDBusMessage>

namespace talo::interface
{

QDBusConnection connectToBus(const QString &address, const QString &name)
{
    QDBusConnection bus = QDBusConnection::connectToBus(address, name);
    if (!bus.isConnected())
        return bus;
    // The bus answers what it is asked after it has told the name, and for its own service alone
    // those notes are not looked into.
    constexpr int kPatience = 5000; // milliseconds
    const QString own = QStringLiteral("org.freedesktop.DBus");
    bus.call(QDBusMessage::createMethodCall(own, QStringLiteral("/org/freedesktop/DBus"), own,
                                            QStringLiteral("GetId")),
             QDBus::Block, kPatience);
    return bus;
}

} // namespace talo::interface
