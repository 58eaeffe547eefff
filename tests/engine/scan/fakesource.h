// Stands in for the worker pool: judges a file by what is written in it.
#pragma once

#include "scan/job.h"
#include "scan/verdictchain.h"

#include <condition_variable>
#include <deque>
#include <limits>
#include <mutex>
#include <string>
#include <unistd.h>

namespace talo::test
{

// "THREAT name", "SKIP reason" and "FAIL reason"; "LOST" gets no answer; all else is clean.
class FakeSource : public scan::VerdictSource
{
public:
    // What a test holds on to while the job owns the source.
    class Control
    {
    public:
        std::string loadFailure;
        std::size_t room = 8;

        // Answers are held back until so many more are let through.
        void hold() { setAllowed(0); }
        void release() { setAllowed(std::numeric_limits<std::size_t>::max()); }
        void holdLoading(bool held)
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            loadHeld_ = held;
            changed_.notify_all();
        }
        std::size_t submitted() const
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            return submitted_;
        }
        bool cancelled() const
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            return cancelled_;
        }
        bool waitForSubmitted(std::size_t count)
        {
            std::unique_lock<std::mutex> lock(mutex_);
            return changed_.wait_for(lock, std::chrono::seconds(20),
                                     [&] { return submitted_ >= count; });
        }

        // Until the job has nothing to do but to wait for an answer.
        bool waitUntilAwaited()
        {
            std::unique_lock<std::mutex> lock(mutex_);
            return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return awaited_; });
        }

    private:
        friend class FakeSource;
        void setAllowed(std::size_t allowed)
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            allowed_ = allowed;
            changed_.notify_all();
        }

        mutable std::mutex mutex_;
        std::condition_variable changed_;
        std::size_t allowed_ = std::numeric_limits<std::size_t>::max();
        std::size_t submitted_ = 0;
        bool awaited_ = false;
        bool loadHeld_ = false;
        bool cancelled_ = false;
    };

    explicit FakeSource(std::shared_ptr<Control> control) : control_(std::move(control)) {}

    std::string load() override
    {
        std::unique_lock<std::mutex> lock(control_->mutex_);
        control_->changed_.wait(lock, [this] { return !control_->loadHeld_; });
        return control_->loadFailure;
    }
    std::unique_ptr<scan::WorkerPool::Session> open() override
    {
        return std::make_unique<FakeSession>(control_);
    }
    std::vector<std::unique_ptr<scan::VerdictLink>> links(scan::ScanOptions) override { return {}; }

private:
    class FakeSession : public scan::WorkerPool::Session
    {
    public:
        explicit FakeSession(std::shared_ptr<Control> control) : control_(std::move(control)) {}

        bool hasRoom() const override { return queue_.size() < control_->room; }
        std::size_t pending() const override { return queue_.size(); }
        void submit(std::uint64_t cookie, int fd, std::uint64_t, scan::ScanOptions) override
        {
            char text[256] = {};
            const ssize_t size = pread(fd, text, sizeof text, 0);
            scan::Verdict verdict = judge({text, size > 0 ? static_cast<std::size_t>(size) : 0});
            if (verdict.detail != kLost)
                queue_.push_back({cookie, std::move(verdict)});
            const std::lock_guard<std::mutex> lock(control_->mutex_);
            ++control_->submitted_;
            control_->changed_.notify_all();
        }
        std::optional<Result> next(std::chrono::milliseconds wait) override
        {
            std::unique_lock<std::mutex> lock(control_->mutex_);
            if (wait.count() > 0) {
                control_->awaited_ = true;
                control_->changed_.notify_all();
            }
            const bool allowed =
                control_->changed_.wait_for(lock, wait, [this] { return control_->allowed_ > 0; });
            if (!allowed || queue_.empty())
                return std::nullopt;
            // The last first: answers come in any order.
            Result result = std::move(queue_.back());
            queue_.pop_back();
            return result;
        }
        void cancel() override
        {
            queue_.clear();
            const std::lock_guard<std::mutex> lock(control_->mutex_);
            control_->cancelled_ = true;
        }

    private:
        static constexpr char kLost[] = "(lost)";

        static scan::Verdict judge(const std::string &text)
        {
            if (text.rfind("THREAT ", 0) == 0)
                return {scan::VerdictKind::Threat, text.substr(7)};
            if (text.rfind("SKIP ", 0) == 0)
                return {scan::VerdictKind::Skipped, text.substr(5)};
            if (text.rfind("FAIL ", 0) == 0)
                return {scan::VerdictKind::Error, text.substr(5)};
            return {scan::VerdictKind::Clean, text == "LOST" ? kLost : ""};
        }

        std::shared_ptr<Control> control_;
        std::deque<Result> queue_;
    };

    std::shared_ptr<Control> control_;
};

} // namespace talo::test
