#include "schedule/alarm.h"
#include "schedule/clock.h"

#include <gtest/gtest.h>

#include <ctime>
#include <poll.h>

namespace talo::schedule
{

namespace
{

bool rings(const Alarm &alarm, int milliseconds)
{
    pollfd watched{alarm.fd(), POLLIN, 0};
    return poll(&watched, 1, milliseconds) == 1;
}

} // namespace

TEST(Clock, IsTheSystems)
{
    const auto clock = systemClock();
    const auto before = std::time(nullptr);
    const auto now = clock->now();
    EXPECT_LE(before - 1, now); // that one may be a tick behind
    EXPECT_LE(now, std::time(nullptr) + 1);
    EXPECT_GE(clock->awakeFor(), 0);
    EXPECT_LE(clock->awakeFor(), 30);
    EXPECT_EQ(clock->systemTime(1234).tv_sec, 1234);
}

TEST(Clock, OfATrialIsReadFromAText)
{
    for (const char *text : {"", "x", "-1", "12*", "12*0", "12*-1", "12*100001", "12x", "12*3x",
                             " 12", "99999999999999999999", "12**3"})
        EXPECT_EQ(trialClock(text), nullptr) << text;
    const auto clock = trialClock("1795000000");
    ASSERT_NE(clock, nullptr);
    EXPECT_GE(clock->now(), 1795000000);
    EXPECT_LE(clock->now(), 1795000030);
    EXPECT_NE(trialClock("1795000000*60"), nullptr);
}

TEST(Alarm, RingsInItsClocksTime)
{
    Alarm alarm;
    ASSERT_GE(alarm.fd(), 0);
    EXPECT_FALSE(rings(alarm, 0));
    const auto clock = trialClock(1795000000, 3600);
    // Ten hours are ten seconds.
    alarm.set(clock->now() + 36000, *clock);
    EXPECT_FALSE(rings(alarm, 100));
    alarm.set(clock->now() + 360, *clock);
    EXPECT_TRUE(rings(alarm, 30000));
    alarm.taken();
    EXPECT_FALSE(rings(alarm, 0));
    alarm.set(clock->now() - 100, *clock); // what has passed
    EXPECT_TRUE(rings(alarm, 30000));
    EXPECT_GE(clock->now(), 1795000360);
}

TEST(Alarm, RingsBySystemTime)
{
    Alarm alarm;
    const auto clock = systemClock();
    alarm.set(clock->now() + 3600, *clock);
    EXPECT_FALSE(rings(alarm, 50));
    alarm.set(clock->now() + 1, *clock);
    EXPECT_TRUE(rings(alarm, 30000));
}

} // namespace talo::schedule
