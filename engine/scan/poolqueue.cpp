#include "poolqueue.h"

#include <algorithm>
#include <sys/eventfd.h>
#include <unistd.h>

namespace talo::scan
{

namespace
{

constexpr const char *kPoolEnded = "the scan engine was ended";

// Deep enough that a worker finds a file of its own among them, and no deeper: each holds a
// descriptor of the job's.
std::size_t roomFor(unsigned workers)
{
    return std::clamp<std::size_t>(workers * 16ul, 32, 256);
}

} // namespace

PoolQueue::PoolQueue(unsigned workers)
    : workers_(workers), room_(roomFor(workers)), wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

std::shared_ptr<SessionQueue> PoolQueue::open(Priority priority)
{
    auto session = std::make_shared<SessionQueue>();
    session->priority = priority;
    const std::lock_guard lock(mutex_);
    sessions_.push_back(session);
    return session;
}

void PoolQueue::close(const std::shared_ptr<SessionQueue> &session)
{
    cancel(*session);
    const std::lock_guard lock(mutex_);
    sessions_.erase(std::remove(sessions_.begin(), sessions_.end(), session), sessions_.end());
}

bool PoolQueue::hasRoom(const SessionQueue &session) const
{
    const std::lock_guard lock(mutex_);
    return session.waiting.size() < room_;
}

void PoolQueue::submit(Task task)
{
    const std::lock_guard lock(mutex_);
    SessionQueue &session = *task.session;
    task.epoch = session.epoch;
    ++session.pending;
    if (ended_) {
        deliver(task, {VerdictKind::Error, kPoolEnded});
        return;
    }
    session.waiting.push_back(std::move(task));
    if (hungry(session.priority))
        wake();
}

void PoolQueue::answer(Task task, Verdict verdict)
{
    const std::lock_guard lock(mutex_);
    task.epoch = task.session->epoch;
    ++task.session->pending;
    deliver(task, std::move(verdict));
}

std::optional<WorkerPool::Session::Result> PoolQueue::next(SessionQueue &session,
                                                           std::chrono::milliseconds wait)
{
    std::unique_lock lock(mutex_);
    if (!session.arrived.wait_for(lock, wait, [&session] { return !session.results.empty(); }))
        return std::nullopt;
    auto result = std::move(session.results.front());
    session.results.pop_front();
    --session.pending;
    return result;
}

std::size_t PoolQueue::pending(const SessionQueue &session) const
{
    const std::lock_guard lock(mutex_);
    return session.pending;
}

void PoolQueue::cancel(SessionQueue &session)
{
    const std::lock_guard lock(mutex_);
    ++session.epoch;
    session.cancelledAt = Clock::now();
    session.waiting.clear();
    session.results.clear();
    session.pending = 0;
    wake();
}

std::string PoolQueue::load(Priority priority)
{
    std::unique_lock lock(mutex_);
    loadWanted_ = true;
    if (priority == Priority::Normal)
        loadPriority_ = priority;
    wake();
    loadChanged_.wait(lock, [this] { return ended_ || !loadWanted_; });
    if (ended_)
        return kPoolEnded;
    return loadAnswer_;
}

WorkerPool::Signatures PoolQueue::signatures() const
{
    const std::lock_guard lock(mutex_);
    if (state_ != LoadState::Loaded)
        return {};
    return {true, signatures_};
}

void PoolQueue::shutDown()
{
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (const auto &session : sessions_) {
        while (!session->waiting.empty()) {
            deliver(session->waiting.front(), {VerdictKind::Error, kPoolEnded});
            session->waiting.pop_front();
        }
    }
    loadChanged_.notify_all();
    wake();
}

PoolQueue::Wishes PoolQueue::wishes()
{
    const std::lock_guard lock(mutex_);
    std::uint64_t ignored = 0;
    // Only the pool's thread reads it; that nothing was there is no fault.
    [[maybe_unused]] const ssize_t count = read(wakeUp_.get(), &ignored, sizeof ignored);
    Wishes wishes;
    wishes.end = ended_;
    wishes.load = loadWanted_;
    if (loadWanted_)
        wishes.priority = loadPriority_;
    for (const Priority priority : {Priority::Normal, Priority::Background}) {
        const bool any = anyWaits(priority);
        hungry(priority) = !any;
        wishes.waiting = wishes.waiting || any;
        if (any && priority == Priority::Normal)
            wishes.priority = priority;
    }
    return wishes;
}

bool PoolQueue::waits(Priority priority) const
{
    const std::lock_guard lock(mutex_);
    return anyWaits(priority);
}

bool PoolQueue::anyWaits(Priority priority) const
{
    return std::any_of(sessions_.begin(), sessions_.end(), [priority](const auto &session) {
        return session->priority == priority && !session->waiting.empty();
    });
}

void PoolQueue::publish(LoadState state, unsigned signatures, const std::string &failure)
{
    const std::lock_guard lock(mutex_);
    state_ = state;
    signatures_ = signatures;
    if (state == LoadState::Loaded || state == LoadState::Failed) {
        loadWanted_ = false;
        loadPriority_ = Priority::Background;
        loadAnswer_ = failure;
        loadChanged_.notify_all();
    }
}

void PoolQueue::finish(Task &task, Verdict verdict)
{
    const std::lock_guard lock(mutex_);
    deliver(task, std::move(verdict));
}

void PoolQueue::giveBack(Task task)
{
    const std::lock_guard lock(mutex_);
    if (task.epoch != task.session->epoch)
        return;
    if (ended_) {
        deliver(task, {VerdictKind::Error, kPoolEnded});
        return;
    }
    SessionQueue &session = *task.session;
    session.waiting.push_front(std::move(task));
}

void PoolQueue::failWaiting(const std::string &reason)
{
    const std::lock_guard lock(mutex_);
    hungry_ = {true, true};
    for (const auto &session : sessions_) {
        while (!session->waiting.empty()) {
            deliver(session->waiting.front(), {VerdictKind::Error, reason});
            session->waiting.pop_front();
        }
    }
}

bool PoolQueue::isVoid(const Task &task, TimePoint &since) const
{
    const std::lock_guard lock(mutex_);
    since = task.session->cancelledAt;
    return task.epoch != task.session->epoch;
}

// The sessions take turns. Within one, a file goes to the worker that is likely to have seen it in
// an earlier scan, for libclamav remembers what it found clean; but no worker waits for that.
std::optional<std::size_t> PoolQueue::pick(unsigned worker, std::uint64_t allowance,
                                           SessionQueue *&session)
{
    const Priority priority = worker < workers_ ? Priority::Normal : Priority::Background;
    bool tooLarge = false;
    for (std::size_t tried = 0; tried < sessions_.size(); ++tried) {
        turn_ = (turn_ + 1) % sessions_.size();
        const auto &waiting = sessions_[turn_]->waiting;
        if (waiting.empty() || sessions_[turn_]->priority != priority)
            continue;
        const auto own = std::find_if(waiting.begin(), waiting.end(), [&](const Task &task) {
            return task.home % workers_ == worker % workers_;
        });
        const auto chosen = own == waiting.end() ? waiting.begin() : own;
        if (chosen->size > allowance) {
            tooLarge = true;
            continue;
        }
        session = sessions_[turn_].get();
        hungry(priority) = false;
        return static_cast<std::size_t>(chosen - waiting.begin());
    }
    hungry(priority) = !tooLarge; // what is too large now goes to this worker when it has answered
    return std::nullopt;
}

void PoolQueue::deliver(Task &task, Verdict verdict)
{
    SessionQueue &session = *task.session;
    if (task.epoch != session.epoch)
        return;
    session.results.push_back({task.cookie, std::move(verdict)});
    session.arrived.notify_one();
}

void PoolQueue::wake()
{
    hungry_ = {false, false};
    const std::uint64_t one = 1;
    // It can only fail when it is awake already.
    [[maybe_unused]] const ssize_t count = write(wakeUp_.get(), &one, sizeof one);
}

} // namespace talo::scan
