// The service knows which values are allowed; here they are only passed on.
#include "engine/libsettings.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusReply>

#include <utility>
#include <vector>

namespace
{

using namespace talo;

constexpr int kDone = 0;
constexpr int kFailed = 1;

// Each as the service's interface names it.
constexpr char kGeneral[] = "General";
constexpr char kPacked[] = "ScanPacked";
constexpr char kArchives[] = "ScanArchives";
constexpr char kScanActions[] = "ScanActions";
constexpr char kInfectedFirst[] = "InfectedFirst";
constexpr char kInfectedSecond[] = "InfectedSecond";
constexpr char kSuspectedFirst[] = "SuspectedFirst";
constexpr char kSuspectedSecond[] = "SuspectedSecond";
constexpr char kHiddenFirst[] = "HiddenFirst";
constexpr char kHiddenSecond[] = "HiddenSecond";
constexpr char kExternalDrive[] = "ExternalDrive";
constexpr char kOnArrival[] = "ScanOnArrival";
constexpr char kFirewall[] = "Firewall";
constexpr char kOn[] = "On";
constexpr char kUpdate[] = "Update";
constexpr char kAutomatic[] = "Automatic";
constexpr char kFrequency[] = "Frequency";
constexpr char kDeviceControl[] = "DeviceControl";
constexpr char kBlocked[] = "Blocked";

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

int call(const char *method, const QVariantList &arguments)
{
    const QDBusMessage answer =
        client::Bus::instance().call(interface::kSettings, method, arguments);
    return answer.type() == QDBusMessage::ReplyMessage ? kDone : kFailed;
}

using Outputs = std::vector<std::pair<const char *, int *>>;
using Inputs = std::vector<std::pair<const char *, int>>;

int readGroup(const char *group, const Outputs &outputs)
{
    const QDBusReply<interface::SettingMap> reply =
        client::Bus::instance().call(interface::kSettings, "Get", {text(group)});
    if (!reply.isValid())
        return kFailed;
    const interface::SettingMap values = reply.value();
    for (const auto &[key, output] : outputs)
        if (!values.contains(text(key)))
            return kFailed;
    for (const auto &[key, output] : outputs)
        if (output != nullptr)
            *output = values.value(text(key));
    return kDone;
}

int get(const char *group, const Outputs &outputs)
{
    return client::guarded(kFailed, [&] { return readGroup(group, outputs); });
}

int apply(const char *group, const Inputs &inputs)
{
    return client::guarded(kFailed, [&] {
        interface::SettingMap values;
        for (const auto &[key, value] : inputs)
            values.insert(text(key), value);
        return call("Apply", {text(group), QVariant::fromValue(values)});
    });
}

int applyDefault(const char *group)
{
    return client::guarded(kFailed, [&] { return call("ApplyDefault", {text(group)}); });
}

} // namespace

int libSettings::GetGeneralSettings(int *scanPacked, int *scanArchive)
{
    return get(kGeneral, {{kPacked, scanPacked}, {kArchives, scanArchive}});
}

int libSettings::ApplyGeneralSettings(int scanPacked, int scanArchive)
{
    return apply(kGeneral, {{kPacked, scanPacked}, {kArchives, scanArchive}});
}

int libSettings::ApplyDefaultGeneralSetting()
{
    return applyDefault(kGeneral);
}

int libSettings::GetScanActionSettings(int *infectedFirst, int *infectedSecond, int *suspectedFirst,
                                       int *suspectedSecond, int *hiddenFirst, int *hiddenSecond)
{
    return get(kScanActions, {{kInfectedFirst, infectedFirst},
                              {kInfectedSecond, infectedSecond},
                              {kSuspectedFirst, suspectedFirst},
                              {kSuspectedSecond, suspectedSecond},
                              {kHiddenFirst, hiddenFirst},
                              {kHiddenSecond, hiddenSecond}});
}

int libSettings::ApplyScanActionSettings(int infectedFirst, int infectedSecond, int suspectedFirst,
                                         int suspectedSecond, int hiddenFirst, int hiddenSecond)
{
    return apply(kScanActions, {{kInfectedFirst, infectedFirst},
                                {kInfectedSecond, infectedSecond},
                                {kSuspectedFirst, suspectedFirst},
                                {kSuspectedSecond, suspectedSecond},
                                {kHiddenFirst, hiddenFirst},
                                {kHiddenSecond, hiddenSecond}});
}

int libSettings::ApplyDefaultScanActionSetting()
{
    return applyDefault(kScanActions);
}

int libSettings::GetExternalDriveSettings(int *scanOnArrival)
{
    return get(kExternalDrive, {{kOnArrival, scanOnArrival}});
}

int libSettings::ApplyExternalDriveSettings(int scanOnArrival)
{
    return apply(kExternalDrive, {{kOnArrival, scanOnArrival}});
}

int libSettings::ApplyDefaultExternalDriveSetting()
{
    return applyDefault(kExternalDrive);
}

int libSettings::GetFirewallSetting(int *on)
{
    return get(kFirewall, {{kOn, on}});
}

int libSettings::ApplyFirewallSetting(int on)
{
    return apply(kFirewall, {{kOn, on}});
}

int libSettings::ApplyDefaultFirewallSettings()
{
    return applyDefault(kFirewall);
}

int libSettings::GetUpdateSettings(int *automatic, int *frequency)
{
    return get(kUpdate, {{kAutomatic, automatic}, {kFrequency, frequency}});
}

int libSettings::ApplyUpdateSettings(int automatic, int frequency)
{
    return apply(kUpdate, {{kAutomatic, automatic}, {kFrequency, frequency}});
}

int libSettings::ApplyDefaultUpdateSettings()
{
    return applyDefault(kUpdate);
}

int libSettings::GetDeviceControlSetting(int *blocked)
{
    return get(kDeviceControl, {{kBlocked, blocked}});
}

int libSettings::ApplyDeviceControlSetting(int blocked)
{
    return apply(kDeviceControl, {{kBlocked, blocked}});
}
