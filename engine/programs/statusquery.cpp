#include "programs/statusquery.h"

#include "client/bus.h"
#include "interface/names.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace talo::programs
{

void StatusQuery::ask()
{
    const QDBusConnection bus = client::Bus::instance().connection();
    if (!bus.isConnected()) {
        emit answered({});
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(
        bus.asyncCall(client::Bus::message(interface::kStatus, "GetStatus"),
                      static_cast<int>(client::Bus::kPatience.count())),
        this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QVariantMap> reply = *watcher;
        emit answered(reply.isError() ? QVariantMap() : reply.value());
    });
}

} // namespace talo::programs
