// The scans: starts them, answers for them, and keeps them for a while after their end.
#pragma once

#include "interface/types.h"
#include "scan/job.h"
#include "service/housekeeper.h"
#include "service/reportrecorder.h"
#include "service/signatureset.h"

#include <QObject>

#include <chrono>
#include <map>
#include <memory>
#include <optional>

namespace talo::scan
{
class Quarantine;
class WorkerPool;
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
        scan::WorkerPool &pool;
        Housekeeper &housekeeper;
        std::function<SignatureSet()> signatures;
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
    Started start(uint kind, const QByteArray &path);

    // False: no such job.
    bool pause(uint job);
    bool resume(uint job);
    bool stop(uint job);

    std::optional<interface::ScanProgress> progress(uint job, uint threatsFrom) const;
    interface::RunningJobs running() const;

    // Stops every scan and waits until their reports are stored.
    void shutDown();

private:
    struct Entry {
        scan::ScanKind kind = scan::ScanKind::Custom;
        std::shared_ptr<JobRecord> record;
        std::unique_ptr<ReportRecorder> recorder; // until the job has it
        std::unique_ptr<scan::Job> job;           // none while its roots are looked for
        bool pauseAsked = false;
        std::chrono::steady_clock::time_point ended;
    };

    std::optional<Started> refuse(uint kind, const QByteArray &path) const;
    void begin(uint job, const std::vector<std::string> &roots, const SignatureSet &set);
    void ended(uint job);
    void dropOld();
    Entry *find(uint job);

    Rooms rooms_;
    SignatureSet signatures_; // what the pool was told to use
    std::map<uint, Entry> jobs_;
    uint lastNumber_ = 0;
};

} // namespace talo::service
