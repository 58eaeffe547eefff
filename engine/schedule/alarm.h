// Wakes its owner at a moment, and also when the system's clock was set or the machine has slept.
#pragma once

#include "schedule/clock.h"

#include <cstdint>

namespace talo::schedule
{

class Alarm
{
public:
    Alarm();
    ~Alarm();
    Alarm(const Alarm &) = delete;
    Alarm &operator=(const Alarm &) = delete;

    int fd() const { return fd_; } // readable when it rings; -1 if there is no timer to be had

    void set(std::int64_t moment, Clock &clock);
    void taken(); // after it rang; it is silent until it is set again

private:
    int fd_;
};

} // namespace talo::schedule
