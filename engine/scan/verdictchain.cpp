#include "scan/verdictchain.h"

namespace talo::scan
{

VerdictChain::VerdictChain(std::vector<std::unique_ptr<VerdictLink>> links,
                           std::unique_ptr<WorkerPool::Session> last, ScanOptions options)
    : links_(std::move(links)), last_(std::move(last)), options_(options)
{
}

std::optional<Verdict> VerdictChain::submit(std::uint64_t cookie, const Candidate &file)
{
    for (const auto &link : links_) {
        if (auto verdict = link->judge(file))
            return verdict;
    }
    waiting_.emplace(cookie, file);
    last_->submit(cookie, file.fd, static_cast<std::uint64_t>(file.status->st_size), options_);
    return std::nullopt;
}

std::optional<WorkerPool::Session::Result> VerdictChain::next(std::chrono::milliseconds wait)
{
    auto result = last_->next(wait);
    if (!result)
        return result;
    const auto found = waiting_.find(result->cookie);
    if (found == waiting_.end())
        return std::nullopt; // nobody asked
    for (const auto &link : links_)
        link->learn(found->second, result->verdict);
    waiting_.erase(found);
    return result;
}

void VerdictChain::cancel()
{
    last_->cancel();
    waiting_.clear();
}

} // namespace talo::scan
