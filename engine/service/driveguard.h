// Has a drive scanned when it is plugged in and mounted.
#pragma once

#include "guard/drives.h"
#include "service/scanservice.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

namespace talo::service
{

// Lives on the service's main thread and is called there.
class DriveGuard : public QObject
{
    Q_OBJECT

public:
    explicit DriveGuard(ScanService &scans);
    ~DriveGuard() override;

    enum class Wanted { Scanned, Ignored };
    void start(Wanted wanted);
    // What is being scanned is scanned to its end.
    void enforce(Wanted wanted);

    // Whether a drive that is mounted now would be scanned.
    bool watches() const { return notifier_ != nullptr && wanted_ == Wanted::Scanned; }

    void stopScans();

signals:
    void mountsChanged();

private:
    using Drive = guard::DriveWatch::Drive;
    struct Scan {
        uint job = 0;
        Drive drive;
    };
    void look();
    void begin(const Drive &drive);
    void beginWaiting();
    void ended(const ScanService::Ending &ending);
    void lookForLost();

    ScanService &scans_;
    Wanted wanted_ = Wanted::Ignored;
    std::optional<guard::DriveWatch> drives_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::vector<Drive> waiting_; // while too many scans run
    std::vector<Scan> running_;
    QTimer lost_;
};

} // namespace talo::service
