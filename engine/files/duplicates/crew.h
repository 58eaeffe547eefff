// Threads that do one piece of work together, while the thread that called them tells of it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <string>

namespace talo::files
{

// Is told the path (bytes) of what is being looked at.
using PathProgress = std::function<void(const std::string &path)>;

class Crew
{
public:
    explicit Crew(PathProgress progress);
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    // Runs `work` on so many threads, fewer where no more can be had, and returns when all are
    // done. Rethrows what one of them threw.
    void run(unsigned threads, const std::function<void()> &work);

    // Calls `work` for every number below `count`, in about this order, and gives it what `make`
    // made for its thread.
    template <class Make, class Work>
    void forEachWith(unsigned threads, std::size_t count, Make make, Work work)
    {
        if (count == 0)
            return;
        std::atomic<std::size_t> next{0};
        run(static_cast<unsigned>(std::min<std::size_t>(threads, count)), [&] {
            auto own = make();
            for (std::size_t i = 0; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;)
                work(own, i);
        });
    }
    template <class Work> void forEach(unsigned threads, std::size_t count, Work work)
    {
        forEachWith(
            threads, count, [] { return 0; }, [&](int, std::size_t i) { work(i); });
    }

    // For the work: whether the path of what it does now would be shown. False nearly always, so
    // that no path is put together in vain.
    bool wantsPath() const { return wanted_.load(std::memory_order_relaxed); }
    void tell(std::string path);

private:
    using Clock = std::chrono::steady_clock;

    void workAndLeave(const std::function<void()> &work);
    void showPathsUntilAllLeft();

    PathProgress progress_;
    std::atomic<bool> wanted_;
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned working_ = 0;
    bool told_ = false;
    std::string path_;
    Clock::time_point next_;
    std::exception_ptr failure_;
};

} // namespace talo::files
