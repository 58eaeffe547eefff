#include "service/signaturepools.h"

#include "files/uniquefd.h"
#include "scan/cleanlink.h"
#include "service/log.h"
#include "update/databasefile.h"
#include "update/plainfolder.h"

#include <algorithm>
#include <chrono>
#include <sys/mman.h>
#include <sys/stat.h>

namespace talo::service
{

namespace
{

using scan::Verdict;
using scan::VerdictKind;
using scan::WorkerPool;

// The standard test file of the anti-malware industry, put together here so that no scanner takes
// this program for it.
std::string testFile()
{
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") +
           "ANTIVIRUS-TEST-FILE!$H+H*";
}

constexpr char kHarmless[] = "Nothing is wrong with this text.\n";

Verdict judge(WorkerPool &pool, const std::string &content)
{
    constexpr std::chrono::seconds kPatience{60};
    const files::UniqueFd file(memfd_create("sample", MFD_CLOEXEC));
    if (!file ||
        write(file.get(), content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        return {VerdictKind::Error, "no sample can be made"};
    const auto session = pool.open();
    session->submit(1, file.get(), content.size(), scan::ScanOptions());
    const auto result = session->next(kPatience);
    session->cancel();
    return result ? result->verdict : Verdict{VerdictKind::Error, "no answer came"};
}

// The official databases know the test file; the administrator's own need not.
bool knowsTestFile(const std::string &set)
{
    const auto files = update::plainFiles(set);
    return std::any_of(files.begin(), files.end(), [](const std::string &file) {
        return update::isOfficial(file) && update::nameOf(file) == "main";
    });
}

std::string faultOf(WorkerPool &pool, const std::string &set, scan::Priority priority)
{
    std::string failure = pool.load(priority);
    if (!failure.empty())
        return failure;
    if (pool.signatures().count == 0)
        return "there is no signature in them";
    const Verdict harmless = judge(pool, kHarmless);
    if (harmless.kind == VerdictKind::Threat)
        return "they take a harmless text for " + harmless.detail;
    if (harmless.kind != VerdictKind::Clean)
        return "nothing can be scanned with them: " + harmless.detail;
    if (knowsTestFile(set) && judge(pool, testFile()).kind != VerdictKind::Threat)
        return "they do not detect the standard test file";
    return std::string();
}

} // namespace

class JobVerdicts : public scan::VerdictSource
{
public:
    JobVerdicts(std::shared_ptr<JobWorkers> workers, scan::Priority priority)
        : workers_(std::move(workers)), priority_(priority)
    {
    }
    std::string load() override { return workers_->load(priority_); }
    std::unique_ptr<WorkerPool::Session> open() override
    {
        return workers_->now().pool->open(priority_);
    }
    std::vector<std::unique_ptr<scan::VerdictLink>> links(scan::ScanOptions options) override
    {
        std::vector<std::unique_ptr<scan::VerdictLink>> links;
        links.push_back(
            std::make_unique<scan::CleanLink>(workers_->now().pool->cleanFiles(), options));
        return links;
    }

private:
    std::shared_ptr<JobWorkers> workers_;
    const scan::Priority priority_;
};

JobWorkers::JobWorkers(SetWorkers workers, Instead instead)
    : workers_(std::move(workers)), instead_(std::move(instead))
{
}

SetWorkers JobWorkers::now() const
{
    const std::lock_guard lock(mutex_);
    return workers_;
}

std::string JobWorkers::describe() const
{
    const std::lock_guard lock(mutex_);
    const unsigned loaded = workers_.pool ? workers_.pool->signatures().count : 0;
    return service::describe(workers_.set, loaded != 0 ? loaded : count_);
}

std::string JobWorkers::load(scan::Priority priority)
{
    SetWorkers workers = now();
    std::string failure = workers.pool->load(priority);
    if (!failure.empty()) {
        SetWorkers other = instead_(workers, failure);
        if (other.pool == nullptr)
            return failure;
        workers = std::move(other);
        failure = workers.pool->load(priority);
    }
    const std::lock_guard lock(mutex_);
    count_ = workers.pool->signatures().count;
    // A scan that was stopped meanwhile has ended before this, and nobody would let go again.
    if (workers_.pool != nullptr)
        workers_ = workers;
    return failure;
}

std::unique_ptr<scan::VerdictSource> JobWorkers::source(std::shared_ptr<JobWorkers> workers,
                                                        scan::Priority priority)
{
    return std::make_unique<JobVerdicts>(std::move(workers), priority);
}

void JobWorkers::letGo()
{
    std::shared_ptr<WorkerPool> last; // ended without the lock
    const std::lock_guard lock(mutex_);
    last.swap(workers_.pool);
}

SignaturePools::SignaturePools(scan::PoolConfig config, InUse inUse, FallBack fallBack)
    : config_(std::move(config)), inUse_(std::move(inUse)), fallBack_(std::move(fallBack))
{
}

std::shared_ptr<WorkerPool> SignaturePools::make(const std::string &folder) const
{
    scan::PoolConfig config = config_;
    config.signatureFolder = folder;
    return std::make_shared<WorkerPool>(config);
}

// Others also where the same folder has got new content since it was loaded. The mutex is held.
SetWorkers SignaturePools::use(const SignatureSet &set)
{
    if (now_.pool == nullptr || set != now_.set) {
        now_ = {set, make(set.folder)};
        held_.push_back({set.folder, now_.pool});
    }
    return now_;
}

std::shared_ptr<JobWorkers> SignaturePools::forJob()
{
    const SignatureSet set = inUse_();
    SetWorkers before; // ended without the lock
    const std::lock_guard lock(mutex_);
    before = now_;
    return std::make_shared<JobWorkers>(
        use(set),
        [this](const SetWorkers &bad, const std::string &reason) { return instead(bad, reason); });
}

unsigned SignaturePools::signatures() const
{
    const std::lock_guard lock(mutex_);
    return now_.pool ? now_.pool->signatures().count : 0;
}

SetWorkers SignaturePools::instead(const SetWorkers &bad, const std::string &reason)
{
    {
        const std::lock_guard lock(mutex_);
        if (bad.pool != now_.pool)
            return now_; // there are others since
    }
    if (!fallBack_(bad.set, reason))
        return {};
    const SignatureSet set = inUse_();
    SetWorkers before;
    const std::lock_guard lock(mutex_);
    before = now_;
    return use(set);
}

std::string SignaturePools::tryOut(const std::string &set, scan::Priority priority)
{
    auto pool = make(set);
    std::string failure = faultOf(*pool, set, priority);
    if (!failure.empty())
        return failure;
    const std::lock_guard lock(mutex_);
    held_.push_back({set, pool});
    trial_.set.folder = set;
    trial_.pool = std::move(pool);
    return failure;
}

void SignaturePools::adopt()
{
    const SignatureSet set = inUse_();
    SetWorkers before;
    const std::lock_guard lock(mutex_);
    if (trial_.pool == nullptr || set.folder != trial_.set.folder)
        return;
    before = std::move(now_);
    now_ = {set, std::move(trial_.pool)};
    trial_ = {};
}

void SignaturePools::forgetTrial()
{
    SetWorkers trial;
    const std::lock_guard lock(mutex_);
    std::swap(trial, trial_);
}

bool SignaturePools::uses(const std::string &set) const
{
    const std::lock_guard lock(mutex_);
    held_.erase(std::remove_if(held_.begin(), held_.end(),
                               [](const Held &held) { return held.pool.expired(); }),
                held_.end());
    return std::any_of(held_.begin(), held_.end(),
                       [&set](const Held &held) { return held.folder == set; });
}

} // namespace talo::service
