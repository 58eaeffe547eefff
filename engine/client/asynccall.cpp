#include "client/asynccall.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace talo::client
{

void callAsync(const QDBusConnection &bus, const QDBusMessage &message,
               std::chrono::milliseconds patience, QObject *context,
               const std::function<void(const QDBusMessage &)> &answered)
{
    if (!bus.isConnected()) {
        // A call on no connection would never be answered.
        answered(QDBusMessage::createError(QDBusError::Disconnected, QString()));
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(
        bus.asyncCall(message, static_cast<int>(patience.count())), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, answered] {
        watcher->deleteLater();
        answered(watcher->reply());
    });
}

} // namespace talo::client
