// What is shredded, what is refused, and that a refused file is as it was.
#include "engine/files/sandbox.h"
#include "files/shred.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

const std::string kContent(10000, 'x');

std::string stampOf(const std::string &path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
        return "gone";
    const auto time = [](const struct timespec &at) {
        return std::to_string(at.tv_sec) + "." + std::to_string(at.tv_nsec) + " ";
    };
    return std::to_string(status.st_ino) + " " + std::to_string(status.st_size) + " " +
           time(status.st_mtim) + time(status.st_ctim) + time(status.st_atim);
}

class Shred : public testing::Test
{
protected:
    void SetUp() override
    {
        mkdir((folder_ / "inside").c_str(), 0755);
        writeFile(file_, kContent);
    }

    static ShredFault faultOf(const std::string &path, ShredSettings settings = {})
    {
        return FileShredder(std::move(settings)).shred(path).fault;
    }

    // The fault, unless anything has changed about the file.
    int refused(const std::string &path, ShredSettings settings = {}) const
    {
        const std::string before = stampOf(file_);
        const ShredResult result = FileShredder(std::move(settings)).shred(path);
        EXPECT_NE(result.text, "");
        EXPECT_EQ(stampOf(file_), before);
        EXPECT_TRUE(readFile(file_) == kContent);
        return static_cast<int>(result.fault);
    }

    TempFolder folder_;
    const std::string place_ = folder_ / "inside";
    const std::string file_ = place_ + "/file";
};

bool setFlag(const std::string &path, unsigned flag, bool on)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    unsigned flags = 0;
    bool done = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? flags | flag : flags & ~flag;
    done = done && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    close(fd);
    return done;
}

} // namespace

TEST_F(Shred, TakesTheFileAndLeavesTheFolderEmpty)
{
    EXPECT_EQ(faultOf(file_), ShredFault::None);
    EXPECT_TRUE(std::filesystem::is_empty(place_));
}

TEST_F(Shred, OverwritesWhatOthersStillHoldOpen)
{
    const int held = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    std::string seen(kContent.size(), '\0');
    bool compared = false;
    FileShredder shredder({1, {}});
    const ShredResult result = shredder.shred(file_, [&](long long written, long long planned) {
        if (written != planned)
            return;
        compared = true;
        EXPECT_EQ(pread(held, seen.data(), seen.size(), 0), static_cast<ssize_t>(seen.size()));
    });
    close(held);
    EXPECT_EQ(result.fault, ShredFault::None);
    EXPECT_TRUE(compared);
    EXPECT_EQ(seen.find(std::string(8, 'x')), std::string::npos);
    EXPECT_LT(std::count(seen.begin(), seen.end(), '\0'), 200);
}

TEST_F(Shred, CountsTheBytesOfAllPasses)
{
    std::vector<long long> steps;
    FileShredder shredder({3, {}});
    const ShredResult result = shredder.shred(file_, [&](long long written, long long planned) {
        EXPECT_EQ(planned, 3 * 12288); // up to the end of the last block
        if (steps.empty() || steps.back() != written)
            steps.push_back(written);
    });
    EXPECT_EQ(result.fault, ShredFault::None);
    EXPECT_EQ(steps, (std::vector<long long>{0, 12288, 2LL * 12288, 3LL * 12288}));
}

TEST_F(Shred, TakesEmptyFilesAndThoseOfManyPieces)
{
    for (const long long size : {0LL, 1LL, 4096LL, (4LL << 20) - 1, (4LL << 20) + 1, 50LL << 20}) {
        writeFile(file_, std::string(static_cast<std::size_t>(size), 'x'));
        long long last = -1;
        EXPECT_EQ(FileShredder({2, {}})
                      .shred(file_, [&](long long written, long long) { last = written; })
                      .fault,
                  ShredFault::None)
            << size;
        EXPECT_EQ(last, (size + 4095) / 4096 * 4096 * 2);
        EXPECT_FALSE(exists(file_));
    }
}

TEST_F(Shred, TakesNamesOfAnyKind)
{
    for (const std::string &name : {std::string(255, 'n'), std::string("a"), std::string("-rf"),
                                    std::string("new\nline"), std::string("\xff\xfe")}) {
        writeFile(place_ + "/" + name, kContent);
        EXPECT_EQ(faultOf(place_ + "/" + name), ShredFault::None) << name;
        EXPECT_FALSE(exists(place_ + "/" + name));
    }
    EXPECT_TRUE(readFile(file_) == kContent);
}

TEST_F(Shred, DoesNotFindWhatIsNotThere)
{
    for (const std::string &path :
         {place_ + "/other", folder_ / "no/file", file_ + "/below", std::string(),
          place_ + "/" + std::string(300, 'n'), file_ + std::string("\0x", 2)})
        EXPECT_EQ(refused(path), 1) << path;
}

TEST_F(Shred, RefusesWhatIsNoRegularFile)
{
    EXPECT_EQ(refused(place_), 2);
    EXPECT_EQ(refused(place_ + "/"), 2);
    EXPECT_EQ(refused(place_ + "/."), 2);
    EXPECT_EQ(refused(place_ + "/.."), 2);
    EXPECT_EQ(refused("/dev/null"), 2);
    const std::string pipe = place_ + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(refused(pipe), 2);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (place_ + "/socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(server, reinterpret_cast<struct sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(refused(place_ + "/socket"), 2);
    close(server);
}

TEST_F(Shred, FollowsNoLink)
{
    ASSERT_EQ(symlink("file", (place_ + "/link").c_str()), 0);
    ASSERT_EQ(symlink("inside", (folder_ / "way").c_str()), 0);
    EXPECT_EQ(refused(place_ + "/link"), 2);
    EXPECT_EQ(refused(folder_ / "way/file"), 2);
    EXPECT_TRUE(exists(place_ + "/link"));
    const int held = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(refused("/proc/self/fd/" + std::to_string(held)), 2);
    close(held);
}

TEST_F(Shred, RefusesAFileOfSeveralNames)
{
    ASSERT_EQ(link(file_.c_str(), (place_ + "/second").c_str()), 0);
    EXPECT_EQ(refused(file_), 4);
    EXPECT_EQ(refused(place_ + "/second"), 4);
}

TEST_F(Shred, RefusesTheProductsFilesHoweverTheyAreReached)
{
    const ShredSettings settings{1, {place_}};
    EXPECT_EQ(refused(file_, settings), 6);
    EXPECT_EQ(refused(folder_ / "inside/../inside/file", settings), 6);
    EXPECT_EQ(refused(place_ + "/missing", settings), 6);
    ASSERT_EQ(rename(place_.c_str(), (folder_ / "elsewhere").c_str()), 0);
    ASSERT_EQ(symlink("elsewhere", place_.c_str()), 0);
    EXPECT_EQ(refused(folder_ / "elsewhere/file", settings), 6);
    writeFile(folder_ / "insider", "x"); // beside it, with a name that begins alike
    EXPECT_EQ(faultOf(folder_ / "insider", settings), ShredFault::None);
}

TEST_F(Shred, RefusesTheProductsFilesBehindAMount)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    mkdir((place_ + "/deep").c_str(), 0755);
    mkdir((folder_ / "other").c_str(), 0755);
    writeFile(place_ + "/deep/file", "x");
    for (const std::string &source : {place_, place_ + "/deep"})
        EXPECT_EQ(withOwnMounts([&]() -> std::string {
                      if (mount(source.c_str(), (folder_ / "other").c_str(), nullptr, MS_BIND,
                                nullptr) != 0)
                          return "cannot mount";
                      return std::to_string(refused(folder_ / "other/file", {1, {place_}}));
                  }),
                  "6")
            << source;
    EXPECT_EQ(readFile(place_ + "/deep/file"), "x");
}

TEST_F(Shred, RefusesWhatIsMountedOverOrReadOnly)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    writeFile(folder_ / "target", "x");
    EXPECT_EQ(
        withOwnMounts([&]() -> std::string {
            if (mount(file_.c_str(), (folder_ / "target").c_str(), nullptr, MS_BIND, nullptr) != 0)
                return "cannot mount";
            return std::to_string(refused(folder_ / "target"));
        }),
        "3");
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount(place_.c_str(), place_.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
                      mount(nullptr, place_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY,
                            nullptr) != 0)
                      return "cannot mount";
                  return std::to_string(refused(file_));
              }),
              "3");
}

TEST_F(Shred, RefusesWhatTheCallerMayNotChange)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to be somebody else";
    const auto asOther = [&] { return asNobody([&] { return std::to_string(refused(file_)); }); };
    EXPECT_EQ(asOther(), "3"); // neither the file nor the folder
    chmod(file_.c_str(), 0666);
    EXPECT_EQ(asOther(), "3"); // not the folder
    chmod(file_.c_str(), 0644);
    chmod(place_.c_str(), 0777);
    EXPECT_EQ(asOther(), "3"); // not the file
    chmod(file_.c_str(), 0666);
    chmod(place_.c_str(), 01777);
    EXPECT_EQ(asOther(), "3"); // not what is another's in a shared folder
    chmod(place_.c_str(), 0777);
    EXPECT_EQ(asNobody([&] { return std::to_string(static_cast<int>(faultOf(file_))); }), "0");
}

TEST_F(Shred, ManagesInAFolderThatMayNotBeRead)
{
    chmod(file_.c_str(), 0666);
    chmod(place_.c_str(), 0333);
    EXPECT_EQ(asNobody([&] { return std::to_string(static_cast<int>(faultOf(file_))); }), "0");
    chmod(place_.c_str(), 0755);
    EXPECT_FALSE(exists(file_));
}

TEST_F(Shred, RefusesWhatIsMarkedUnchangeable)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mark files";
    for (const std::string &marked : {file_, place_})
        for (const unsigned flag : {unsigned{FS_IMMUTABLE_FL}, unsigned{FS_APPEND_FL}}) {
            if (!setFlag(marked, flag, true))
                GTEST_SKIP() << "the file system of /tmp knows no such marks";
            EXPECT_EQ(refused(file_), 3) << marked << " " << flag;
            ASSERT_TRUE(setFlag(marked, flag, false));
        }
    EXPECT_EQ(faultOf(file_), ShredFault::None);
}

TEST_F(Shred, RefusesAProgramThatRuns)
{
    std::filesystem::copy_file("/bin/sleep", place_ + "/sleep");
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        execl((place_ + "/sleep").c_str(), "sleep", "100", nullptr);
        _exit(127);
    }
    // The far end closes with the exec.
    close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 0);
    close(ends[0]);
    const std::string before = readFile(place_ + "/sleep");
    EXPECT_EQ(static_cast<int>(faultOf(place_ + "/sleep")), 3);
    EXPECT_EQ(readFile(place_ + "/sleep"), before);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(Shred, RefusesWhatIsLockedOrLeased)
{
    const int held = open(file_.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_SH), 0);
    EXPECT_EQ(refused(file_), 3);
    ASSERT_EQ(flock(held, LOCK_UN), 0);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(held, F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(refused(file_), 3);
    close(held);
    const auto before = std::signal(SIGIO, SIG_IGN); // how a lease's holder is told
    const int leased = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(fcntl(leased, F_SETLEASE, F_RDLCK), 0);
    EXPECT_EQ(refused(file_), 3);
    close(leased);
    std::signal(SIGIO, before);
    EXPECT_EQ(faultOf(file_), ShredFault::None);
}

TEST_F(Shred, LeavesAFileThatSomebodyWritesToListed)
{
    const int held = open(file_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const ShredResult result =
        FileShredder({1, {}}).shred(file_, [&](long long written, long long planned) {
            if (written == planned) {
                EXPECT_EQ(write(held, "more", 4), 4);
            }
        });
    close(held);
    EXPECT_EQ(result.fault, ShredFault::WriteFailed);
    EXPECT_TRUE(exists(file_));
}

TEST_F(Shred, TellsWhereItCannotBeReliedOn)
{
    const std::string file = "/dev/shm/talo-shred-test-" + std::to_string(getpid());
    writeFile(file, kContent);
    const ShredResult result = FileShredder({1, {}}).shred(file);
    EXPECT_EQ(result.fault, ShredFault::None);
    ASSERT_FALSE(result.doubts.empty());
    EXPECT_NE(result.doubts[0].find("tmpfs"), std::string::npos) << result.doubts[0];
}
