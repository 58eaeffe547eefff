#include "workerpool.h"

#include "scan/cleanfiles.h"
#include "scan/pooldispatcher.h"
#include "scan/poolqueue.h"
#include "scan/workerprotocol.h"

#include <algorithm>
#include <climits>
#include <sys/stat.h>
#include <thread>

namespace talo::scan
{

namespace
{

// libclamav calls any file from here on clean without a look.
constexpr std::uint64_t kLibraryLimit = INT_MAX;

PoolConfig sane(PoolConfig config)
{
    config.maxFileSize = std::clamp<std::uint64_t>(config.maxFileSize, 1, kLibraryLimit - 1);
    return config;
}

unsigned workerCount(const PoolConfig &config)
{
    const unsigned wanted =
        config.workers != 0 ? config.workers : std::thread::hardware_concurrency();
    return std::clamp(wanted, 1u, protocol::kMaxSlots / kPriorities);
}

std::string readable(std::uint64_t bytes)
{
    static constexpr struct {
        unsigned shift;
        const char *unit;
    } kUnits[] = {{30, " GiB"}, {20, " MiB"}, {10, " KiB"}};
    for (const auto &unit : kUnits)
        if (bytes >> unit.shift != 0 && (bytes & ((1ull << unit.shift) - 1)) == 0)
            return std::to_string(bytes >> unit.shift) + unit.unit;
    return std::to_string(bytes) + " bytes";
}

class QueuedSession final : public WorkerPool::Session
{
public:
    QueuedSession(std::shared_ptr<PoolQueue> queue, Priority priority, std::uint64_t maxFileSize)
        : queue_(std::move(queue)), session_(queue_->open(priority)), maxFileSize_(maxFileSize)
    {
    }
    ~QueuedSession() override { queue_->close(session_); }

    bool hasRoom() const override { return queue_->hasRoom(*session_); }
    std::size_t pending() const override { return queue_->pending(*session_); }
    void cancel() override { queue_->cancel(*session_); }
    std::optional<Result> next(std::chrono::milliseconds wait) override
    {
        return queue_->next(*session_, wait);
    }

    void submit(std::uint64_t cookie, int fd, std::uint64_t size, ScanOptions options) override
    {
        Task task;
        task.session = session_;
        task.cookie = cookie;
        task.fd = fd;
        task.size = size;
        task.options = options;
        if (size > maxFileSize_) {
            queue_->answer(std::move(task),
                           {VerdictKind::Skipped, "larger than " + readable(maxFileSize_)});
            return;
        }
        struct stat status {
        };
        if (fstat(fd, &status) == 0)
            task.home = static_cast<std::size_t>(status.st_ino ^ status.st_dev);
        queue_->submit(std::move(task));
    }

private:
    std::shared_ptr<PoolQueue> queue_;
    std::shared_ptr<SessionQueue> session_;
    const std::uint64_t maxFileSize_;
};

} // namespace

// The queue outlives the pool as long as a session does.
class WorkerPool::Impl
{
public:
    explicit Impl(const PoolConfig &config)
        : maxFileSize(config.maxFileSize)
        , queue(std::make_shared<PoolQueue>(workerCount(config)))
        , dispatcher(std::make_unique<PoolDispatcher>(config, workerCount(config), *queue))
    {
    }
    ~Impl() { queue->shutDown(); }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    const std::uint64_t maxFileSize;
    const std::shared_ptr<PoolQueue> queue;
    CleanFiles cleanFiles;

private:
    const std::unique_ptr<PoolDispatcher> dispatcher;
};

WorkerPool::WorkerPool(PoolConfig config) : impl_(std::make_unique<Impl>(sane(std::move(config))))
{
}

WorkerPool::~WorkerPool() = default;

std::unique_ptr<WorkerPool::Session> WorkerPool::open(Priority priority)
{
    return std::make_unique<QueuedSession>(impl_->queue, priority, impl_->maxFileSize);
}

std::string WorkerPool::load(Priority priority)
{
    return impl_->queue->load(priority);
}

WorkerPool::Signatures WorkerPool::signatures() const
{
    return impl_->queue->signatures();
}

CleanFiles &WorkerPool::cleanFiles()
{
    return impl_->cleanFiles;
}

} // namespace talo::scan
