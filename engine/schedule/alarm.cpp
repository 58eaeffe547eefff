#include "schedule/alarm.h"

#include <sys/timerfd.h>
#include <unistd.h>

namespace talo::schedule
{

// By the real time, which goes on while the machine sleeps: the timer then rings as it wakes.
Alarm::Alarm() : fd_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {}

Alarm::~Alarm()
{
    if (fd_ >= 0)
        close(fd_);
}

void Alarm::set(std::int64_t moment, Clock &clock)
{
    itimerspec timer{};
    timer.it_value = clock.systemTime(moment);
    timerfd_settime(fd_, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &timer, nullptr);
}

void Alarm::taken()
{
    // What is read, or that it is ECANCELED, makes no difference: whoever is woken looks at the
    // clock anyway.
    std::uint64_t rung = 0;
    [[maybe_unused]] const ssize_t ignored = read(fd_, &rung, sizeof rung);
}

} // namespace talo::schedule
