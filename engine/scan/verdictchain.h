// How a verdict comes about: a chain of ways to judge a file, the cheapest first, the worker pool
// last.
#pragma once

#include "scan/verdict.h"
#include "scan/workerpool.h"

#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unordered_map>
#include <vector>

namespace talo::scan
{

// A file to be judged. Its descriptor and status stay the caller's until the verdict has come.
struct Candidate {
    int fd = -1;
    const struct stat *status = nullptr;
};

// A way to judge a file at once that is cheaper than scanning it.
class VerdictLink
{
public:
    virtual ~VerdictLink() = default;
    // A verdict, or nothing: then the next in the chain is asked.
    virtual std::optional<Verdict> judge(const Candidate &file) = 0;
    // What the worker pool said of a file that this one could not judge.
    virtual void learn(const Candidate &file, const Verdict &verdict) = 0;
};

class VerdictChain
{
public:
    VerdictChain(std::vector<std::unique_ptr<VerdictLink>> links,
                 std::unique_ptr<WorkerPool::Session> last, ScanOptions options);

    bool hasRoom() const { return last_->hasRoom(); }
    std::size_t pending() const { return last_->pending(); }
    void cancel();

    // A verdict at once, or nothing: then next() brings it under this cookie.
    std::optional<Verdict> submit(std::uint64_t cookie, const Candidate &file);
    std::optional<WorkerPool::Session::Result> next(std::chrono::milliseconds wait);

private:
    std::vector<std::unique_ptr<VerdictLink>> links_;
    std::unique_ptr<WorkerPool::Session> last_;
    ScanOptions options_;
    std::unordered_map<std::uint64_t, Candidate> waiting_;
};

} // namespace talo::scan
