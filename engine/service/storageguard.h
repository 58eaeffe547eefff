// Has USB storage blocked as it is set.
#pragma once

#include "guard/usbstorage.h"
#include "guard/usbwatch.h"
#include "service/housekeeper.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talo::service
{

// Lives on the service's main thread and is called there.
class StorageGuard : public QObject
{
    Q_OBJECT

public:
    explicit StorageGuard(const guard::UsbPlaces &places = guard::UsbPlaces());
    ~StorageGuard() override;

    enum class Wanted { Blocked, Allowed };
    void start(Wanted wanted);

    // What it comes to is in the log: to unmount a drive can take long, since it is written out
    // first.
    void enforce(Wanted wanted);

    // Blocks what has come or could not be blocked before.
    void look();

signals:
    void blocking(); // what uses a drive of ours should leave it

private:
    using Outcome = guard::UsbStorage::Outcome;
    void work(Outcome (guard::UsbStorage::*what)() const);
    void done(const Outcome &outcome);
    void watchDevices();

    guard::UsbStorage storage_;
    Wanted wanted_ = Wanted::Allowed;
    std::optional<guard::UsbWatch> devices_;
    std::unique_ptr<QSocketNotifier> notifier_;
    QTimer soon_;
    QTimer again_;                     // while something is in use
    std::vector<std::string> refused_; // as last told
    Housekeeper worker_;               // the last member: its thread uses the others
};

} // namespace talo::service
