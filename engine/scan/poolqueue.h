// What the jobs' threads and the pool's own thread share: the files that wait and the verdicts.
#pragma once

#include "files/uniquefd.h"
#include "scan/workerpool.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace talo::scan
{

// Workers are numbered through, first those of normal priority, then as many of the background.
constexpr unsigned kPriorities = 2;

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

// The pool's side of a session. Guarded by the queue's mutex.
struct SessionQueue;

struct Task {
    std::shared_ptr<SessionQueue> session;
    std::uint64_t epoch = 0; // the session's when it was submitted
    std::uint64_t cookie = 0;
    int fd = -1; // the job's
    std::uint64_t size = 0;
    ScanOptions options;
    std::size_t home = 0;    // prefers the worker whose number this is, modulo their count
    unsigned interrupts = 0; // how often a server's end has interrupted it
};

struct SessionQueue {
    Priority priority = Priority::Normal; // never changes
    std::deque<Task> waiting;
    std::deque<WorkerPool::Session::Result> results;
    std::condition_variable arrived;
    std::size_t pending = 0;
    std::uint64_t epoch = 0; // advanced by cancel(): older tasks are void
    TimePoint cancelledAt;
};

enum class LoadState { Unloaded, Loading, Loaded, Failed };

class PoolQueue
{
public:
    explicit PoolQueue(unsigned workers);

    // For the jobs.
    std::shared_ptr<SessionQueue> open(Priority priority);
    void close(const std::shared_ptr<SessionQueue> &session);
    bool hasRoom(const SessionQueue &session) const;
    void submit(Task task);
    void answer(Task task, Verdict verdict); // instead of submit(): no worker is needed
    std::optional<WorkerPool::Session::Result> next(SessionQueue &session,
                                                    std::chrono::milliseconds wait);
    std::size_t pending(const SessionQueue &session) const;
    void cancel(SessionQueue &session);
    std::string load(Priority priority);
    WorkerPool::Signatures signatures() const;
    void shutDown();

    // For the pool's thread.
    struct Wishes {
        bool end = false;
        bool load = false;
        bool waiting = false;
        Priority priority = Priority::Background; // the highest of those who want any of it
    };
    Wishes wishes();
    int wakeUp() const { return wakeUp_.get(); }
    bool waits(Priority priority) const; // whether a file of this priority does
    void publish(LoadState state, unsigned signatures, const std::string &failure);
    void finish(Task &task, Verdict verdict);
    // Puts back what another worker shall take, in front.
    void giveBack(Task task);
    // Answers Error to all that wait.
    void failWaiting(const std::string &reason);
    bool isVoid(const Task &task, TimePoint &since) const;
    // Picks a file for a worker and has it sent while nobody can void it: afterwards its descriptor
    // may be another file's. `allowance` is the size of the largest file the worker may be given.
    // False when there is none or it was not sent.
    template <typename Send> bool hand(unsigned worker, std::uint64_t allowance, Send send)
    {
        const std::lock_guard lock(mutex_);
        SessionQueue *session = nullptr;
        const auto position = pick(worker, allowance, session);
        if (!position)
            return false;
        const auto found = session->waiting.begin() + static_cast<std::ptrdiff_t>(*position);
        if (!send(*found))
            return false;
        session->waiting.erase(found);
        return true;
    }

private:
    std::optional<std::size_t> pick(unsigned worker, std::uint64_t allowance,
                                    SessionQueue *&session);
    void deliver(Task &task, Verdict verdict); // mutex held
    bool anyWaits(Priority priority) const;    // mutex held
    bool &hungry(Priority priority) { return hungry_.at(static_cast<std::size_t>(priority)); }
    void wake();

    const unsigned workers_;
    const std::size_t room_;
    files::UniqueFd wakeUp_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<SessionQueue>> sessions_;
    std::size_t turn_ = 0; // whose turn it is
    // By priority: the pool's thread wants to know of the next file.
    std::array<bool, kPriorities> hungry_{true, true};
    bool ended_ = false;
    bool loadWanted_ = false;
    Priority loadPriority_ = Priority::Background; // of who wants it
    std::condition_variable loadChanged_;
    LoadState state_ = LoadState::Unloaded;
    unsigned signatures_ = 0;
    std::string loadAnswer_; // why the last load failed
};

} // namespace talo::scan
