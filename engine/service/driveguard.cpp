#include "service/driveguard.h"

#include "interface/names.h"
#include "service/log.h"
#include "service/shown.h"

#include <algorithm>
#include <chrono>

namespace talo::service
{

namespace
{

// A drive that is pulled out can stay mounted, so there is nothing to be woken by.
constexpr std::chrono::milliseconds kLookForLost{500};
// Nobody plugs in more by hand.
constexpr std::size_t kMostWaiting = 16;

bool samePlace(const guard::DriveWatch::Drive &one, const guard::DriveWatch::Drive &other)
{
    return one.mount.id == other.mount.id && one.mount.path == other.mount.path;
}

} // namespace

DriveGuard::DriveGuard(ScanService &scans) : scans_(scans)
{
    connect(&scans_, &ScanService::scanEnded, this, &DriveGuard::ended);
    connect(&lost_, &QTimer::timeout, this, &DriveGuard::lookForLost);
}

DriveGuard::~DriveGuard() = default;

void DriveGuard::start(Wanted wanted)
{
    wanted_ = wanted;
    auto watch = guard::DriveWatch::open();
    if (!watch) {
        log(Level::Error, "drives that are plugged in cannot be noticed: " + watch.error().text);
        return;
    }
    drives_.emplace(std::move(*watch));
    // The kernel tells of mounts as of an exceptional condition.
    notifier_ = std::make_unique<QSocketNotifier>(drives_->fd(), QSocketNotifier::Exception);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &DriveGuard::look);
}

void DriveGuard::enforce(Wanted wanted)
{
    wanted_ = wanted;
    if (wanted == Wanted::Ignored)
        waiting_.clear();
}

void DriveGuard::look()
{
    const guard::DriveWatch::Changes changes = drives_->take();
    for (const Drive &drive : changes.gone) {
        waiting_.erase(std::remove_if(waiting_.begin(), waiting_.end(),
                                      [&](const Drive &other) { return samePlace(drive, other); }),
                       waiting_.end());
        for (const Scan &scan : running_)
            if (samePlace(scan.drive, drive))
                scans_.interrupt(scan.job);
    }
    for (const Drive &drive : changes.arrived)
        if (wanted_ == Wanted::Scanned)
            begin(drive);
    emit mountsChanged();
}

void DriveGuard::begin(const Drive &drive)
{
    // A drive that is gone has nothing left to be scanned: what the scan could not read then is no
    // finding about its files.
    const auto gone = [device = drive.device] { return !guard::isThere(device); };
    const ScanService::Started started =
        scans_.start(interface::CustomScan, QByteArray::fromStdString(drive.mount.path),
                     ScanService::Origin::Drive, gone);
    if (started.refusal == ScanService::Refusal::None) {
        running_.push_back({started.job, drive});
        lost_.start(kLookForLost);
    } else if (started.refusal == ScanService::Refusal::LimitReached &&
               waiting_.size() < kMostWaiting) {
        log(Level::Info,
            "the drive at " + shown(drive.mount.path) + " is scanned once another scan has ended");
        waiting_.push_back(drive);
    } else {
        log(Level::Warning, "the drive at " + shown(drive.mount.path) +
                                " is not scanned: " + started.reason.toStdString());
    }
}

void DriveGuard::beginWaiting()
{
    std::vector<Drive> waiting;
    waiting.swap(waiting_);
    for (const Drive &drive : waiting)
        begin(drive);
}

void DriveGuard::ended(const ScanService::Ending &ending)
{
    running_.erase(std::remove_if(running_.begin(), running_.end(),
                                  [&](const Scan &scan) { return scan.job == ending.job; }),
                   running_.end());
    if (running_.empty())
        lost_.stop();
    beginWaiting();
}

void DriveGuard::lookForLost()
{
    for (const Scan &scan : running_)
        if (!guard::isThere(scan.drive.device))
            scans_.interrupt(scan.job);
}

void DriveGuard::stopScans()
{
    waiting_.clear();
    for (const Scan &scan : running_)
        scans_.interrupt(scan.job);
}

} // namespace talo::service
