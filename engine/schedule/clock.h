// The clock that schedules go by.
#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

namespace talo::schedule
{

class Clock
{
public:
    virtual ~Clock() = default;
    virtual std::int64_t now() = 0;
    virtual std::int64_t awakeFor() = 0; // seconds since it was made or the machine last slept
    // When the system's clock shows that it is this moment here.
    virtual timespec systemTime(std::int64_t moment) = 0;
};

// The system's own.
std::unique_ptr<Clock> systemClock();

// One for trials: begins at a moment and goes so many times as fast, and never stops. Nothing but
// schedules goes by it.
std::unique_ptr<Clock> trialClock(std::int64_t begin, unsigned rate);

// The same, from "MOMENT" or "MOMENT*RATE", the moment in seconds since 1970, the rate up to
// 100,000. Null for any other text.
std::unique_ptr<Clock> trialClock(const std::string &text);

} // namespace talo::schedule
