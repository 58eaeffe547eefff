#include "service/updateschedule.h"

#include <gtest/gtest.h>

namespace talo::service
{

namespace
{

constexpr std::time_t kNow = 1795266309;
constexpr std::time_t kHour = 3600;

store::UpdateRecord record(unsigned failures = 0)
{
    store::UpdateRecord record;
    record.attempted = kNow;
    record.failures = failures;
    return record;
}

} // namespace

TEST(UpdateSchedule, FollowsTheFrequency)
{
    EXPECT_EQ(nextUpdate(record(), 0, kNow, 0), kNow + 1 * kHour);
    EXPECT_EQ(nextUpdate(record(), 1, kNow, 0), kNow + 2 * kHour);
    EXPECT_EQ(nextUpdate(record(), 2, kNow, 0), kNow + 6 * kHour);
    EXPECT_EQ(nextUpdate(record(), 3, kNow, 0), kNow + 24 * kHour);
}

TEST(UpdateSchedule, IsSpread)
{
    EXPECT_EQ(nextUpdate(record(), 0, kNow, 1), kNow + kHour + 360);
    EXPECT_EQ(nextUpdate(record(), 0, kNow, 0.5), kNow + kHour + 180);
    EXPECT_EQ(nextUpdate(record(1), 3, kNow, 1), kNow + 450);
}

TEST(UpdateSchedule, BacksOffUpToTheFrequency)
{
    const std::time_t waits[] = {300, 600, 1200, 2400, 4800, 6 * kHour};
    const unsigned failures[] = {1, 2, 3, 4, 5, 500};
    for (std::size_t at = 0; at < 6; ++at)
        EXPECT_EQ(nextUpdate(record(failures[at]), 2, kNow, 0), kNow + waits[at]);
    EXPECT_EQ(nextUpdate(record(20), 0, kNow, 0), kNow + kHour);
}

TEST(UpdateSchedule, IsDueAtOnceWhereThereWasNoneForLong)
{
    EXPECT_LT(nextUpdate(store::UpdateRecord(), 3, kNow, 1), kNow);
}

TEST(UpdateSchedule, HonoursTheServersWishForAWeekAtMost)
{
    store::UpdateRecord wish = record(1);
    wish.notBefore = kNow + 5 * kHour;
    EXPECT_EQ(nextUpdate(wish, 0, kNow, 0), wish.notBefore);
    wish.notBefore = kNow + 1000 * 24 * kHour;
    EXPECT_EQ(nextUpdate(wish, 0, kNow, 0), kNow + 7 * 24 * kHour);
}

TEST(UpdateSchedule, ComesToTermsWithAClockThatWasSetBack)
{
    store::UpdateRecord ahead = record();
    ahead.attempted = kNow + 1000 * 24 * kHour;
    EXPECT_EQ(nextUpdate(ahead, 0, kNow, 0), kNow + kHour);
}

} // namespace talo::service
