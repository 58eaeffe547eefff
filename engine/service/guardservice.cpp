#include "service/guardservice.h"

#include "interface/names.h"
#include "service/driveguard.h"
#include "service/firewallguard.h"
#include "service/log.h"
#include "service/storageguard.h"

#include <unistd.h>

namespace talo::service
{

namespace
{

FirewallGuard::Wanted wantedFirewall(const store::SettingValues &values)
{
    return values[store::Setting::FirewallOn] == 1 ? FirewallGuard::Wanted::On
                                                   : FirewallGuard::Wanted::Off;
}

StorageGuard::Wanted wantedStorage(const store::SettingValues &values)
{
    return values[store::Setting::DevicesBlocked] == 1 ? StorageGuard::Wanted::Blocked
                                                       : StorageGuard::Wanted::Allowed;
}

DriveGuard::Wanted wantedScan(const store::SettingValues &values)
{
    return values[store::Setting::ScanOnArrival] == 1 ? DriveGuard::Wanted::Scanned
                                                      : DriveGuard::Wanted::Ignored;
}

const char *inWords(guard::Firewall::Standing standing)
{
    switch (standing) {
    case guard::Firewall::Standing::Absent:
        return "off";
    case guard::Firewall::Standing::Whole:
        return "on";
    case guard::Firewall::Standing::Altered:
        return "altered";
    case guard::Firewall::Standing::Unknown:
        break;
    }
    return "unknown";
}

} // namespace

GuardService::GuardService(Scope scope, const std::string &stateFolder, ScanService &scans)
    : drives_(std::make_unique<DriveGuard>(scans))
{
    if (scope == Scope::Own)
        return;
    firewall_ = std::make_unique<FirewallGuard>(stateFolder);
    storage_ = std::make_unique<StorageGuard>();
    // A drive that is being scanned could not be unmounted.
    connect(storage_.get(), &StorageGuard::blocking, drives_.get(), &DriveGuard::stopScans);
    connect(drives_.get(), &DriveGuard::mountsChanged, storage_.get(), &StorageGuard::look);
}

GuardService::~GuardService() = default;

void GuardService::start(const store::SettingValues &values)
{
    drives_->start(wantedScan(values));
    if (firewall_)
        firewall_->start(wantedFirewall(values));
    if (storage_)
        storage_->start(wantedStorage(values));
}

void GuardService::changed(store::Group group, const store::SettingValues &values)
{
    if (group == store::Group::ExternalDrive)
        drives_->enforce(wantedScan(values));
    if (group == store::Group::DeviceControl && storage_)
        storage_->enforce(wantedStorage(values));
    if (group == store::Group::Firewall && firewall_) {
        const std::string failure = firewall_->enforce(wantedFirewall(values));
        if (!failure.empty())
            log(Level::Error, failure);
    }
}

GuardService::Refusal GuardService::trigger(Firewall wanted)
{
    if (!firewall_)
        return {interface::kErrorNotPermitted,
                QStringLiteral("this service does not guard the machine; only the one that root "
                               "runs for all users can switch the firewall")};
    const std::string failure = firewall_->enforce(
        wanted == Firewall::On ? FirewallGuard::Wanted::On : FirewallGuard::Wanted::Off);
    if (failure.empty())
        return {};
    log(Level::Error, failure);
    return {interface::kErrorFailed, QString::fromStdString(failure)};
}

QVariantMap GuardService::status()
{
    const guard::UsbStorage::State usb = guard::UsbStorage().state();
    QVariantMap status{
        {QStringLiteral("guardsMachine"), firewall_ != nullptr},
        {QStringLiteral("usbFlag"), usb.flag},
        {QStringLiteral("usbRule"), usb.rule},
        {QStringLiteral("usbOpen"), usb.open},
        {QStringLiteral("usbBlocked"), usb.blocked},
        {QStringLiteral("driveScan"), drives_->watches()},
    };
    auto standing = guard::Firewall::Standing::Unknown;
    QStringList others;
    if (geteuid() == 0) { // nobody else is told by the kernel
        guard::Firewall reader;
        standing = firewall_ ? firewall_->state().standing : reader.state().standing;
        for (const std::string &name : reader.others())
            others << QString::fromStdString(name);
    }
    status.insert(QStringLiteral("firewall"), QString::fromLatin1(inWords(standing)));
    status.insert(QStringLiteral("otherFirewalls"), others);
    return status;
}

} // namespace talo::service
