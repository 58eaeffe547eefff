#include "files/duplicates/crew.h"

#include <csignal>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace talo::files
{

namespace
{

constexpr std::chrono::milliseconds kBetweenPaths{100};

// The program's signal handlers are meant for its own threads.
class SignalsHeldBack
{
public:
    SignalsHeldBack()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeldBack(const SignalsHeldBack &) = delete;
    SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

private:
    sigset_t before_ = {};
};

} // namespace

Crew::Crew(PathProgress progress)
    : progress_(std::move(progress)), wanted_(static_cast<bool>(progress_))
{
}

void Crew::run(unsigned threads, const std::function<void()> &work)
{
    std::vector<std::thread> members;
    members.reserve(threads);
    {
        const SignalsHeldBack heldBack;
        while (members.size() < threads) {
            {
                const std::lock_guard lock(mutex_);
                ++working_;
            }
            try {
                members.emplace_back([this, &work] { workAndLeave(work); });
            } catch (const std::system_error &) { // the system gives no more
                const std::lock_guard lock(mutex_);
                --working_;
                break;
            }
        }
    }
    if (members.empty()) {
        work();
        return;
    }
    showPathsUntilAllLeft();
    for (std::thread &member : members)
        member.join();
    if (failure_)
        std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Crew::workAndLeave(const std::function<void()> &work)
{
    std::exception_ptr failure;
    try {
        work();
    } catch (...) {
        failure = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    --working_;
    if (failure)
        failure_ = failure;
    changed_.notify_one();
}

void Crew::tell(std::string path)
{
    if (!wanted_.exchange(false, std::memory_order_relaxed))
        return; // another one was quicker
    const std::lock_guard lock(mutex_);
    path_ = std::move(path);
    told_ = true;
    changed_.notify_one();
}

void Crew::showPathsUntilAllLeft()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        if (told_) {
            told_ = false;
            const std::string path = std::move(path_);
            lock.unlock();
            progress_(path);
            lock.lock();
            next_ = Clock::now() + kBetweenPaths;
        }
        if (working_ == 0)
            return;
        if (progress_ && !wanted_ && !told_) {
            changed_.wait_until(lock, next_, [this] { return working_ == 0; });
            if (working_ != 0)
                wanted_ = true;
        } else {
            changed_.wait(lock, [this] { return working_ == 0 || told_; });
        }
    }
}

} // namespace talo::files
