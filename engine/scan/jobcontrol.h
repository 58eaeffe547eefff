// What a job has been asked to do, and how long it has run.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace talo::scan
{

class JobControl
{
public:
    enum class State { Running, Paused, Stopped, Ended };

    void start();
    void pause();
    void resume();
    void stop(); // for good
    void end();  // the job is over; whoever waits goes on

    State state() const;
    // Until it is no longer paused; whether it goes on.
    bool waitWhilePaused();
    std::chrono::milliseconds elapsed() const; // without pauses

private:
    using Clock = std::chrono::steady_clock;
    void setState(State state);
    void setTicking(bool ticking);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::Running;
    bool started_ = false;
    bool ticking_ = false;
    Clock::time_point since_;
    Clock::duration before_{0}; // until the clock last stood still
};

} // namespace talo::scan
