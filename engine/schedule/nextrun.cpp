#include "schedule/nextrun.h"

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kDay = 86400;

std::int64_t dayOf(std::int64_t local)
{
    return local >= 0 ? local / kDay : -((-local + kDay - 1) / kDay);
}

bool includes(const Times &times, std::int64_t day)
{
    const auto weekday = ((day + 4) % 7 + 7) % 7; // 1970 began on a Thursday
    return times.weekday == kEveryDay || times.weekday == weekday;
}

} // namespace

std::int64_t timeAfter(const Times &times, std::int64_t moment, const Zone &zone)
{
    // From the day before, for clocks that were put back over midnight show that one again.
    for (std::int64_t day = dayOf(moment + zone.offsetAt(moment)) - 1;; ++day) {
        if (!includes(times, day))
            continue;
        const std::int64_t time =
            zone.momentOf(day * kDay + (std::int64_t{times.hour} * 60 + times.minute) * 60);
        if (time > moment)
            return time;
    }
}

std::int64_t believed(const Times &times, std::int64_t settled, std::int64_t now)
{
    const std::int64_t period = times.weekday == kEveryDay ? kDay : 7 * kDay;
    return settled - now > period ? now : settled;
}

std::int64_t nextRun(const Times &times, std::int64_t settled, std::int64_t now, const Zone &zone)
{
    return timeAfter(times, believed(times, settled, now), zone);
}

} // namespace talo::schedule
