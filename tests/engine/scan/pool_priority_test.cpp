// With what priority the signatures are loaded.
#include "engine/scan/pool_fixture.h"

#include <chrono>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;
using namespace std::chrono_literals;

constexpr int kLowest = 19;

class PoolPriority : public testing::Test
{
protected:
    void SetUp() override
    {
        if (ownPriority() == kLowest)
            GTEST_SKIP() << "the test runs with the lowest priority itself";
        // So many that they take a while.
        std::ofstream set(folder.write("set/many.hdb", ""), std::ios::binary);
        for (int number = 0; number < 500000; ++number) {
            char line[64];
            std::snprintf(line, sizeof line, "%08x%024x:%d:Test-%d\n", number * 2654435761u, number,
                          1000 + number % 5000, number);
            set << line;
        }
        fs::copy(builtInSignatures() + "/talo.ldb", folder.path() / "set");
        many = config(realWorker(), 1);
        many.signatureFolder = folder.path() / "set";
    }
    void TearDown() override
    {
        EXPECT_TRUE(eventually([] { return descendants().empty(); })) << "left-over processes";
    }

    static int ownPriority() { return getpriority(PRIO_PROCESS, 0); }
    static pid_t server()
    {
        const auto processes = processesOf(realWorker());
        return processes.empty() ? -1 : processes.front();
    }
    // Whether any thread of the server has the lowest priority.
    static bool yields()
    {
        std::error_code gone;
        const fs::path threads = "/proc/" + std::to_string(server()) + "/task";
        for (const auto &thread : fs::directory_iterator(threads, gone))
            if (getpriority(PRIO_PROCESS, static_cast<id_t>(std::stoi(thread.path().filename()))) ==
                kLowest)
                return true;
        return false;
    }

    TestFolder folder;
    PoolConfig many;
};

TEST_F(PoolPriority, aLoadForTheBackgroundYieldsAndTheServerDoesNot)
{
    WorkerPool pool(many);
    auto loading = std::async(std::launch::async, [&] { return pool.load(Priority::Background); });
    EXPECT_TRUE(eventually([] { return yields(); }));
    EXPECT_EQ(loading.get(), "");
    EXPECT_FALSE(yields());
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(server())), ownPriority());
    EXPECT_EQ(scanOne(pool, folder.write("a", eicar())).kind, VerdictKind::Threat);
}

TEST_F(PoolPriority, aLoadThatSomebodyWaitsForDoesNot)
{
    WorkerPool pool(many);
    auto loading = std::async(std::launch::async, [&] { return pool.load(); });
    while (loading.wait_for(1ms) != std::future_status::ready)
        EXPECT_FALSE(yields());
    EXPECT_EQ(loading.get(), "");
}

TEST_F(PoolPriority, nobodyWaitsForALoadOfTheBackground)
{
    WorkerPool pool(many);
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
