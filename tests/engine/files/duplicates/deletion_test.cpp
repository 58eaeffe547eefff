#include "engine/files/sandbox.h"
#include "files/duplicates/deletion.h"
#include "files/duplicates/tree.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

const ProtectedPlaces kNoPlaces({});

class DuplicateDeletion : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char *name : {"a", "b", "c"})
            writeFile(folder_ / name, "same");
    }

    GroupMember member(const std::string &name, Wish wish) const
    {
        const std::string path = folder_ / name;
        struct stat status = {};
        if (stat(path.c_str(), &status) != 0)
            return {path, wish, std::nullopt};
        return {path, wish,
                SeenFile{identityOf(status), static_cast<std::uint64_t>(status.st_size),
                         timesStamp(status)}};
    }

    // Of two members, of which the second is to go: why it did not, or "deleted".
    std::string fateOf(const GroupMember &stays, const GroupMember &goes,
                       const ProtectedPlaces &places = kNoPlaces) const
    {
        const auto fates = thinGroup({stays, goes}, places);
        const bool gone = fates[1].fate == Fate::Deleted;
        EXPECT_EQ(gone, !exists(goes.path));
        EXPECT_EQ(leftovers(), 0);
        return gone ? "deleted" : fates[1].reason.text;
    }
    std::string deleteB(const ProtectedPlaces &places = kNoPlaces) const
    {
        return fateOf(member("a", Wish::Keep), member("b", Wish::Delete), places);
    }

    int leftovers() const
    {
        int count = 0;
        for (const auto &entry : std::filesystem::directory_iterator(folder_.path()))
            count += entry.path().filename().string().rfind(".talo", 0) == 0;
        return count;
    }

    TempFolder folder_;
};

} // namespace

TEST_F(DuplicateDeletion, deletesACopyThatIsListed)
{
    EXPECT_EQ(deleteB(), "deleted");
    EXPECT_EQ(readFile(folder_ / "a"), "same");
}

TEST_F(DuplicateDeletion, keepsTheFirstWhereAllAreListed)
{
    const auto fates =
        thinGroup({member("a", Wish::Delete), member("b", Wish::Delete), member("c", Wish::Delete)},
                  kNoPlaces);
    EXPECT_EQ(fates[0].fate, Fate::Kept);
    EXPECT_EQ(fates[1].fate, Fate::Deleted);
    EXPECT_EQ(fates[2].fate, Fate::Deleted);
    EXPECT_EQ(readFile(folder_ / "a"), "same");
}

TEST_F(DuplicateDeletion, keepsTheNextWhereTheFirstIsGone)
{
    const GroupMember a = member("a", Wish::Delete);
    unlink(a.path.c_str());
    const auto fates =
        thinGroup({a, member("b", Wish::Delete), member("c", Wish::Delete)}, kNoPlaces);
    EXPECT_EQ(fates[0].fate, Fate::Refused);
    EXPECT_EQ(fates[1].fate, Fate::Kept);
    EXPECT_EQ(fates[2].fate, Fate::Deleted);
    EXPECT_EQ(readFile(folder_ / "b"), "same");
}

TEST_F(DuplicateDeletion, comparesWithEachCopyThatStays)
{
    writeFile(folder_ / "c", "else");
    const auto fates = thinGroup(
        {member("c", Wish::Keep), member("a", Wish::Keep), member("b", Wish::Delete)}, kNoPlaces);
    EXPECT_EQ(fates[2].fate, Fate::Deleted);
}

TEST_F(DuplicateDeletion, needsNothingButTheContentWhereNoSearchSawTheFile)
{
    const GroupMember a{folder_ / "a", Wish::Keep, std::nullopt};
    writeFile(folder_ / "c", "samf");
    EXPECT_EQ(fateOf(a, {folder_ / "c", Wish::Delete, std::nullopt}),
              "it is no longer equal to the copy that would stay");
    EXPECT_EQ(fateOf(a, {folder_ / "b", Wish::Delete, std::nullopt}), "deleted");
}

TEST_F(DuplicateDeletion, refusesWhatChanged)
{
    const GroupMember a = member("a", Wish::Keep);
    const GroupMember b = member("b", Wish::Delete);
    writeFile(b.path, "samx");
    EXPECT_EQ(fateOf(a, b), "it changed after the search");
    unlink(b.path.c_str());
    EXPECT_EQ(symlink("a", b.path.c_str()), 0);
    EXPECT_EQ(thinGroup({a, b}, kNoPlaces)[1].fate, Fate::Refused);
    unlink(b.path.c_str());
    mkfifo(b.path.c_str(), 0600);
    EXPECT_EQ(fateOf(a, b), "it is no longer a regular file");
    const GroupMember c = member("c", Wish::Delete);
    writeFile(a.path, "samy");
    EXPECT_EQ(fateOf(a, c), "of the copy that would stay: it changed after the search");
    unlink(a.path.c_str());
    EXPECT_EQ(fateOf(a, c), "of the copy that would stay: it does not exist");
}

TEST_F(DuplicateDeletion, refusesAnotherNameOfTheCopyThatStays)
{
    unlink((folder_ / "b").c_str());
    ASSERT_EQ(link((folder_ / "a").c_str(), (folder_ / "b").c_str()), 0);
    EXPECT_EQ(deleteB(), "it is the same file as the copy that would stay");
}

TEST_F(DuplicateDeletion, refusesWhileSomebodyHasEitherFileOpenForWriting)
{
    {
        const UniqueFd writer(open((folder_ / "b").c_str(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(deleteB(), "it is being written to");
    }
    {
        const UniqueFd writer(open((folder_ / "a").c_str(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(deleteB(), "the copy that would stay is being written to");
    }
    EXPECT_EQ(deleteB(), "deleted");
}

TEST_F(DuplicateDeletion, refusesProtectedPlacesHoweverTheyAreReached)
{
    mkdir((folder_ / "product").c_str(), 0755);
    mkdir((folder_ / "product/deep").c_str(), 0755);
    ASSERT_EQ(symlink("product", (folder_ / "link").c_str()), 0);
    writeFile(folder_ / "product/deep/x", "same");
    const ProtectedPlaces places({folder_ / "link", folder_ / "none"});
    const GroupMember a = member("a", Wish::Keep);
    EXPECT_EQ(fateOf(a, member("product/deep/x", Wish::Delete), places),
              "it belongs to this product");
    EXPECT_EQ(
        fateOf(a, {folder_ / "product/../product/deep/x", Wish::Delete, std::nullopt}, places),
        "it belongs to this product");
    EXPECT_EQ(deleteB(places), "deleted");
}

TEST_F(DuplicateDeletion, refusesFilesOfOtherUsers)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to give a file away";
    ASSERT_EQ(chown((folder_ / "b").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(deleteB(), "it belongs to another user");
}

TEST_F(DuplicateDeletion, refusesOnAReadOnlyFileSystem)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    EXPECT_EQ(withOwnMounts([this]() -> std::string {
                  const char *path = folder_.path().c_str();
                  if (mount(path, path, nullptr, MS_BIND, nullptr) ||
                      mount(path, path, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr))
                      return "cannot mount";
                  return deleteB();
              }),
              "the file system is read-only");
}

TEST_F(DuplicateDeletion, losesNothingWhenTwoDeleteEachOthersCopies)
{
    int deleted = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
        for (const char *name : {"a", "b"})
            writeFile(folder_ / name, "same");
        const GroupMember a{folder_ / "a", Wish::Delete, std::nullopt};
        const GroupMember b{folder_ / "b", Wish::Delete, std::nullopt};
        std::atomic<int> ready{0};
        const auto thin = [&](GroupMember stays, const GroupMember &goes) {
            stays.wish = Wish::Keep;
            ++ready;
            while (ready < 2) {
            }
            return thinGroup({stays, goes}, kNoPlaces)[1].fate == Fate::Deleted;
        };
        bool goneB = false;
        std::thread other([&] { goneB = thin(a, b); });
        const bool goneA = thin(b, a);
        other.join();
        ASSERT_FALSE(goneA && goneB);
        ASSERT_TRUE(exists(a.path) || exists(b.path));
        deleted += goneA || goneB;
    }
    EXPECT_GT(deleted, 0);
}

// Somebody exchanges the copy, and the folder it lies in, all the time.
TEST_F(DuplicateDeletion, losesNoOtherFileThatTookTheName)
{
    mkdir((folder_ / "victim").c_str(), 0755);
    writeFile(folder_ / "victim/f", "MINE");
    mkdir((folder_ / "d").c_str(), 0755);
    ASSERT_EQ(symlink("victim", (folder_ / "link").c_str()), 0);
    std::atomic<bool> end{false};
    std::thread attacker([&] {
        const auto exchange = [&](const std::string &one, const std::string &other) {
            renameat2(AT_FDCWD, (folder_ / one).c_str(), AT_FDCWD, (folder_ / other).c_str(),
                      RENAME_EXCHANGE);
        };
        writeFile(folder_ / "d/other", "GOOD");
        while (!end) {
            exchange("d/f", "d/other");
            exchange("d", "link");
            exchange("d/f", "d/other");
            exchange("d", "link");
        }
    });
    int deleted = 0;
    const GroupMember a{folder_ / "a", Wish::Keep, std::nullopt};
    const GroupMember f{folder_ / "d/f", Wish::Delete, std::nullopt};
    const auto last = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (std::chrono::steady_clock::now() < last) {
        const UniqueFd made(open(f.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0644));
        if (made) {
            EXPECT_EQ(write(made.get(), "same", 4), 4);
        }
        deleted += thinGroup({a, f}, kNoPlaces)[1].fate == Fate::Deleted;
    }
    end = true;
    attacker.join();
    EXPECT_GT(deleted, 0);
    int good = 0;
    int mine = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder_.path())) {
        if (!entry.is_regular_file() || entry.is_symlink())
            continue;
        good += readFile(entry.path()) == "GOOD";
        mine += readFile(entry.path()) == "MINE";
    }
    EXPECT_EQ(good, 1);
    EXPECT_EQ(mine, 1);
    EXPECT_EQ(readFile(folder_ / "a"), "same");
}

TEST_F(DuplicateDeletion, leavesEveryContentInItsPlaceWhenKilled)
{
    constexpr int kGroups = 300;
    for (int round = 0; round < 15; ++round) {
        for (int i = 0; i < kGroups; ++i) {
            for (const char *name : {"x", "y"})
                writeFile(folder_ / (name + std::to_string(i)), "content " + std::to_string(i));
        }
        const pid_t child = fork();
        if (child == 0) {
            for (int i = 0; i < kGroups; ++i)
                thinGroup({{folder_ / ("x" + std::to_string(i)), Wish::Delete, std::nullopt},
                           {folder_ / ("y" + std::to_string(i)), Wish::Delete, std::nullopt}},
                          kNoPlaces);
            _exit(0);
        }
        // Once it has begun, in the midst of it.
        while (exists(folder_ / "y0") && waitpid(child, nullptr, WNOHANG) == 0) {
        }
        usleep(static_cast<useconds_t>(round) * 300);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (int i = 0; i < kGroups; ++i)
            ASSERT_EQ(readFile(folder_ / ("x" + std::to_string(i))),
                      "content " + std::to_string(i));
    }
}
