#include "schedule/agenda.h"

#include <gtest/gtest.h>

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kToday = 20000 * kDay; // 00:00 UTC
constexpr std::int64_t kNine = kToday + 9 * 3600;
constexpr std::int64_t kLong = 100 * kDay;
const Zone kUtc;

Planned at(std::int64_t id, int hour, int minute = 0, std::int64_t settled = kToday)
{
    return {id, {kEveryDay, hour, minute}, settled};
}

std::vector<std::int64_t> ids(const Agenda &agenda)
{
    std::vector<std::int64_t> all;
    for (const Due &due : agenda.due)
        all.push_back(due.id);
    return all;
}

using Ids = std::vector<std::int64_t>;

} // namespace

TEST(Agenda, IsEmptyWithoutSchedules)
{
    const Agenda nothing = agenda({}, {kNine, kLong}, kUtc);
    EXPECT_TRUE(nothing.due.empty());
    EXPECT_FALSE(nothing.next);
}

TEST(Agenda, SaysWhatIsDueAndWhenToLookAgain)
{
    const std::vector<Planned> plans{at(1, 9), at(2, 8), at(3, 10, 30), at(4, 9), at(5, 10)};
    const Agenda before = agenda(plans, {kNine - 3601, kLong}, kUtc);
    EXPECT_TRUE(before.due.empty());
    EXPECT_EQ(before.next, kNine - 3600);
    const Agenda nine = agenda(plans, {kNine, kLong}, kUtc);
    EXPECT_EQ(ids(nine), (Ids{2, 1, 4})); // of the same minute in their order
    EXPECT_EQ(nine.due[0].since, kNine - 3600);
    EXPECT_EQ(nine.next, kNine + 3600);
    // What has begun is settled and asks again tomorrow.
    const Agenda later = agenda({at(1, 9, 0, kNine)}, {kNine + 1, kLong}, kUtc);
    EXPECT_TRUE(later.due.empty());
    EXPECT_EQ(later.next, kNine + kDay);
}

TEST(Agenda, CatchesUpOnceAndNotAtOnce)
{
    const std::int64_t now = kNine + 5 * kDay;
    const std::vector<Planned> plans{at(1, 8, 0, kToday)};
    const Agenda awake = agenda(plans, {now, 0}, kUtc);
    EXPECT_TRUE(awake.due.empty());
    EXPECT_EQ(awake.next, now + kCatchUpAfter);
    const Agenda soon = agenda(plans, {now + kCatchUpAfter, kCatchUpAfter}, kUtc);
    ASSERT_EQ(ids(soon), Ids{1});
    EXPECT_EQ(soon.due[0].since, kToday + 8 * 3600); // the first of the missed ones
    const Agenda done =
        agenda({at(1, 8, 0, now + kCatchUpAfter)}, {now + kCatchUpAfter, kCatchUpAfter}, kUtc);
    EXPECT_TRUE(done.due.empty());
    EXPECT_EQ(done.next, kNine + 6 * kDay - 3600);
}

TEST(Agenda, DoesNotKeepWaitingWhatItWasThereFor)
{
    // The service began a minute before.
    const Agenda just = agenda({at(1, 9)}, {kNine, 60}, kUtc);
    EXPECT_EQ(ids(just), Ids{1});
    const Agenda atThatSecond = agenda({at(1, 9)}, {kNine, 0}, kUtc);
    EXPECT_EQ(ids(atThatSecond), Ids{1});
}

TEST(Agenda, TakesAClockSetForwardsForTimeMissed)
{
    const std::vector<Planned> plans{at(1, 8)};
    const Agenda before = agenda(plans, {kToday + 7 * 3600, 7200}, kUtc);
    EXPECT_TRUE(before.due.empty());
    EXPECT_EQ(ids(agenda(plans, {kNine, 7201}, kUtc)), Ids{1});
}

} // namespace talo::schedule
