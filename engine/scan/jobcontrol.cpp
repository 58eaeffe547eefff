#include "scan/jobcontrol.h"

namespace talo::scan
{

void JobControl::start()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    started_ = true;
    setTicking(state_ != State::Paused);
}

void JobControl::pause()
{
    setState(State::Paused);
}

void JobControl::resume()
{
    setState(State::Running);
}

void JobControl::stop()
{
    setState(State::Stopped);
}

void JobControl::end()
{
    setState(State::Ended);
}

JobControl::State JobControl::state() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return state_;
}

bool JobControl::waitWhilePaused()
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return state_ != State::Paused; });
    return state_ == State::Running;
}

std::chrono::milliseconds JobControl::elapsed() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const Clock::duration running = ticking_ ? Clock::now() - since_ : Clock::duration{0};
    return std::chrono::duration_cast<std::chrono::milliseconds>(before_ + running);
}

void JobControl::setState(State state)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state_ == State::Ended || (state_ == State::Stopped && state != State::Ended))
            return;
        state_ = state;
        if (started_)
            setTicking(state != State::Paused && state != State::Ended);
    }
    changed_.notify_all();
}

void JobControl::setTicking(bool ticking)
{
    if (ticking == ticking_)
        return;
    if (ticking)
        since_ = Clock::now();
    else
        before_ += Clock::now() - since_;
    ticking_ = ticking;
}

} // namespace talo::scan
