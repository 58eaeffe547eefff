// The scan workers, of which each set of signatures has its own.
//
// A scan keeps the workers that it began with, and thereby its set; new scans get those of the set
// in use. Workers of a set that no scan uses any more are let go.
#pragma once

#include "scan/job.h"
#include "scan/workerpool.h"
#include "service/signatureset.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace talo::service
{

// The workers of one set.
struct SetWorkers {
    SignatureSet set;
    std::shared_ptr<scan::WorkerPool> pool;
};

// One scan's hold on its workers.
class JobWorkers
{
public:
    // Asked for others where the signatures of the first cannot be loaded; without a pool for none.
    using Instead = std::function<SetWorkers(const SetWorkers &bad, const std::string &reason)>;
    JobWorkers(SetWorkers workers, Instead instead);

    std::string describe() const; // the set, and how many signatures once they are loaded
    // The scan's end of it, which shares the hold.
    static std::unique_ptr<scan::VerdictSource> source(std::shared_ptr<JobWorkers> workers,
                                                       scan::Priority priority);
    void letGo(); // for good, also while the scan's end still waits for the signatures

private:
    friend class JobVerdicts;
    SetWorkers now() const;
    std::string load(scan::Priority priority);

    mutable std::mutex mutex_;
    SetWorkers workers_;
    unsigned count_ = 0;
    Instead instead_;
};

// May be used from any thread.
class SignaturePools
{
public:
    // `config` is that of every pool but for the folder. `inUse` tells the set that scans which
    // begin now are to have. `fallBack` puts the set before it to use and is asked when a set
    // cannot be loaded; it answers whether there is one.
    using InUse = std::function<SignatureSet()>;
    using FallBack = std::function<bool(const SignatureSet &bad, const std::string &reason)>;
    SignaturePools(scan::PoolConfig config, InUse inUse, FallBack fallBack);

    std::shared_ptr<JobWorkers> forJob();
    unsigned signatures() const; // of the set in use, if it is loaded

    // Loads a set and has its workers look at samples. Empty, or why it is of no use; where it is
    // of use, the workers are kept for adopt(). The priority is that of loading.
    std::string tryOut(const std::string &set, scan::Priority priority);
    // The set that was tried out last is the one in use now.
    void adopt();
    void forgetTrial();

    // Whether workers of that set are about.
    bool uses(const std::string &set) const;

private:
    struct Held {
        std::string folder;
        std::weak_ptr<scan::WorkerPool> pool;
    };
    std::shared_ptr<scan::WorkerPool> make(const std::string &folder) const;
    SetWorkers use(const SignatureSet &set);
    SetWorkers instead(const SetWorkers &bad, const std::string &reason);

    const scan::PoolConfig config_;
    const InUse inUse_;
    const FallBack fallBack_;
    mutable std::mutex mutex_;
    SetWorkers now_;
    SetWorkers trial_;               // of its set, the folder alone
    mutable std::vector<Held> held_; // every pool that may still be about
};

} // namespace talo::service
