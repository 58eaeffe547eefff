// The constructor that the product uses stands alone here, so that what links a job without the
// worker pool needs nothing of the pool.
#include "scan/cleanlink.h"
#include "scan/job.h"

namespace talo::scan
{

namespace
{

class PoolSource : public VerdictSource
{
public:
    PoolSource(WorkerPool &pool, Priority priority) : pool_(pool), priority_(priority) {}
    std::string load() override { return pool_.load(priority_); }
    std::unique_ptr<WorkerPool::Session> open() override { return pool_.open(priority_); }
    std::vector<std::unique_ptr<VerdictLink>> links(ScanOptions options) override
    {
        std::vector<std::unique_ptr<VerdictLink>> links;
        links.push_back(std::make_unique<CleanLink>(pool_.cleanFiles(), options));
        return links;
    }

private:
    WorkerPool &pool_;
    const Priority priority_;
};

} // namespace

Job::Job(ScanKind kind, std::vector<std::string> roots, ScanSettings settings, WorkerPool &pool,
         Quarantine &quarantine, std::unique_ptr<JobRecorder> recorder)
    : Job(kind, std::move(roots), settings, std::make_unique<PoolSource>(pool, settings.priority),
          quarantine, std::move(recorder))
{
}

} // namespace talo::scan
