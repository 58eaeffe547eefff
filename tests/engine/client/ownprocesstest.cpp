// What the library does in the caller's own process.
#include "client/boundary.h"
#include "client/network.h"
#include "client/reporttext.h"
#include "engine/libreports.h"
#include "engine/processchecks.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

class OwnProcess : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = fs::temp_directory_path() / "talo-client-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    }
    void TearDown() override { fs::remove_all(folder_); }

    static std::string read(const fs::path &path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    fs::path folder_;
};

// A child that runs `before`, tells that it is ready, and stays until it is released.
class Child
{
public:
    template <typename Work> explicit Child(Work work)
    {
        int ready[2];
        int stay[2];
        if (pipe(ready) != 0 || pipe(stay) != 0)
            return;
        pid_ = fork();
        if (pid_ == 0) {
            close(ready[0]);
            close(stay[1]);
            const auto result = static_cast<unsigned char>(work());
            char ignored = 0;
            if (write(ready[1], &result, 1) != 1 || read(stay[0], &ignored, 1) != 0)
                _exit(1);
            _exit(0);
        }
        close(ready[1]);
        close(stay[0]);
        stay_ = stay[1];
        unsigned char result = 0;
        if (read(ready[0], &result, 1) == 1)
            result_ = result;
        close(ready[0]);
    }
    ~Child() { release(); }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    int result() const { return result_; }
    void release()
    {
        if (pid_ <= 0)
            return;
        close(stay_);
        waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }

private:
    pid_t pid_ = 0;
    int stay_ = -1;
    int result_ = -1;
};

constexpr char kReport[] = "TALO Antivirus scan report\nReport: 2026-11-21 14:05:09\nType: x\n";

} // namespace

TEST_F(OwnProcess, AnotherLiveProcessHoldsTheName)
{
    Child holder([] { return IsTaloAVRunning("TaloHeld"); });
    ASSERT_NE(holder.result(), 0);
    EXPECT_EQ(IsTaloAVRunning("TaloHeld"), 0);
    EXPECT_NE(IsTaloAVRunning("TaloOther"), 0);
    holder.release();
    EXPECT_NE(IsTaloAVRunning("TaloHeld"), 0);
    // Its own name is no obstacle.
    EXPECT_NE(IsTaloAVRunning("TaloHeld"), 0);
}

TEST_F(OwnProcess, AStartedProgramDoesNotKeepTheName)
{
    // The holder starts a program, as the panel starts a scan, and goes; the program stays.
    int stay[2];
    ASSERT_EQ(pipe(stay), 0);
    Child holder([&stay] {
        const int claimed = IsTaloAVRunning("TaloPanel");
        int started[2]; // closed by the exec
        if (pipe2(started, O_CLOEXEC) != 0)
            return 0;
        if (fork() == 0) {
            dup2(stay[0], STDIN_FILENO);
            close(stay[0]);
            close(stay[1]);
            execlp("cat", "cat", nullptr);
            _exit(127);
        }
        close(started[1]);
        char none = 0;
        const bool running = ::read(started[0], &none, 1) == 0;
        close(started[0]);
        return running ? claimed : 0;
    });
    ASSERT_NE(holder.result(), 0);
    holder.release();
    EXPECT_NE(IsTaloAVRunning("TaloPanel"), 0);
    close(stay[0]);
    close(stay[1]);
}

TEST_F(OwnProcess, AFaultOfTheLockLocksNobodyOut)
{
    EXPECT_NE(IsTaloAVRunning(nullptr), 0);
    EXPECT_NE(IsTaloAVRunning(""), 0);
    EXPECT_NE(IsTaloAVRunning("../escape"), 0);
    EXPECT_FALSE(fs::exists(folder_.parent_path() / "escape.lock"));
    fs::create_directory(folder_ / "TaloFolder.lock");
    EXPECT_NE(IsTaloAVRunning("TaloFolder"), 0);
    fs::create_symlink("/etc/passwd", folder_ / "TaloLink.lock");
    EXPECT_NE(IsTaloAVRunning("TaloLink"), 0);
    ASSERT_EQ(mkfifo((folder_ / "TaloPipe.lock").c_str(), 0600), 0);
    EXPECT_NE(IsTaloAVRunning("TaloPipe"), 0);
}

TEST_F(OwnProcess, AFolderOthersMayWriteIsNotTrusted)
{
    const fs::path own = "/tmp/taloantivirus-" + std::to_string(geteuid());
    const bool existed = fs::exists(own);
    fs::permissions(folder_, fs::perms::all);
    EXPECT_NE(IsTaloAVRunning("TaloShared"), 0);
    EXPECT_FALSE(fs::exists(folder_ / "TaloShared.lock"));
    EXPECT_TRUE(fs::exists(own / "TaloShared.lock"));
    struct stat status {
    };
    ASSERT_EQ(stat(own.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    fs::remove(own / "TaloShared.lock");
    if (!existed)
        fs::remove(own);
}

TEST_F(OwnProcess, AReportIsSavedUnderItsKeyAndNeverOverAnother)
{
    EXPECT_EQ(libReports::SaveReport(folder_, kReport), 0);
    EXPECT_EQ(libReports::SaveReport(folder_, std::string(kReport) + "second"), 0);
    EXPECT_EQ(libReports::SaveReport(folder_, std::string(kReport) + "third"), 0);
    EXPECT_EQ(read(folder_ / "TALO Report 2026-11-21 14-05-09.txt"), kReport);
    EXPECT_EQ(read(folder_ / "TALO Report 2026-11-21 14-05-09 (2).txt"),
              std::string(kReport) + "second");
    EXPECT_EQ(read(folder_ / "TALO Report 2026-11-21 14-05-09 (3).txt"),
              std::string(kReport) + "third");
}

TEST_F(OwnProcess, ALinkInTheWayIsNotFollowed)
{
    std::ofstream(folder_ / "precious") << "mine";
    fs::create_symlink("precious", folder_ / "TALO Report 2026-11-21 14-05-09.txt");
    EXPECT_EQ(libReports::SaveReport(folder_, kReport), 0);
    EXPECT_EQ(read(folder_ / "precious"), "mine");
    EXPECT_EQ(read(folder_ / "TALO Report 2026-11-21 14-05-09 (2).txt"), kReport);
}

TEST_F(OwnProcess, ATextWithoutAKeyIsSavedAllTheSame)
{
    EXPECT_EQ(libReports::SaveReport(folder_, "Report: ../../etc/passwd"), 0);
    EXPECT_EQ(read(folder_ / "TALO Report.txt"), "Report: ../../etc/passwd");
}

TEST_F(OwnProcess, WhatCannotBeSavedLeavesNothingBehind)
{
    EXPECT_EQ(libReports::SaveReport("", kReport), 207);
    EXPECT_EQ(libReports::SaveReport(folder_ / "missing", kReport), 207);
    std::ofstream(folder_ / "file") << "x";
    EXPECT_EQ(libReports::SaveReport(folder_ / "file", kReport), 207);
    EXPECT_EQ(libReports::SaveReport(std::string("/tmp\0x", 6), kReport), 207);
    // A full disk, as a limit of this process's own files.
    Child full([this] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit none{10, 10};
        return setrlimit(RLIMIT_FSIZE, &none) == 0 &&
                       libReports::SaveReport(folder_, kReport) == 207
                   ? 1
                   : 0;
    });
    EXPECT_EQ(full.result(), 1);
    EXPECT_FALSE(fs::exists(folder_ / "TALO Report 2026-11-21 14-05-09.txt"));
}

TEST(ReportText, NamesItsKey)
{
    using talo::client::keyIn;
    EXPECT_EQ(keyIn(kReport), "2026-11-21 14:05:09");
    EXPECT_EQ(keyIn("Report:\t2026-11-21 14:05:09 \r\n"), "2026-11-21 14:05:09");
    EXPECT_EQ(keyIn("A Report: 2026-11-21 14:05:09\n"), "");
    EXPECT_EQ(keyIn("Report: 2026-11-21T14:05:09\n"), "");
    EXPECT_EQ(keyIn("Report:\n\n"), "");
    EXPECT_EQ(keyIn(""), "");
}

TEST(Boundary, CutsATextBetweenCharacters)
{
    char buffer[6] = {};
    talo::client::copyText(buffer, sizeof buffer, "abcd\xc3\xa4");
    EXPECT_STREQ(buffer, "abcd");
    talo::client::copyText(buffer, sizeof buffer, "abc\xc3\xa4");
    EXPECT_STREQ(buffer, "abc\xc3\xa4");
}

struct Routes {
    const char *name;
    const char *ipv4;
    const char *ipv6;
    bool expected;
};

class Network : public testing::TestWithParam<Routes>
{
};

TEST_P(Network, NeedsADefaultRouteOverALiveInterface)
{
    const std::string headings = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\n";
    std::istringstream ipv4(headings + GetParam().ipv4);
    std::istringstream ipv6(GetParam().ipv6);
    EXPECT_EQ(talo::client::hasDefaultRoute(ipv4, ipv6, {"eth0"}), GetParam().expected);
}

#define ZEROS "00000000000000000000000000000000"
INSTANTIATE_TEST_SUITE_P(
    Tables, Network,
    testing::Values(
        Routes{"nothing", "", "", false},
        Routes{"ipv4", "eth0\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n", "", true},
        Routes{"down", "eth0\t00000000\t0102A8C0\t0002\t0\t0\t100\t00000000\t0\t0\t0\n", "", false},
        Routes{"rejecting", "eth0\t00000000\t0\t0201\t0\t0\t100\t00000000\t0\t0\t0\n", "", false},
        Routes{"local", "eth0\t0002A8C0\t00000000\t0001\t0\t0\t100\t00FFFFFF\t0\t0\t0\n", "",
               false},
        Routes{"dead", "eth1\t00000000\t0102A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n", "", false},
        Routes{"ipv6", "",
               ZEROS " 00 " ZEROS " 00 fe800000000000000000000000000001 00000400 1 0 00000003 "
                     "eth0\n",
               true},
        Routes{"unreachable6", "", ZEROS " 00 " ZEROS " 00 " ZEROS " ffffffff 1 0 00200200 lo\n",
               false},
        Routes{"nonsense", "eth0\n\t\t\n", "x y z\n", false}),
    [](const auto &route) { return std::string(route.param.name); });
