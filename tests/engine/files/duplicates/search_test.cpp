#include "engine/files/sandbox.h"
#include "files/duplicates/content.h"
#include "files/duplicates/groupkey.h"
#include "files/duplicates/localmount.h"
#include "files/duplicates/search.h"
#include "files/duplicates/treewalk.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

class DuplicateSearch : public testing::Test
{
protected:
    // Groups as "a b, c d", without the folder, in the order of the result.
    std::string found(const std::string &below = {}) const
    {
        const auto groups = findDuplicates(folder_.path() + below, {});
        if (!groups)
            return groups.error().text;
        std::string text;
        for (const DuplicateGroup &group : *groups) {
            text += text.empty() ? "" : ", ";
            for (const Copy &copy : group.copies)
                text += (copy.path == group.copies.front().path ? "" : " ") +
                        copy.path.substr(folder_.path().size() + 1);
        }
        return text;
    }

    void setTime(const std::string &name, time_t seconds) const
    {
        const struct timespec times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / name).c_str(), times, 0), 0);
    }

    TempFolder folder_;
};

} // namespace

TEST_F(DuplicateSearch, listsTheOldestCopyFirstAndTheLargestGroupFirst)
{
    for (const char *name : {"a", "b", "c"})
        writeFile(folder_ / name, "small");
    for (const char *name : {"x", "y"})
        writeFile(folder_ / name, std::string(100, 'l'));
    setTime("a", 300);
    setTime("b", 100);
    setTime("c", 200);
    setTime("x", 100);
    setTime("y", 100);
    EXPECT_EQ(found(), "x y, b c a");
}

TEST_F(DuplicateSearch, leavesOutWhatIsNoFileOfItsOwn)
{
    writeFile(folder_ / "a", "same");
    ASSERT_EQ(link((folder_ / "a").c_str(), (folder_ / "hard").c_str()), 0);
    ASSERT_EQ(symlink("a", (folder_ / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (folder_ / "socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    if (isRoot()) {
        ASSERT_EQ(mknod((folder_ / "device").c_str(), S_IFCHR | 0600, makedev(1, 5)), 0);
    }
    for (const char *name : {"empty1", "empty2"})
        writeFile(folder_ / name, "");
    mkdir((folder_ / "other").c_str(), 0755);
    ASSERT_EQ(symlink("other", (folder_ / "folderlink").c_str()), 0);
    writeFile(folder_ / "other/b", "same size, not here");
    EXPECT_EQ(found(), "");
    writeFile(folder_ / "other/c", "same");
    EXPECT_EQ(found(), "a other/c");
}

TEST_F(DuplicateSearch, tellsFilesApartThatDifferInOneByteAnywhere)
{
    for (const std::size_t size : {std::size_t{5000}, std::size_t{40000}, std::size_t{9} << 20u,
                                   static_cast<std::size_t>(kSegment) + 5000}) {
        std::string content(size, 'x');
        writeFile(folder_ / "a", content);
        writeFile(folder_ / "b", content);
        ASSERT_EQ(found(), "a b") << size;
        for (const std::size_t at : {std::size_t{0}, size / 3, size - 4500, size - 1}) {
            content[at] = 'y';
            writeFile(folder_ / "b", content);
            ASSERT_EQ(found(), "") << size << " " << at;
            content[at] = 'x';
        }
    }
}

TEST_F(DuplicateSearch, readsHolesAsZeroes)
{
    writeFile(folder_ / "full", std::string(100000, '\0'));
    writeFile(folder_ / "hole", "");
    ASSERT_EQ(truncate((folder_ / "hole").c_str(), 100000), 0);
    setTime("full", 100);
    EXPECT_EQ(found(), "full hole");
}

TEST_F(DuplicateSearch, passesOverWhatCannotBeRead)
{
    for (const char *name : {"a", "b", "secret"})
        writeFile(folder_ / name, "same");
    mkdir((folder_ / "closed").c_str(), 0755);
    writeFile(folder_ / "closed/c", "same");
    for (const char *name : {"secret", "closed"})
        chmod((folder_ / name).c_str(), 0);
    for (const char *name : {"a", "b"})
        setTime(name, 100);
    EXPECT_EQ(asNobody([this] { return found(); }), "a b");
}

TEST_F(DuplicateSearch, saysWhyAFolderCannotBeSearched)
{
    EXPECT_EQ(found("/none"), "it does not exist");
    writeFile(folder_ / "file", "text");
    EXPECT_EQ(found("/file"), "it is not a folder, or lies below something that is none");
}

TEST_F(DuplicateSearch, givesPathsWithoutLinksInThem)
{
    mkdir((folder_ / "real").c_str(), 0755);
    writeFile(folder_ / "real/a", "same");
    writeFile(folder_ / "real/b", "same");
    setTime("real/a", 100);
    ASSERT_EQ(symlink("real", (folder_ / "link").c_str()), 0);
    EXPECT_EQ(found("/link"), "real/a real/b");
}

TEST_F(DuplicateSearch, goesToPathsLongerThanTheSystemTakes)
{
    UniqueFd at(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
    const std::string name(200, 'd');
    for (int depth = 0; depth < 60; ++depth) {
        ASSERT_EQ(mkdirat(at.get(), name.c_str(), 0755), 0);
        at.reset(openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
    }
    const UniqueFd deep(openat(at.get(), "deep", O_WRONLY | O_CREAT, 0644));
    ASSERT_EQ(write(deep.get(), "same", 4), 4);
    writeFile(folder_ / "top", "same");
    const auto groups = findDuplicates(folder_.path(), {});
    ASSERT_TRUE(groups);
    ASSERT_EQ(groups->size(), 1u);
    EXPECT_EQ((*groups)[0].copies.size(), 2u);
}

TEST_F(DuplicateSearch, dropsAFileThatGrowsMeanwhile)
{
    writeFile(folder_ / "log", std::string(64, 'x'));
    writeFile(folder_ / "a", std::string(64, 'x'));
    writeFile(folder_ / "b", std::string(64, 'x'));
    setTime("a", 100);
    setTime("b", 100);
    std::atomic<bool> grows{false};
    std::atomic<bool> end{false};
    std::thread writer([&] {
        const UniqueFd log(open((folder_ / "log").c_str(), O_WRONLY | O_APPEND));
        while (!end && write(log.get(), "x", 1) == 1)
            grows = true;
    });
    while (!grows)
        std::this_thread::yield();
    const std::string groups = found();
    end = true;
    writer.join();
    EXPECT_EQ(groups, "a b");
}

TEST_F(DuplicateSearch, noticesAChangeBetweenAnyTwoLooks)
{
    writeFile(folder_ / "a", std::string(50000, 'x'));
    Tree tree(UniqueFd(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY)), folder_.path());
    Crew crew({});
    walkTree(tree, crew, 2);
    ASSERT_EQ(tree.files.size(), 1u);
    ContentReader reader(tree);
    EXPECT_TRUE(reader.firstLook(tree.files[0]));
    EXPECT_TRUE(reader.segment(tree.files[0], 0));
    EXPECT_TRUE(modifiedIfUnchanged(tree, tree.files[0]));
    const std::string path = folder_ / "a";
    ASSERT_EQ(rename(path.c_str(), (folder_ / "moved").c_str()), 0);
    writeFile(path, std::string(50000, 'x'));
    EXPECT_FALSE(reader.firstLook(tree.files[0]));
    EXPECT_FALSE(reader.segment(tree.files[0], 0));
    EXPECT_FALSE(modifiedIfUnchanged(tree, tree.files[0]));
}

TEST_F(DuplicateSearch, noticesGrowthBetweenAnyTwoLooks)
{
    const std::string path = folder_ / "log";
    writeFile(path, std::string(50000, 'x'));
    Tree tree(UniqueFd(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY)), folder_.path());
    Crew crew({});
    walkTree(tree, crew, 2);
    ASSERT_EQ(tree.files.size(), 1u);
    ContentReader reader(tree);
    EXPECT_TRUE(reader.firstLook(tree.files[0]));
    const UniqueFd log(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    ASSERT_EQ(write(log.get(), "x", 1), 1);
    EXPECT_FALSE(reader.firstLook(tree.files[0]));
    EXPECT_FALSE(reader.segment(tree.files[0], 0));
    EXPECT_FALSE(modifiedIfUnchanged(tree, tree.files[0]));
}

TEST_F(DuplicateSearch, tellsOfItsWorkTenTimesASecondOnTheCallersThread)
{
    for (int i = 0; i < 3000; ++i)
        writeFile(folder_ / std::to_string(i), std::string(100, 'x') + std::to_string(i % 50));
    const auto caller = std::this_thread::get_id();
    int told = 0;
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(findDuplicates(folder_.path(), [&](const std::string &path) {
        ++told;
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(path.rfind(folder_.path(), 0), 0u) << path;
    }));
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(told, 1);
    EXPECT_LE(told, 1 + time.count() * 10);
}

TEST_F(DuplicateSearch, crossesIntoLocalDrivesAndNotIntoTheKernel)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    for (const char *name : {"drive", "proc"})
        mkdir((folder_ / name).c_str(), 0755);
    writeFile(folder_ / "a", "same");
    setTime("a", 100);
    EXPECT_EQ(withOwnMounts([this]() -> std::string {
                  if (mount("none", (folder_ / "drive").c_str(), "tmpfs", 0, nullptr) ||
                      mount("none", (folder_ / "proc").c_str(), "proc", 0, nullptr))
                      return "cannot mount";
                  writeFile(folder_ / "drive/b", "same");
                  Tree tree(UniqueFd(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY)),
                            folder_.path());
                  Crew crew({});
                  walkTree(tree, crew, 4);
                  return found() + "; " + std::to_string(tree.files.size()) + " files";
              }),
              "a drive/b; 2 files");
}

TEST(LocalMount, knowsDrivesByTheSystemsTables)
{
    constexpr char kMounts[] = "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                               "22 21 0:5 / /proc rw - proc proc rw\n"
                               "23 21 0:9 / /mnt rw master:3 shared:9 - nfs4 server:/ rw\n"
                               "24 21 0:7 / /tmp rw - tmpfs none rw\n"
                               "2 1 8:9 / /odd rw\n";
    constexpr char kTypes[] = "nodev\tproc\nnodev\ttmpfs\n\text4\nnodev\tnfs4\n";
    EXPECT_TRUE(isLocalMount(21, kMounts, kTypes));
    EXPECT_FALSE(isLocalMount(22, kMounts, kTypes));
    EXPECT_FALSE(isLocalMount(23, kMounts, kTypes));
    EXPECT_TRUE(isLocalMount(24, kMounts, kTypes));
    EXPECT_FALSE(isLocalMount(2, kMounts, kTypes));
    EXPECT_FALSE(isLocalMount(99, kMounts, kTypes));
}

TEST(GroupKey, isReadableAndSortsByRank)
{
    DuplicateGroup group;
    group.size = 4200000;
    for (const char *path : {"/home/ada/IMG_2034.jpg", "/a", "/b"})
        group.copies.push_back({path, {}, {}, 0});
    EXPECT_EQ(groupKey(1, 9, group), "0001  IMG_2034.jpg  3 copies of 4.2 MB");
    EXPECT_EQ(groupKey(2, 12345, group), "00002  IMG_2034.jpg  3 copies of 4.2 MB");
    group.copies[0].path = "/x/a\nb\xE9\x1B[2J";
    EXPECT_EQ(groupKey(7, 9, group), "0007  a\\nb\\xE9\\x1B[2J  3 copies of 4.2 MB");
}

TEST(GroupKey, showsSizesInThreeDigits)
{
    EXPECT_EQ(readableSize(1), "1 byte");
    EXPECT_EQ(readableSize(999), "999 bytes");
    EXPECT_EQ(readableSize(1000), "1.0 KB");
    EXPECT_EQ(readableSize(99940), "99.9 KB");
    EXPECT_EQ(readableSize(326000000), "326 MB");
    EXPECT_EQ(readableSize(999600), "1.0 MB");
    EXPECT_EQ(readableSize(~std::uint64_t{0}), "18.4 EB");
}
