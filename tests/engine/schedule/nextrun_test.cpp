#include "schedule/nextrun.h"

#include <gtest/gtest.h>

#include <ctime>

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;

std::int64_t utc(int month, int day, int hour = 0, int minute = 0, int year = 2026)
{
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    return timegm(&time);
}

const Zone kBerlin = *Zone::named("Europe/Berlin");
const Zone kUtc;

} // namespace

TEST(NextRun, IsTheNextOfItsTimes)
{
    const Times daily{kEveryDay, 14, 5};
    EXPECT_EQ(timeAfter(daily, utc(11, 21, 14, 4), kUtc), utc(11, 21, 14, 5));
    EXPECT_EQ(timeAfter(daily, utc(11, 21, 14, 5) - 1, kUtc), utc(11, 21, 14, 5));
    EXPECT_EQ(timeAfter(daily, utc(11, 21, 14, 5), kUtc), utc(11, 22, 14, 5));
    EXPECT_EQ(timeAfter(daily, utc(12, 31, 23, 0), kUtc), utc(1, 1, 14, 5, 2027));
    const Times wednesday{3, 14, 5};
    EXPECT_EQ(timeAfter(wednesday, utc(11, 21), kUtc), utc(11, 25, 14, 5)); // from a Saturday
    EXPECT_EQ(timeAfter(wednesday, utc(11, 25, 14, 5), kUtc), utc(12, 2, 14, 5));
    // The weekday is that of the place: early on Monday there it is still Sunday in UTC.
    EXPECT_EQ(timeAfter({1, 0, 30}, utc(11, 21), kBerlin), utc(11, 22, 23, 30));
    // Before 1970 as well, for a clock without a battery.
    EXPECT_EQ(timeAfter(daily, utc(12, 31, 20, 0, 1969), kUtc), utc(1, 1, 14, 5, 1970));
}

TEST(NextRun, FollowsTheClocksOfSpringAndAutumn)
{
    const Times skipped{kEveryDay, 2, 30};
    EXPECT_EQ(timeAfter(skipped, utc(3, 28, 2), kBerlin), utc(3, 29, 1, 0)); // 03:00 there
    EXPECT_EQ(timeAfter(skipped, utc(3, 29, 1, 0), kBerlin), utc(3, 30, 0, 30));
    EXPECT_EQ(timeAfter({0, 2, 30}, utc(3, 23), kBerlin), utc(3, 29, 1, 0));
    EXPECT_EQ(timeAfter(skipped, utc(10, 24, 2), kBerlin), utc(10, 25, 0, 30));
    // Once, although 02:30 comes again an hour later.
    EXPECT_EQ(timeAfter(skipped, utc(10, 25, 0, 30), kBerlin), utc(10, 26, 1, 30));
    // Where clocks go back over midnight the day before comes again for a while.
    const Zone saoPaulo = *Zone::named("America/Sao_Paulo");
    EXPECT_EQ(timeAfter({kEveryDay, 23, 30}, utc(2, 18, 1, 0, 2018), saoPaulo),
              utc(2, 18, 1, 30, 2018));
    EXPECT_EQ(timeAfter({kEveryDay, 23, 30}, utc(2, 18, 1, 30, 2018), saoPaulo),
              utc(2, 19, 2, 30, 2018));
    EXPECT_EQ(timeAfter({kEveryDay, 0, 0}, utc(11, 4, 1, 0, 2017), saoPaulo),
              utc(11, 4, 2, 0, 2017));
    // And there was a day that never was.
    const Zone apia = *Zone::named("Pacific/Apia");
    EXPECT_EQ(timeAfter({5, 14, 5}, utc(12, 28, 0, 0, 2011), apia), utc(12, 30, 10, 0, 2011));
}

TEST(NextRun, StaysDueUntilItIsSettled)
{
    const Times daily{kEveryDay, 3, 0};
    const std::int64_t settled = utc(11, 20, 3, 0);
    for (const std::int64_t now :
         {utc(11, 20, 3, 0), utc(11, 21, 3, 0), utc(11, 21, 3, 1), utc(12, 24)})
        EXPECT_EQ(nextRun(daily, settled, now, kUtc), utc(11, 21, 3, 0));
    EXPECT_EQ(nextRun(daily, utc(11, 21, 3, 1), utc(11, 21, 3, 2), kUtc), utc(11, 22, 3, 0));
}

TEST(NextRun, OutlivesAClockThatWasWrong)
{
    const Times daily{kEveryDay, 3, 0};
    const Times weekly{0, 3, 0};
    const std::int64_t now = utc(11, 21, 2, 0);
    // Set back by an hour after the run of 03:00: that one is not for the second time.
    EXPECT_EQ(nextRun(daily, utc(11, 21, 3, 0), now, kUtc), utc(11, 22, 3, 0));
    EXPECT_EQ(nextRun(daily, now + kDay, now, kUtc), utc(11, 22, 3, 0));
    // Set back by years: what it said then is worth nothing.
    EXPECT_EQ(nextRun(daily, now + kDay + 1, now, kUtc), utc(11, 21, 3, 0));
    EXPECT_EQ(nextRun(daily, now + 3000 * kDay, now, kUtc), utc(11, 21, 3, 0));
    EXPECT_EQ(nextRun(weekly, now + 7 * kDay, now, kUtc), utc(11, 29, 3, 0));
    EXPECT_EQ(nextRun(weekly, now + 7 * kDay + 1, now, kUtc), utc(11, 22, 3, 0));
    EXPECT_EQ(believed(daily, now + kDay + 1, now), now);
    EXPECT_EQ(believed(daily, now + kDay, now), now + kDay);
    EXPECT_EQ(believed(daily, now - 500 * kDay, now), now - 500 * kDay);
}

TEST(NextRun, FollowsTheZone)
{
    const Times daily{kEveryDay, 14, 5};
    const std::int64_t settled = utc(11, 21, 10, 0);
    EXPECT_EQ(nextRun(daily, settled, settled, kBerlin), utc(11, 21, 13, 5));
    EXPECT_EQ(nextRun(daily, settled, settled, *Zone::named("America/New_York")),
              utc(11, 21, 19, 5));
    EXPECT_EQ(nextRun(daily, settled, settled, *Zone::named("Asia/Tokyo")), utc(11, 22, 5, 5));
}

} // namespace talo::schedule
