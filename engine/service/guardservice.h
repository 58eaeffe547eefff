// What guards the machine itself, as the settings say: the firewall, USB storage, and the scan of
// drives that are plugged in.
#pragma once

#include "store/settingstable.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>
#include <string>

namespace talo::service
{

class DriveGuard;
class FirewallGuard;
class ScanService;
class StorageGuard;

// Lives on the service's main thread and is called there.
class GuardService : public QObject
{
    Q_OBJECT

public:
    // Only the machine's own service may change what the kernel does for everybody. Any other one
    // keeps the settings and says that it cannot enforce them; drives it scans all the same.
    enum class Scope { Machine, Own };
    GuardService(Scope scope, const std::string &stateFolder, ScanService &scans);
    ~GuardService() override;

    // Enforces what is set, and begins to watch that it stays enforced.
    void start(const store::SettingValues &values);

    enum class Firewall { On, Off };
    struct Refusal {
        const char *error = nullptr; // one of the interface's names; null where it is done
        QString reason;
    };
    Refusal trigger(Firewall wanted);

    // What is enforced now, as the system has it; for the answer of GetStatus.
    QVariantMap status();

public slots:
    void changed(talo::store::Group group, const talo::store::SettingValues &values);

private:
    std::unique_ptr<FirewallGuard> firewall_; // these two of the machine's own service alone
    std::unique_ptr<StorageGuard> storage_;
    std::unique_ptr<DriveGuard> drives_;
};

} // namespace talo::service
