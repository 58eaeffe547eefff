#include "service/storageguard.h"

#include "service/log.h"

#include <chrono>

namespace talo::service
{

namespace
{

using namespace std::chrono_literals;

// A device's events come in bursts.
constexpr auto kSoon = 200ms;
constexpr auto kAgain = 5s;

} // namespace

StorageGuard::StorageGuard(const guard::UsbPlaces &places) : storage_(places)
{
    for (QTimer *const timer : {&soon_, &again_}) {
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, [this] {
            if (wanted_ == Wanted::Blocked)
                work(&guard::UsbStorage::sweep);
        });
    }
}

StorageGuard::~StorageGuard() = default;

void StorageGuard::start(Wanted wanted)
{
    watchDevices();
    enforce(wanted);
}

void StorageGuard::enforce(Wanted wanted)
{
    wanted_ = wanted;
    refused_.clear();
    again_.stop();
    if (wanted == Wanted::Blocked)
        emit blocking();
    work(wanted == Wanted::Blocked ? &guard::UsbStorage::block : &guard::UsbStorage::allow);
}

void StorageGuard::look()
{
    if (wanted_ == Wanted::Blocked && !soon_.isActive())
        soon_.start(kSoon);
}

void StorageGuard::work(Outcome (guard::UsbStorage::*what)() const)
{
    worker_.run([this, what] {
        const Outcome outcome = (storage_.*what)();
        QMetaObject::invokeMethod(
            this, [this, outcome] { done(outcome); }, Qt::QueuedConnection);
    });
}

void StorageGuard::done(const Outcome &outcome)
{
    if (!outcome.failure.empty())
        log(Level::Error, outcome.failure);
    for (const std::string &what : outcome.done)
        log(Level::Info, what);
    if (outcome.refused != refused_)
        for (const std::string &what : outcome.refused)
            log(Level::Warning, what);
    refused_ = outcome.refused;
    if (!refused_.empty() && wanted_ == Wanted::Blocked)
        again_.start(kAgain);
}

// The rule alone blocks what is plugged in. This is for where udev runs without it, and for what it
// missed.
void StorageGuard::watchDevices()
{
    auto watch = guard::UsbWatch::open();
    if (!watch) {
        log(Level::Warning, "udev does not tell of USB devices: " + watch.error().text);
        return;
    }
    devices_.emplace(std::move(*watch));
    notifier_ = std::make_unique<QSocketNotifier>(devices_->fd(), QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        if (devices_->take())
            look();
    });
}

} // namespace talo::service
