// With what priority the signatures are loaded.
#include "engine/scan/longload.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;
using namespace std::chrono_literals;

class PoolPriority : public LongLoadTest
{
protected:
    static bool yields() { return LongLoad::yields(); }
    static pid_t server() { return LongLoad::server(); }

    TestFolder folder;
};

TEST_F(PoolPriority, aLoadForTheBackgroundYieldsAndTheServerDoesNot)
{
    WorkerPool pool(many.pool());
    auto loading = std::async(std::launch::async, [&] { return pool.load(Priority::Background); });
    EXPECT_TRUE(eventually([] { return yields(); }));
    EXPECT_EQ(loading.get(), "");
    EXPECT_FALSE(yields());
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(server())), LongLoad::ownPriority());
    EXPECT_EQ(scanOne(pool, folder.write("a", eicar())).kind, VerdictKind::Threat);
}

TEST_F(PoolPriority, aLoadThatSomebodyWaitsForDoesNot)
{
    WorkerPool pool(many.pool());
    auto loading = std::async(std::launch::async, [&] { return pool.load(); });
    while (loading.wait_for(1ms) != std::future_status::ready)
        EXPECT_FALSE(yields());
    EXPECT_EQ(loading.get(), "");
}

TEST_F(PoolPriority, nobodyWaitsForALoadOfTheBackground)
{
    WorkerPool pool(many.pool());
    auto first = std::async(std::launch::async, [&] { return pool.load(Priority::Background); });
    ASSERT_TRUE(eventually([] { return yields(); }));
    const pid_t before = server();
    auto second = std::async(std::launch::async, [&] { return pool.load(); });
    EXPECT_TRUE(eventually([before] { return server() != before; }));
    while (second.wait_for(1ms) != std::future_status::ready)
        EXPECT_FALSE(yields());
    EXPECT_EQ(second.get(), "");
    EXPECT_EQ(first.get(), "");
    EXPECT_TRUE(pool.signatures().loaded);
}

} // namespace
