#include "scan/remaining.h"

#include <gtest/gtest.h>

using namespace talo::scan;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace
{

const Tally kTotal{10000, 1000000000};

Tally part(double share)
{
    return {static_cast<std::uint64_t>(share * 10000), static_cast<std::uint64_t>(share * 1e9)};
}

} // namespace

TEST(RemainingTimeTest, isUnknownAtFirst)
{
    RemainingTime remaining;
    EXPECT_EQ(remaining.estimate({}, {}, seconds(0)).count(), -1);
    EXPECT_EQ(remaining.estimate(part(0.01), kTotal, seconds(1)).count(), -1);
    EXPECT_EQ(remaining.estimate(part(0.5), {}, seconds(60)).count(), -1) << "not counted yet";
}

TEST(RemainingTimeTest, isUnknownWhileNothingGetsDone)
{
    RemainingTime remaining;
    EXPECT_EQ(remaining.estimate({}, kTotal, seconds(10)).count(), -1);
}

TEST(RemainingTimeTest, fallsSteadilyWithSteadyWork)
{
    RemainingTime remaining;
    for (int tenths = 40; tenths <= 1000; ++tenths) {
        const milliseconds elapsed(tenths * 100);
        const milliseconds left = remaining.estimate(part(tenths / 1000.0), kTotal, elapsed);
        ASSERT_NEAR(static_cast<double>(left.count()), 100000.0 - tenths * 100, 1500) << tenths;
    }
}

TEST(RemainingTimeTest, followsAChangeOfPaceWithoutJumping)
{
    RemainingTime remaining;
    milliseconds last{-1};
    // Fast for 30 s, then a tenth of that pace.
    double share = 0;
    for (int second = 1; second <= 120; ++second) {
        share += second <= 30 ? 0.02 : 0.002;
        const milliseconds left = remaining.estimate(part(share), kTotal, seconds(second));
        if (last.count() >= 0) {
            EXPECT_LT((left - last).count(), 12000) << second;
        }
        last = left;
    }
    EXPECT_NEAR(static_cast<double>(last.count()), (1 - share) / 0.002 * 1000, 15000);
}

TEST(RemainingTimeTest, isNeverNegative)
{
    RemainingTime remaining;
    remaining.estimate(part(0.9), kTotal, seconds(10));
    EXPECT_EQ(remaining.estimate(part(1.2), kTotal, seconds(12)).count(), 0);
}
