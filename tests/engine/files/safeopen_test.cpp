#include "engine/files/sandbox.h"
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

class SafeOpen : public testing::Test
{
protected:
    TempFolder folder_;
};

} // namespace

TEST_F(SafeOpen, opensAFileReadOnlyAndTellsWhatItIs)
{
    writeFile(folder_ / "a", "text");
    const auto file = openForReading(AT_FDCWD, folder_ / "a");
    ASSERT_TRUE(file);
    EXPECT_TRUE(S_ISREG(file->status.st_mode));
    EXPECT_EQ(file->status.st_size, 4);
    const int flags = fcntl(file->fd.get(), F_GETFL);
    EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
    EXPECT_NE(flags & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(file->fd.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(SafeOpen, followsNoLinkAtTheEndOrOnTheWay)
{
    mkdir((folder_ / "d").c_str(), 0755);
    writeFile(folder_ / "d/a", "text");
    ASSERT_EQ(symlink("d/a", (folder_ / "file").c_str()), 0);
    ASSERT_EQ(symlink("d", (folder_ / "way").c_str()), 0);
    EXPECT_EQ(openForReading(AT_FDCWD, folder_ / "file").error().code, ELOOP);
    EXPECT_EQ(openForReading(AT_FDCWD, folder_ / "way/a").error().code, ELOOP);
    EXPECT_FALSE(openFolder(AT_FDCWD, folder_ / "way"));
    EXPECT_FALSE(openFolderAsPlace(AT_FDCWD, folder_ / "way"));
    EXPECT_FALSE(openForReading(AT_FDCWD, "/proc/self/fd/0"));
}

TEST_F(SafeOpen, doesNotBlockOnANamedPipe)
{
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    alarm(10); // ends the test where it would hang
    const auto pipe = openForReading(AT_FDCWD, folder_ / "pipe");
    alarm(0);
    ASSERT_TRUE(pipe);
    EXPECT_TRUE(S_ISFIFO(pipe->status.st_mode));
}

TEST_F(SafeOpen, opensFoldersOnlyAsFolders)
{
    writeFile(folder_ / "a", "");
    EXPECT_TRUE(openFolder(AT_FDCWD, folder_.path()));
    EXPECT_EQ(openFolder(AT_FDCWD, folder_ / "a").error().code, ENOTDIR);
    EXPECT_FALSE(openFolderAsPlace(AT_FDCWD, folder_ / "a"));
}

TEST_F(SafeOpen, leavesTheAccessTimeAlone)
{
    writeFile(folder_ / "a", "text");
    const timespec old[2] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / "a").c_str(), old, 0), 0);
    const auto file = openForReading(AT_FDCWD, folder_ / "a");
    char byte = 0;
    ASSERT_EQ(read(file->fd.get(), &byte, 1), 1);
    struct stat status = {};
    stat((folder_ / "a").c_str(), &status);
    EXPECT_EQ(status.st_atim.tv_sec, 1000);
}

TEST_F(SafeOpen, opensOthersFilesToo)
{
    writeFile(folder_ / "a", "text");
    // Only an owner may leave the access time alone; anyone else reads all the same.
    EXPECT_EQ(asNobody([&] {
                  return std::string(openForReading(AT_FDCWD, folder_ / "a") ? "read" : "refused");
              }),
              "read");
}

TEST_F(SafeOpen, saysInPlainWordsWhatIsWrong)
{
    EXPECT_EQ(openForReading(AT_FDCWD, folder_ / "none").error().text, "it does not exist");
    EXPECT_EQ(openForReading(AT_FDCWD, std::string("a\0b", 3)).error().text,
              "its name holds a zero byte");
    if (!isRoot())
        GTEST_SKIP() << "the rest needs root";
    writeFile(folder_ / "secret", "");
    chmod((folder_ / "secret").c_str(), 0600);
    EXPECT_EQ(asNobody([&] { return openForReading(AT_FDCWD, folder_ / "secret").error().text; }),
              "permission denied");
}

TEST_F(SafeOpen, followsLinksOnceToFindARoot)
{
    mkdir((folder_ / "d").c_str(), 0755);
    ASSERT_EQ(symlink("d", (folder_ / "way").c_str()), 0);
    EXPECT_EQ(*canonicalPath(folder_ / "way/../way"), folder_ / "d");
    EXPECT_EQ(canonicalPath(folder_ / "none").error().code, ENOENT);
}
