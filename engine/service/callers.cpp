#include "service/callers.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace talo::service
{

Callers::Callers(const QDBusConnection &bus)
{
    watcher_.setConnection(bus);
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, &Callers::forget);
}

void Callers::add(const QString &caller)
{
    callers_.insert(caller);
    watcher_.addWatchedService(caller);
    // It may have left while its password was checked, before anybody watched.
    const QDBusReply<bool> there = watcher_.connection().interface()->isServiceRegistered(caller);
    if (!there.isValid() || !there.value())
        forget(caller);
}

void Callers::forget(const QString &caller)
{
    callers_.remove(caller);
    watcher_.removeWatchedService(caller);
}

void Callers::forgetAllBut(const QString &caller)
{
    const QSet<QString> all = callers_;
    for (const QString &one : all)
        if (one != caller)
            forget(one);
}

} // namespace talo::service
