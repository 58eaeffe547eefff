// A server that lies costs the scan, never the pool.
#include "engine/scan/pool_fixture.h"

#include <gtest/gtest.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;

class PoolHostile : public testing::TestWithParam<const char *>
{
protected:
    TestFolder folder;
};

TEST_P(PoolHostile, EveryFileGetsAnError)
{
    const std::size_t before = openDescriptors();
    {
        auto fake = config(fakeServer());
        folder.write("how", GetParam());
        fake.signatureFolder = folder.path().string();
        WorkerPool pool(fake);
        const Verdict verdict = scanOne(pool, folder.write("a", "text"));
        EXPECT_EQ(verdict.kind, VerdictKind::Error);
        EXPECT_FALSE(verdict.detail.empty());
        for (const char c : verdict.detail)
            EXPECT_TRUE(c >= ' ' && c <= '~') << verdict.detail;
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(descendants().empty());
}

INSTANTIATE_TEST_SUITE_P(Lies, PoolHostile,
                         testing::Values("exit", "garbage", "failure too long", "binary failure",
                                         "descriptor", "slot", "ends workers", "loads and ends"));

} // namespace
