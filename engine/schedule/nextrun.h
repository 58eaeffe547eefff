// When a schedule runs next.
#pragma once

#include "schedule/zone.h"

#include <cstdint>

namespace talo::schedule
{

inline constexpr int kEveryDay = 8;

// A time of day in local time, on one day of the week or on every day.
struct Times {
    int weekday = kEveryDay; // 0 Sunday to 6 Saturday
    int hour = 0;
    int minute = 0;
};

// The first of its times after a moment. One that the clocks skip counts as the moment when they
// do, one that they show twice counts once, the first time.
std::int64_t timeAfter(const Times &times, std::int64_t moment, const Zone &zone);

// Its times up to `settled` are done with: they were run, or lie before it was made. The answer is
// the first after that, also where it has passed meanwhile: then it is due.
//
// A clock that was set back makes `settled` lie in the future. Within a day (of a weekly schedule,
// a week) it holds, so that nothing runs twice; beyond that the clock must have been wrong before,
// and the times from now on count.
std::int64_t nextRun(const Times &times, std::int64_t settled, std::int64_t now, const Zone &zone);

// What `settled` is worth at a moment, as above.
std::int64_t believed(const Times &times, std::int64_t settled, std::int64_t now);

} // namespace talo::schedule
