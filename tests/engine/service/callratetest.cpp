#include "service/callrate.h"

#include <gtest/gtest.h>

namespace talo::service
{

namespace
{

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr unsigned kUser = 1000;
constexpr CallRate::Clock::time_point kStart{seconds(1000)};

unsigned admitted(CallRate &rate, unsigned user, CallRate::Clock::time_point now)
{
    unsigned count = 0;
    while (rate.admits(user, now))
        ++count;
    return count;
}

} // namespace

TEST(CallRate, EndsAFlood)
{
    CallRate rate;
    EXPECT_EQ(admitted(rate, kUser, kStart), CallRate::kAtOnce);
    EXPECT_FALSE(rate.admits(kUser, kStart + milliseconds(4)));
}

TEST(CallRate, LetsPatienceBeRewarded)
{
    CallRate rate;
    admitted(rate, kUser, kStart);
    EXPECT_EQ(admitted(rate, kUser, kStart + milliseconds(500)), CallRate::kPerSecond / 2);
    EXPECT_EQ(admitted(rate, kUser, kStart + seconds(3600)), CallRate::kAtOnce);
}

TEST(CallRate, MakesNobodyElsePay)
{
    CallRate rate;
    admitted(rate, kUser, kStart);
    EXPECT_EQ(admitted(rate, kUser + 1, kStart), CallRate::kAtOnce);
}

TEST(CallRate, RemembersWhoFloodsAmongManyUsers)
{
    CallRate rate;
    admitted(rate, kUser, kStart);
    for (unsigned other = 2000; other < 4000; ++other)
        EXPECT_TRUE(rate.admits(other, kStart));
    EXPECT_FALSE(rate.admits(kUser, kStart));
}

} // namespace talo::service
