#include "engine/files/sandbox.h"
#include "files/removal.h"
#include "files/safeopen.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

class Removal : public testing::Test
{
protected:
    void SetUp() override
    {
        writeFile(folder_ / "evil", "EVIL");
        place_ = std::move(openFolderAsPlace(AT_FDCWD, folder_.path())->fd);
    }

    Identity identity(const std::string &name)
    {
        return identityOf(openForReading(AT_FDCWD, folder_ / name)->status);
    }

    // Every name that is not one of the test's own.
    int leftovers() const
    {
        int count = 0;
        for (const auto &entry : std::filesystem::directory_iterator(folder_.path()))
            count += entry.path().filename().string().rfind(".talo", 0) == 0;
        return count;
    }

    TempFolder folder_;
    UniqueFd place_;
};

} // namespace

TEST_F(Removal, removesTheFileMeant)
{
    EXPECT_FALSE(removeExactly(place_.get(), "evil", identity("evil"), "t1"));
    EXPECT_FALSE(exists(folder_ / "evil"));
    EXPECT_EQ(leftovers(), 0);
}

TEST_F(Removal, leavesAnotherFileUnderTheNameInPlace)
{
    const Identity evil = identity("evil");
    ASSERT_EQ(rename((folder_ / "evil").c_str(), (folder_ / "elsewhere").c_str()), 0);
    writeFile(folder_ / "evil", "GOOD");
    const auto error = removeExactly(place_.get(), "evil", evil, "t1");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->text, "another file has its name now");
    EXPECT_EQ(readFile(folder_ / "evil"), "GOOD");
    EXPECT_EQ(readFile(folder_ / "elsewhere"), "EVIL");
    EXPECT_EQ(leftovers(), 0);
}

TEST_F(Removal, leavesALinkOrFolderUnderTheNameInPlace)
{
    const Identity evil = identity("evil");
    ASSERT_EQ(rename((folder_ / "evil").c_str(), (folder_ / "elsewhere").c_str()), 0);
    ASSERT_EQ(symlink("elsewhere", (folder_ / "evil").c_str()), 0);
    EXPECT_TRUE(removeExactly(place_.get(), "evil", evil, "t1"));
    EXPECT_EQ(readFile(folder_ / "evil"), "EVIL");
    unlink((folder_ / "evil").c_str());
    mkdir((folder_ / "evil").c_str(), 0755);
    writeFile(folder_ / "evil/inside", "GOOD");
    EXPECT_TRUE(removeExactly(place_.get(), "evil", evil, "t1"));
    EXPECT_EQ(readFile(folder_ / "evil/inside"), "GOOD");
}

TEST_F(Removal, saysThatAFileIsGone)
{
    const Identity evil = identity("evil");
    unlink((folder_ / "evil").c_str());
    EXPECT_EQ(removeExactly(place_.get(), "evil", evil, "t1")->code, ENOENT);
    EXPECT_EQ(leftovers(), 0);
}

TEST_F(Removal, worksInAFolderThatHandsItsGroupDown)
{
    chmod(folder_.path().c_str(), 02775);
    EXPECT_FALSE(removeExactly(place_.get(), "evil", identity("evil"), "t1"));
}

TEST_F(Removal, doesNotUseAFolderMadeBySomebodyElse)
{
    mkdir((folder_ / ".talo-capture-t1").c_str(), 0777);
    EXPECT_EQ(removeExactly(place_.get(), "evil", identity("evil"), "t1")->code, EEXIST);
    EXPECT_EQ(readFile(folder_ / "evil"), "EVIL");
}

TEST_F(Removal, saysWhatStandsInTheWay)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root";
    const Identity evil = identity("evil");
    EXPECT_EQ(asNobody([&] { return removeExactly(place_.get(), "evil", evil, "t1")->text; }),
              "permission denied");
    EXPECT_EQ(readFile(folder_ / "evil"), "EVIL");
}

TEST_F(Removal, finishesWhatAKillInterrupted)
{
    const Identity evil = identity("evil");
    mkdir((folder_ / ".talo-capture-t1").c_str(), 0700);
    rename((folder_ / "evil").c_str(), (folder_ / ".talo-capture-t1/captured").c_str());
    EXPECT_FALSE(recoverCapture(place_.get(), "evil", evil, "t1"));
    EXPECT_FALSE(exists(folder_ / "evil"));
    EXPECT_EQ(leftovers(), 0);
}

TEST_F(Removal, putsBackWhatAKillLeftAndWasNotMeant)
{
    const Identity evil = identity("evil");
    mkdir((folder_ / ".talo-capture-t1").c_str(), 0700);
    writeFile(folder_ / ".talo-capture-t1/captured", "GOOD");
    unlink((folder_ / "evil").c_str());
    EXPECT_FALSE(recoverCapture(place_.get(), "evil", evil, "t1"));
    EXPECT_EQ(readFile(folder_ / "evil"), "GOOD");
    EXPECT_EQ(leftovers(), 0);
}

TEST_F(Removal, keepsWhatCannotBePutBackAndSaysWhere)
{
    Identity other = identity("evil");
    other.inode = ~other.inode; // no other file has got that one
    mkdir((folder_ / ".talo-capture-t1").c_str(), 0700);
    writeFile(folder_ / ".talo-capture-t1/captured", "GOOD");
    const auto error = recoverCapture(place_.get(), "evil", other, "t1");
    ASSERT_TRUE(error);
    EXPECT_NE(error->text.find(".talo-capture-t1"), std::string::npos);
    EXPECT_EQ(readFile(folder_ / "evil"), "EVIL");
    EXPECT_EQ(readFile(folder_ / ".talo-capture-t1/captured"), "GOOD");
}

TEST_F(Removal, hasNothingToRecoverMostly)
{
    EXPECT_FALSE(recoverCapture(place_.get(), "evil", identity("evil"), "t1"));
    EXPECT_EQ(readFile(folder_ / "evil"), "EVIL");
}
