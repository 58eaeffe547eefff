// The scans: starts them, answers for them, and keeps them for a while after their end.
#pragma once

#include "interface/types.h"
#include "scan/job.h"
#include "service/housekeeper.h"
#include "service/reportrecorder.h"
#include "service/signaturepools.h"

#include <QObject>

#include <chrono>
#include <map>
#include <memory>
#include <optional>

namespace talo::scan
{
class Quarantine;
} // namespace talo::scan

namespace talo::service
{

// Lives on the service's main thread and is called there.
class ScanService : public QObject
{
    Q_OBJECT

public:
    static constexpr std::size_t kMostJobs = 4;
    // Scans that have ended are kept so long for those who ask, and no more than so many.
    static constexpr std::chrono::hours kKeptAfterEnd{1};
    static constexpr std::size_t kMostEnded = 100;

    struct Rooms {
        store::ReportStore &reports;
        scan::Quarantine &quarantine;
        SignaturePools &pools;
        Housekeeper &housekeeper;
        std::function<scan::ScanSettings()> settings; // asked for as a job begins
        std::vector<std::string> leaveOut;            // folders that no scan enters
    };
    explicit ScanService(Rooms rooms);
    ~ScanService() override;

    enum class Refusal { None, Invalid, NotFound, AlreadyRunning, LimitReached };
    struct Started {
        uint job = 0;
        Refusal refusal = Refusal::None;
        QString reason;
    };
    // Who began a scan. The type of its report says so, and nobody watches what a user did not
    // begin.
    enum class Origin { User, Schedule, Drive };
    // What a scan finds after what it scans has gone is worth nothing: where `gone` says so at its
    // end, on the scan's thread, it counts as interrupted.
    using Gone = std::function<bool()>;
    Started start(uint kind, const QByteArray &path, Origin origin = Origin::User, Gone gone = {});

    // False: no such job.
    bool pause(uint job);
    bool resume(uint job);
    bool stop(uint job);
    bool interrupt(uint job); // as by a power cut, not as somebody wishes

    std::optional<interface::ScanProgress> progress(uint job, uint threatsFrom) const;
    interface::RunningJobs running() const;

    // Stops every scan and waits until their reports are stored.
    void shutDown();

    struct Ending {
        uint job = 0;
        Origin origin = Origin::User;
        QString type; // the report's
        QString scanned;
        store::Outcome outcome = store::Outcome::Failed;
        qulonglong files = 0;
        qulonglong threats = 0;
        QString report; // its key; empty where none could be stored
    };

signals:
    void scanEnded(const talo::service::ScanService::Ending &ending);
    // The first ten of each scan that nobody watches.
    void unwatchedThreat(const QString &type, const QString &path, const QString &threat,
                         const QString &outcome);

private:
    struct Entry {
        scan::ScanKind kind = scan::ScanKind::Custom;
        Origin origin = Origin::User;
        std::string type;
        std::string scanned;
        std::shared_ptr<JobRecord> record;
        std::shared_ptr<JobWorkers> workers;
        std::unique_ptr<ReportRecorder> recorder; // until the job has it
        std::unique_ptr<scan::Job> job;           // none while its roots are looked for
        bool pauseAsked = false;
        bool interrupted = false;
        std::chrono::steady_clock::time_point ended;
    };

    std::optional<Started> refuse(uint kind, const QByteArray &path) const;
    void begin(uint job, const std::vector<std::string> &roots);
    ReportRecorder::Hooks hooks(uint number, const Entry &entry);
    void ended(uint job);
    void dropOld();
    Entry *find(uint job);

    Rooms rooms_;
    std::map<uint, Entry> jobs_;
    uint lastNumber_ = 0;
};

} // namespace talo::service
