// The panel's operation for shredding, and what the administrator can set about it.
#include "client/shredding.h"
#include "engine/files/sandbox.h"
#include "engine/libshred.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace talo::client;
using namespace talo::test;

namespace
{

class LibShred : public testing::Test
{
protected:
    int passesOf(const std::string &content)
    {
        writeFile(main_, content);
        const ShredConfiguration configuration = readShredConfiguration({main_, extra_});
        faults_ = configuration.faults.size();
        return configuration.passes;
    }

    TempFolder folder_;
    const std::string main_ = folder_ / "main.conf";
    const std::string extra_ = folder_ / "extra.conf";
    std::size_t faults_ = 0;
};

} // namespace

TEST_F(LibShred, AnswersByItsCodes)
{
    const std::string file = folder_ / "file";
    EXPECT_EQ(libShred::shred(file.c_str(), nullptr), 1);
    EXPECT_EQ(libShred::shred(nullptr, nullptr), 1);
    EXPECT_EQ(libShred::shred(folder_.path().c_str(), nullptr), 2);
    EXPECT_EQ(libShred::shred("/usr/local/taloantivirus/bin/talod", nullptr), 6);
    EXPECT_EQ(libShred::shred("/etc/taloantivirus/taloantivirus.conf", nullptr), 6);
    EXPECT_EQ(libShred::shred("/var/lib/taloantivirus/quarantine/x", nullptr), 6);
    writeFile(file, "x");
    ASSERT_EQ(link(file.c_str(), (folder_ / "other").c_str()), 0);
    EXPECT_EQ(libShred::shred(file.c_str(), nullptr), 4);
    ASSERT_EQ(unlink((folder_ / "other").c_str()), 0);
    chmod(folder_.path().c_str(), 0555);
    if (isRoot()) {
        EXPECT_EQ(asNobody([&] { return std::to_string(libShred::shred(file.c_str(), nullptr)); }),
                  "3");
    } else {
        EXPECT_EQ(libShred::shred(file.c_str(), nullptr), 3);
    }
    chmod(folder_.path().c_str(), 0755);
    EXPECT_EQ(libShred::shred(file.c_str(), nullptr), 0);
    EXPECT_FALSE(exists(file));
}

TEST_F(LibShred, RefusesTheStoreOfTheUsersOwnService)
{
    mkdir((folder_ / "taloantivirus").c_str(), 0755);
    writeFile(folder_ / "taloantivirus/store", "x");
    ASSERT_EQ(setenv("XDG_DATA_HOME", folder_.path().c_str(), 1), 0);
    EXPECT_EQ(libShred::shred((folder_ / "taloantivirus/store").c_str(), nullptr), 6);
    ASSERT_EQ(unsetenv("XDG_DATA_HOME"), 0);
}

TEST_F(LibShred, CountsWhileAnotherThreadLooks)
{
    const std::string file = folder_ / "file";
    std::atomic<bool> between{false};
    // On a busy machine the other thread may not get to look before a file is gone.
    for (int attempt = 0; attempt < 20 && !between; ++attempt) {
        writeFile(file, std::string(60u << 20, 'x'));
        long long progress = -1;
        std::atomic<bool> done{false};
        bool backwards = false;
        std::thread watcher([&] {
            for (long long before = -1; !done;) {
                const long long now = __atomic_load_n(&progress, __ATOMIC_RELAXED);
                between = between || (now > 0 && now < 60 << 20);
                backwards = backwards || now < before;
                before = std::max(before, now);
            }
        });
        EXPECT_EQ(libShred::shred(file.c_str(), &progress), 0);
        done = true;
        watcher.join();
        EXPECT_FALSE(backwards);
        EXPECT_EQ(progress, 60 << 20);
    }
    EXPECT_TRUE(between);
}

TEST_F(LibShred, TakesOnePassUnlessToldOtherwise)
{
    EXPECT_EQ(readShredConfiguration({main_, extra_}).passes, 1);
    EXPECT_TRUE(readShredConfiguration({main_, extra_}).faults.empty());
    EXPECT_EQ(passesOf("[Mail]\nServer=x\n"), 1);
    EXPECT_EQ(passesOf("[Mail]\nPasses=9\n[Shredder]\nPasses = 3\n"), 3);
    EXPECT_EQ(faults_, 0U);
}

TEST_F(LibShred, TellsOfPassesThatAreNoNumber)
{
    for (const char *value : {"0", "36", "-1", "three", "3x", "", "99999999999"}) {
        EXPECT_EQ(passesOf(std::string("[Shredder]\nPasses=") + value + "\n"), 1) << value;
        EXPECT_EQ(faults_, 1U) << value;
    }
    EXPECT_EQ(passesOf("[Shredder]\nPases=3\n"), 1);
    EXPECT_EQ(faults_, 1U);
}

TEST_F(LibShred, TakesTheSecondFileWhereTheFirstIsNotForUsers)
{
    writeFile(extra_, "[Shredder]\nPasses=7\n");
    EXPECT_EQ(passesOf("[Shredder]\nPasses=3\n"), 7);
    if (!isRoot())
        GTEST_SKIP() << "needs root, to be somebody else";
    chmod(main_.c_str(), 0600);
    const auto asOther = [&] {
        return asNobody([&] {
            const ShredConfiguration configuration = readShredConfiguration({main_, extra_});
            return std::to_string(configuration.passes) + " " +
                   std::to_string(configuration.faults.size());
        });
    };
    EXPECT_EQ(asOther(), "7 0");
    ASSERT_EQ(unlink(extra_.c_str()), 0);
    EXPECT_EQ(asOther(), "1 1"); // and it is told that the number could not be read
}
