#include "scan/cleanfiles.h"

#include "scan/cleanlink.h"

#include "engine/files/sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <unistd.h>

using namespace talo::scan;

namespace
{

struct stat file(ino_t number)
{
    struct stat status = {};
    status.st_dev = 7;
    status.st_ino = number;
    status.st_size = 1000;
    status.st_mtim = {1700000000, 5};
    status.st_ctim = {1700000001, 6};
    return status;
}

// The files of these tests are new; a minute later they have settled.
std::time_t later(std::time_t *)
{
    return std::time(nullptr) + 3600;
}

const Verdict kClean{VerdictKind::Clean, {}};

class RememberedFile : public ::testing::Test
{
protected:
    void SetUp() override
    {
        name_ = folder_ / "remembered";
        fd_ = open(name_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        ASSERT_GE(fd_, 0);
        ASSERT_EQ(write(fd_, "clean", 5), 5);
        struct statfs system = {};
        ASSERT_EQ(fstatfs(fd_, &system), 0);
        if (system.f_type != EXT4_SUPER_MAGIC)
            GTEST_SKIP() << "the temporary folder is not on ext4";
        look();
    }
    void TearDown() override { close(fd_); }

    void look() { ASSERT_EQ(fstat(fd_, &status_), 0); }
    Candidate candidate() const { return {fd_, &status_}; }

    talo::test::TempFolder folder_;
    CleanFiles memory_;
    CleanLink link_{memory_, {}, later};
    std::string name_;
    int fd_ = -1;
    struct stat status_ = {};
};

} // namespace

TEST(CleanFiles, knowsAFileByAllThatChangesWithItsContent)
{
    CleanFiles memory;
    const struct stat known = file(1);
    memory.add(known, {});
    EXPECT_TRUE(memory.has(known, {}));

    for (int change = 0; change < 6; ++change) {
        struct stat other = known;
        if (change == 0)
            ++other.st_dev;
        else if (change == 1)
            ++other.st_ino;
        else if (change == 2)
            ++other.st_size;
        else if (change == 3)
            ++other.st_mtim.tv_nsec;
        else if (change == 4)
            ++other.st_ctim.tv_nsec;
        else
            ++other.st_ctim.tv_sec;
        EXPECT_FALSE(memory.has(other, {})) << change;
    }
    EXPECT_FALSE(memory.has(known, {false, true}));
    EXPECT_FALSE(memory.has(known, {true, false}));
}

TEST(CleanFiles, growsWithoutForgetting)
{
    CleanFiles memory;
    constexpr ino_t kFiles = 50000;
    for (ino_t number = 0; number < kFiles; ++number)
        memory.add(file(number), {});
    unsigned known = 0;
    for (ino_t number = 0; number < kFiles; ++number)
        known += memory.has(file(number), {}) ? 1 : 0;
    EXPECT_GT(known, kFiles * 9 / 10);
    for (ino_t number = kFiles; number < 2 * kFiles; ++number)
        EXPECT_FALSE(memory.has(file(number), {}));
}

TEST(CleanFiles, holdsNoMoreThanItMay)
{
    constexpr std::size_t kMost = 64;
    CleanFiles memory(kMost);
    for (ino_t number = 0; number < 10000; ++number) {
        memory.add(file(number), {});
        EXPECT_TRUE(memory.has(file(number), {}));
    }
    std::size_t known = 0;
    for (ino_t number = 0; number < 10000; ++number)
        known += memory.has(file(number), {}) ? 1 : 0;
    EXPECT_LE(known, kMost);
    EXPECT_GT(known, kMost / 2);
}

TEST(CleanFiles, waitsUntilAFileHasSettled)
{
    const struct stat known = file(1); // changed in its second 1700000001
    EXPECT_FALSE(CleanFiles::settled(known, 1700000001 + 60));
    EXPECT_TRUE(CleanFiles::settled(known, 1700000001 + 61));
    EXPECT_FALSE(CleanFiles::settled(known, 1600000000)) << "the clock was set back";
    struct stat written = known;
    written.st_mtim.tv_sec = 1800000000;
    EXPECT_FALSE(CleanFiles::settled(written, 1700000001 + 61));
}

TEST_F(RememberedFile, isCleanUntilItChanges)
{
    EXPECT_FALSE(link_.judge(candidate()));
    link_.learn(candidate(), kClean);
    ASSERT_TRUE(link_.judge(candidate()));
    EXPECT_EQ(link_.judge(candidate())->kind, VerdictKind::Clean);

    ASSERT_EQ(pwrite(fd_, "virus", 5, 0), 5);
    look();
    EXPECT_FALSE(link_.judge(candidate()));
}

TEST_F(RememberedFile, isNotKnownByATimeThatWasSetBack)
{
    link_.learn(candidate(), kClean);
    const struct stat before = status_;
    ASSERT_EQ(pwrite(fd_, "virus", 5, 0), 5);
    const struct timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(futimens(fd_, times), 0);
    look();
    ASSERT_EQ(status_.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_FALSE(link_.judge(candidate()));
}

TEST_F(RememberedFile, isNotLearntWhenItChangedDuringTheScan)
{
    ASSERT_EQ(pwrite(fd_, "virus", 5, 0), 5);
    struct stat before = status_;
    link_.learn({fd_, &before}, kClean);
    look();
    EXPECT_FALSE(link_.judge(candidate()));
}

TEST_F(RememberedFile, isOnlyLearntWhenClean)
{
    for (const VerdictKind kind : {VerdictKind::Threat, VerdictKind::Skipped, VerdictKind::Error})
        link_.learn(candidate(), {kind, "why"});
    EXPECT_FALSE(link_.judge(candidate()));
}

TEST_F(RememberedFile, isNotLearntWhileItIsNew)
{
    CleanLink link(memory_, {});
    link.learn(candidate(), kClean);
    EXPECT_FALSE(link.judge(candidate()));
}

TEST(CleanLink, trustsNoFileSystemInMemory)
{
    const int fd = memfd_create("remembered", MFD_CLOEXEC);
    ASSERT_GE(fd, 0);
    struct stat status = {};
    ASSERT_EQ(fstat(fd, &status), 0);
    CleanFiles memory;
    CleanLink link(memory, {}, later);
    link.learn({fd, &status}, kClean);
    EXPECT_FALSE(link.judge({fd, &status}));
    close(fd);
}
