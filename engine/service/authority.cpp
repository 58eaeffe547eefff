#include "service/authority.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <unistd.h>

namespace talo::service
{

namespace
{

const char *inWords(Action action)
{
    switch (action) {
    case Action::ReadStatus:
        return "read the service's state";
    case Action::StartScan:
        return "start scans";
    case Action::ControlScan:
        return "pause or stop scans";
    case Action::WatchScan:
        return "watch scans";
    case Action::ReadReports:
        return "read reports";
    case Action::DeleteReports:
        return "delete reports";
    case Action::ReadQuarantine:
        return "list the quarantine";
    case Action::RestoreFromQuarantine:
        return "restore files from the quarantine";
    case Action::PurgeQuarantine:
        return "destroy files in the quarantine";
    case Action::ReadSettings:
        return "read the settings";
    case Action::ChangeSettings:
        return "change settings";
    case Action::ChangeFirewallSetting:
        return "change the setting of the firewall";
    case Action::ChangeDeviceControl:
        return "change the setting of USB storage";
    case Action::ChangeExclusions:
        return "change what scans leave out";
    case Action::ImportSettings:
        return "import settings";
    }
    return "do this";
}

} // namespace

QString Authority::refusal(Action action, const QDBusConnection &bus, const QString &caller) const
{
    // It takes a validated password, and there is no way to give one yet.
    if (action == Action::ChangeDeviceControl)
        return QStringLiteral("the setting of USB storage can only be changed with the password");
    // Asked of the bus by the connection's name, which is never given to another: a process id
    // could belong to somebody else by the time it is looked up.
    const QDBusReply<uint> uid = bus.interface()->serviceUid(caller);
    if (uid.isValid() && (uid.value() == 0 || uid.value() == geteuid()))
        return QString();
    return QStringLiteral("this user may not %1").arg(QLatin1String(inWords(action)));
}

} // namespace talo::service
