// What becomes of the signatures in memory when the machine lacks it.
#include "engine/scan/pool_fixture.h"
#include "scan/memorypressure.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;
using namespace std::chrono_literals;

// As the kernel writes it.
std::string kernelText(const std::string &percent)
{
    return "some avg10=" + percent + " avg60=0.50 avg300=99.00 total=1479853\n" +
           "full avg10=99.00 avg60=1.66 avg300=0.35 total=1479853\n";
}

class MemoryPressure : public testing::Test
{
protected:
    std::string report(const std::string &name, const std::string &text) const
    {
        return folder.write(name, text).string();
    }
    TestFolder folder;
};

TEST_F(MemoryPressure, isTheHighestOfTheReports)
{
    const std::string one = report("one", kernelText("1.25"));
    const std::string two = report("two", kernelText("12.50"));
    EXPECT_EQ(memoryPressure({one}), 1.25);
    EXPECT_EQ(memoryPressure({one, two}), 12.5);
    EXPECT_EQ(memoryPressure({two, one}), 12.5);
    EXPECT_EQ(memoryPressure({}), 0);
}

TEST_F(MemoryPressure, isNoneWhereNothingCanBeRead)
{
    EXPECT_EQ(memoryPressure({(folder.path() / "missing").string(), folder.path().string()}), 0);
    for (const char *text : {"", "some", "some avg10=", "some avg10=much", "full avg10=50.00\n"})
        EXPECT_EQ(memoryPressure({report("odd", text)}), 0) << text;
}

TEST_F(MemoryPressure, isToldByThisKernel)
{
    if (access("/proc/pressure/memory", R_OK) != 0)
        GTEST_SKIP() << "the kernel makes no reports on pressure";
    const auto reports = pressureReports();
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.front(), "/proc/pressure/memory");
    for (const std::string &name : reports)
        EXPECT_EQ(access(name.c_str(), R_OK), 0) << name;
}

class PoolUnderPressure : public MemoryPressure
{
protected:
    void TearDown() override
    {
        EXPECT_TRUE(eventually([] { return descendants().empty(); })) << "left-over processes";
    }
    // Looks often, and would keep the signatures for long otherwise.
    static PoolConfig watching(const std::string &report, const std::string &program = realWorker())
    {
        PoolConfig watching = config(program, 1);
        watching.pressureReports = {report};
        watching.pressureLook = 20ms;
        return watching;
    }
};

TEST_F(PoolUnderPressure, idleSignaturesAreLetGo)
{
    const std::string place = report("memory", kernelText("9.99"));
    WorkerPool pool(watching(place));
    ASSERT_EQ(pool.load(), "");
    ASSERT_TRUE(eventually([] { return processesOf(realWorker()).size() == 2; }));
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(300ms);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 25) << "looking is not for nothing";
    EXPECT_TRUE(pool.signatures().loaded);
    report("memory", kernelText("10.00"));
    EXPECT_TRUE(eventually([&pool] { return !pool.signatures().loaded; }));
    EXPECT_TRUE(eventually([] { return descendants().empty(); }));
}

TEST_F(PoolUnderPressure, aScanLoadsThemAndKeepsThemWhileItLasts)
{
    const std::string place = report("memory", kernelText("80.00"));
    auto brief = watching(place, faultyWorker());
    brief.fileTime = 1s;
    WorkerPool pool(brief);
    const auto hang = folder.write("hang", "TALO-FAULT hang\n");
    const talo::files::UniqueFd file(open(hang.c_str(), O_RDONLY | O_CLOEXEC));
    const auto session = pool.open();
    session->submit(1, file.get(), 16, {});
    ASSERT_TRUE(eventually([&pool] { return pool.signatures().loaded; }));
    std::optional<WorkerPool::Session::Result> result;
    // Looked at before it is known that the file had not ended by then.
    for (bool loaded = true; !(result = session->next(10ms)); loaded = pool.signatures().loaded)
        EXPECT_TRUE(loaded);
    EXPECT_TRUE(matches(result->verdict, VerdictKind::Error, "took longer than 1 second"))
        << describe(result->verdict);
    EXPECT_TRUE(eventually([&pool] { return !pool.signatures().loaded; }));
    EXPECT_EQ(scanOne(pool, folder.write("a", eicar())).kind, VerdictKind::Threat);
}

TEST_F(PoolUnderPressure, aPauseBetweenTwoFilesIsNoReasonToLoadAgain)
{
    auto patient = watching(report("memory", kernelText("80.00")));
    patient.pressureLook = 60s;
    WorkerPool pool(patient);
    ASSERT_EQ(pool.load(), "");
    ASSERT_TRUE(eventually([] { return processesOf(realWorker()).size() == 2; }));
    const pid_t server = processesOf(realWorker()).front();
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(scanOne(pool, folder.write("a", eicar())).kind, VerdictKind::Threat);
    ASSERT_FALSE(processesOf(realWorker()).empty());
    EXPECT_EQ(processesOf(realWorker()).front(), server);
}

// On a drive and not in the page cache, where it would be charged to whoever wrote it.
class LargeFile
{
public:
    LargeFile()
    {
        const talo::files::UniqueFd file(
            open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        const std::string piece(1u << 20, 'x');
        for (int number = 0; number < 64; ++number)
            EXPECT_EQ(write(file.get(), piece.data(), piece.size()),
                      static_cast<ssize_t>(piece.size()));
        EXPECT_EQ(fsync(file.get()), 0);
        EXPECT_EQ(posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED), 0);
    }
    ~LargeFile() { unlink(path_.c_str()); }
    LargeFile(const LargeFile &) = delete;
    LargeFile &operator=(const LargeFile &) = delete;
    const fs::path &path() const { return path_; }

private:
    const fs::path path_ = fs::path("/var/tmp") / ("talo-test-" + std::to_string(getpid()));
};

// A control group that has too little memory for what its processes read again and again.
class TightGroup
{
public:
    TightGroup()
    {
        const std::string name = "talo-test-" + std::to_string(getpid());
        unified_ = firstThatCanHold("0::", {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}, name);
        limited_ = unified_;
        if (!unified_.empty() && !set(limited_ / "memory.max", "12M")) {
            limited_ = firstThatCanHold(":memory:", {"/sys/fs/cgroup/memory"}, name);
            if (limited_.empty() || !set(limited_ / "memory.limit_in_bytes", "12M"))
                return;
        }
        usable_ = !unified_.empty();
    }
    ~TightGroup()
    {
        for (const pid_t reader : readers_) {
            kill(reader, SIGKILL);
            waitpid(reader, nullptr, 0);
        }
        for (const fs::path &group : {unified_, limited_})
            if (!group.empty())
                eventually([&group] { return rmdir(group.c_str()) == 0 || errno == ENOENT; });
    }
    TightGroup(const TightGroup &) = delete;
    TightGroup &operator=(const TightGroup &) = delete;

    bool usable() const { return usable_; }
    std::string report() const { return unified_ / "memory.pressure"; }

    void read(const fs::path &file)
    {
        const pid_t reader = fork();
        ASSERT_GE(reader, 0);
        if (reader != 0) {
            readers_.push_back(reader);
            return;
        }
        if (!set(unified_ / "cgroup.procs", "0") ||
            (limited_ != unified_ && !set(limited_ / "cgroup.procs", "0")))
            _exit(1);
        const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        static char buffer[1u << 16];
        for (off_t at = 0;;) {
            const ssize_t count = pread(fd, buffer, sizeof buffer, at);
            at = count > 0 ? at + count : 0;
        }
    }

private:
    static bool set(const fs::path &file, const char *value)
    {
        const int fd = open(file.c_str(), O_WRONLY | O_CLOEXEC);
        const auto length = static_cast<ssize_t>(std::string_view(value).size());
        const bool written =
            fd >= 0 && write(fd, value, static_cast<std::size_t>(length)) == length;
        close(fd);
        return written;
    }
    // Below the group of this process in the hierarchy that its line in /proc tells.
    static fs::path firstThatCanHold(const std::string &hierarchy,
                                     const std::vector<std::string> &places,
                                     const std::string &name)
    {
        std::ifstream groups("/proc/self/cgroup");
        for (std::string line; std::getline(groups, line);) {
            const std::size_t found = line.find(hierarchy);
            if (found == std::string::npos)
                continue;
            std::string own = line.substr(found + hierarchy.size());
            if (own == "/")
                own.clear();
            for (const std::string &place : places) {
                const fs::path above(place + own);
                fs::path group = above / name;
                if (access((above / "cgroup.procs").c_str(), W_OK) == 0 &&
                    mkdir(group.c_str(), 0755) == 0)
                    return group;
            }
        }
        return {};
    }

    fs::path unified_;
    fs::path limited_;
    bool usable_ = false;
    std::vector<pid_t> readers_;
};

TEST_F(PoolUnderPressure, aRealLackOfMemoryLetsThemGo)
{
    TightGroup group;
    if (!group.usable())
        GTEST_SKIP() << "no control group whose memory can be limited and watched (needs root)";
    const LargeFile large;
    auto sensitive = watching(group.report());
    sensitive.muchPressure = 0.5; // where others have the processors, readers wait less for memory
    WorkerPool pool(sensitive);
    ASSERT_EQ(pool.load(), "");
    std::this_thread::sleep_for(200ms);
    EXPECT_TRUE(pool.signatures().loaded);
    for (int reader = 0; reader < 3; ++reader)
        group.read(large.path());
    const auto patience = std::chrono::steady_clock::now() + 60s;
    while (pool.signatures().loaded && std::chrono::steady_clock::now() < patience)
        std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(pool.signatures().loaded) << memoryPressure({group.report()});
}

} // namespace
