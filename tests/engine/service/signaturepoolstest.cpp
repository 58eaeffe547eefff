// How a set of signatures is tried out.
#include "service/signaturepools.h"
#include "engine/scan/longload.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>

namespace talo::service
{

namespace
{

using scan::Priority;
using scan::test::LongLoad;
using namespace std::chrono_literals;

class SignaturePoolsTest : public scan::test::LongLoadTest
{
protected:
    void TearDown() override
    {
        pools.forgetTrial();
        LongLoadTest::TearDown();
    }

    std::future<std::string> tryOut(Priority priority)
    {
        return std::async(std::launch::async,
                          [this, priority] { return pools.tryOut(many.signatures(), priority); });
    }

    SignaturePools pools{many.pool(), [] { return SignatureSet(); },
                         [](const SignatureSet &, const std::string &) { return false; }};
};

} // namespace

TEST_F(SignaturePoolsTest, triesOutForAClockWhileNobodyElseWantsTheProcessor)
{
    auto tried = tryOut(Priority::Background);
    EXPECT_TRUE(scan::test::eventually([] { return LongLoad::yields(); }));
    EXPECT_EQ(tried.get(), "");
}

TEST_F(SignaturePoolsTest, triesOutForAUserAtOnce)
{
    auto tried = tryOut(Priority::Normal);
    while (tried.wait_for(1ms) != std::future_status::ready)
        EXPECT_FALSE(LongLoad::yields());
    EXPECT_EQ(tried.get(), "");
}

} // namespace talo::service
