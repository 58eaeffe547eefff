// The one place that decides who may do what.
#pragma once

#include <QDBusConnection>
#include <QString>

namespace talo::service
{

// What a caller may ask for, one value for each kind that could be granted apart from the others.
enum class Action {
    ReadStatus,
    StartScan,
    ControlScan, // pause, resume, stop
    WatchScan,
    ReadReports,
    DeleteReports,
    ReadQuarantine,
    RestoreFromQuarantine,
    PurgeQuarantine,
    ReadSettings, // exclusions too
    ChangeSettings,
    ChangeFirewallSetting,
    ChangeDeviceControl,
    ChangeExclusions,
    ImportSettings,
};

class Authority
{
public:
    // Empty when the caller, a unique bus name, may; otherwise why not, in words. For now root and
    // the service's own user may do everything, and nobody else anything: what the service of root
    // sees and does reaches every file of the machine.
    QString refusal(Action action, const QDBusConnection &bus, const QString &caller) const;
};

} // namespace talo::service
