// The part of a crew that hands out files and watches the time they take.
#include "poolcrew.h"

#include <algorithm>
#include <chrono>

namespace talo::scan
{

namespace
{

using namespace std::chrono_literals;

constexpr std::size_t kFilesAhead = 4;
constexpr std::uint64_t kBytesAhead = 1u << 20;
// The time that grows with a file's size.
constexpr std::uint64_t kBytesPerSecond = 4u << 20;
constexpr auto kStartTime = 30s;
// So many times as long a file of the background may take, as others come before it.
constexpr int kBackgroundPatience = 10;
// How long a worker may stay with a file that nobody waits for any more.
constexpr auto kGrace = 400ms;

} // namespace

Priority PoolCrew::priorityOf(std::size_t slot) const
{
    return slot < workers_.size() / kPriorities ? Priority::Normal : Priority::Background;
}

// Those of the background are started only when there is something for them to do.
bool PoolCrew::wanted(std::size_t slot) const
{
    return priorityOf(slot) == Priority::Normal || queue_.waits(Priority::Background);
}

void PoolCrew::feed(TimePoint now)
{
    if (phase_ != Phase::Serving)
        return;
    for (std::uint32_t slot = 0; slot < workers_.size() && phase_ == Phase::Serving; ++slot) {
        Worker &worker = workers_[slot];
        if (worker.state == State::Absent && worker.notBefore <= now && wanted(slot))
            startWorker(slot, now);
        else if (worker.state == State::Ready && !worker.leaving)
            giveFiles(slot, now);
    }
}

void PoolCrew::startWorker(std::uint32_t slot, TimePoint now)
{
    Worker &worker = workers_[slot];
    worker.doom.clear();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        worker.notBefore = now + 1s; // out of descriptors: it passes
        return;
    }
    worker.socket.reset(ends[0]);
    const files::UniqueFd theirs(ends[1]);
    protocol::Fork fork;
    fork.slot = slot;
    fork.generation = ++worker.generation;
    fork.background = priorityOf(slot) == Priority::Background ? 1 : 0;
    if (!protocol::send(server_->control(), fork, MSG_DONTWAIT, theirs.get())) {
        worker.socket.reset();
        worker.notBefore = now + 100ms; // the server is busy, or ending, which its socket tells
        return;
    }
    worker.state = State::Starting;
    worker.confined = false;
    worker.confirmBy = now + kStartTime;
}

void PoolCrew::giveFiles(std::uint32_t slot, TimePoint now)
{
    Worker &worker = workers_[slot];
    const auto send = [&](const Task &task) {
        protocol::Scan scan;
        scan.id = lastId_ + 1;
        scan.size = task.size;
        scan.options = (task.options.archives ? protocol::kLookIntoArchives : 0) |
                       (task.options.packed ? protocol::kUnpackExecutables : 0);
        if (!protocol::send(worker.socket.get(), scan, MSG_DONTWAIT, task.fd))
            return false;
        if (worker.given.empty())
            worker.frontSince = now;
        worker.given.push_back({task, ++lastId_});
        worker.givenSize += task.size;
        return true;
    };
    // Some files ahead keep a worker from idling between two; behind a large one they would only
    // wait longer than with another worker.
    for (;;) {
        const std::uint64_t allowance = worker.given.empty()
                                            ? ~std::uint64_t{0}
                                            : kBytesAhead - std::min(worker.givenSize, kBytesAhead);
        if (worker.given.size() >= kFilesAhead || allowance == 0 ||
            !queue_.hand(slot, allowance, send))
            return;
    }
}

TimePoint PoolCrew::fileDeadline(const Worker &worker, std::string &doom) const
{
    const Task &task = worker.given.front().task;
    TimePoint cancelled;
    if (queue_.isVoid(task, cancelled))
        return std::max(cancelled, worker.frontSince) + kGrace;
    auto allowed =
        config_.fileTime + std::chrono::seconds(static_cast<long>(task.size / kBytesPerSecond));
    if (task.session->priority == Priority::Background)
        allowed *= kBackgroundPatience;
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(allowed).count();
    doom = "took longer than " + std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
    return worker.frontSince + allowed;
}

void PoolCrew::enforceDeadlines(TimePoint now)
{
    if (phase_ == Phase::Loading && phaseDeadline_ <= now)
        fail("the signatures did not load within " + std::to_string(loadTime_.count()) +
             " minutes");
    if (phase_ == Phase::Ending && phaseDeadline_ <= now)
        lose();
    for (std::uint32_t slot = 0; slot < workers_.size(); ++slot) {
        Worker &worker = workers_[slot];
        std::string doom;
        if (worker.state == State::Ready && !worker.leaving && !worker.given.empty() &&
            fileDeadline(worker, doom) <= now)
            dismiss(slot, doom.empty() ? "nobody waits for it any more" : doom);
        else if ((worker.state == State::Starting ||
                  (worker.state == State::Ready && worker.leaving)) &&
                 worker.confirmBy <= now)
            dismiss(slot, {});
        else if (worker.state == State::Gone && worker.confirmBy <= now) {
            lose(); // a server that does not end its workers is of no use
            return;
        }
    }
}

TimePoint PoolCrew::nextDeadline() const
{
    TimePoint next = TimePoint::max();
    if (phase_ == Phase::Loading || phase_ == Phase::Ending)
        next = phaseDeadline_;
    for (const Worker &worker : workers_) {
        std::string ignored;
        if (worker.state == State::Gone || worker.state == State::Starting || worker.leaving)
            next = std::min(next, worker.confirmBy);
        else if (worker.state == State::Ready && !worker.given.empty())
            next = std::min(next, fileDeadline(worker, ignored));
    }
    return next;
}

TimePoint PoolCrew::nextStart() const
{
    TimePoint next = TimePoint::max();
    for (std::size_t slot = 0; slot < workers_.size(); ++slot)
        if (workers_[slot].state == State::Absent && phase_ == Phase::Serving && wanted(slot))
            next = std::min(next, workers_[slot].notBefore);
    return next;
}

} // namespace talo::scan
