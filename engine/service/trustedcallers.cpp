#include "service/trustedcallers.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace talo::service
{

TrustedCallers::TrustedCallers(const QDBusConnection &bus)
{
    watcher_.setConnection(bus);
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, &TrustedCallers::forget);
}

void TrustedCallers::add(const QString &caller)
{
    callers_.insert(caller);
    watcher_.addWatchedService(caller);
    // It may have left while its password was checked, before anybody watched.
    const QDBusReply<bool> there = watcher_.connection().interface()->isServiceRegistered(caller);
    if (!there.isValid() || !there.value())
        forget(caller);
}

void TrustedCallers::forget(const QString &caller)
{
    callers_.remove(caller);
    watcher_.removeWatchedService(caller);
}

void TrustedCallers::forgetAllBut(const QString &caller)
{
    const QSet<QString> all = callers_;
    for (const QString &one : all)
        if (one != caller)
            forget(one);
}

} // namespace talo::service
