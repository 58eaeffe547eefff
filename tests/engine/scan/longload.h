// Signatures that take a while to load, and the priority with which that happens.
#pragma once

#include "engine/scan/pool_fixture.h"

#include <gtest/gtest.h>

namespace talo::scan::test
{

class LongLoad
{
public:
    LongLoad();

    std::string signatures() const { return folder_.path() / "set"; }
    PoolConfig pool() const;

    static constexpr int kLowest = 19;
    static int ownPriority();
    static pid_t server(); // -1 where none runs
    // Whether any thread of the server has the lowest priority.
    static bool yields();

private:
    TestFolder folder_;
};

// Base of tests that look at that priority.
class LongLoadTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (LongLoad::ownPriority() == LongLoad::kLowest)
            GTEST_SKIP() << "the test runs with the lowest priority itself";
    }
    void TearDown() override
    {
        EXPECT_TRUE(eventually([] { return descendants().empty(); })) << "left-over processes";
    }

    LongLoad many;
};

} // namespace talo::scan::test
