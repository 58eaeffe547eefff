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
    explicit PoolSource(WorkerPool &pool) : pool_(pool) {}
    std::string load() override { return pool_.load(); }
    std::unique_ptr<WorkerPool::Session> open() override { return pool_.open(); }
    std::vector<std::unique_ptr<VerdictLink>> links(ScanOptions options) override
    {
        std::vector<std::unique_ptr<VerdictLink>> links;
        links.push_back(std::make_unique<CleanLink>(pool_.cleanFiles(), options));
        return links;
    }

private:
    WorkerPool &pool_;
};

} // namespace

Job::Job(ScanKind kind, std::vector<std::string> roots, ScanSettings settings, WorkerPool &pool,
         Quarantine &quarantine, std::unique_ptr<JobRecorder> recorder)
    : Job(kind, std::move(roots), std::move(settings), std::make_unique<PoolSource>(pool),
          quarantine, std::move(recorder))
{
}

} // namespace talo::scan
