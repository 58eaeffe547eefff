#include "files/uniquefd.h"
#include "update/freshclamrun.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace talo::update
{

namespace
{

using namespace std::chrono_literals;

// A shell in freshclam's place.
class FreshclamRun : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = std::filesystem::temp_directory_path() / "talo-run-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        ASSERT_EQ(chmod(name.c_str(), 0777), 0);
        stop_ = files::UniqueFd(eventfd(0, EFD_CLOEXEC));
        std::string failure;
        const auto identity = downloader("", failure);
        ASSERT_TRUE(identity) << failure;
        identity_ = *identity;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    FreshclamTask task(const std::string &script) const
    {
        FreshclamTask task;
        task.arguments = {"/bin/sh", "-c", script};
        task.folder = folder_;
        task.identity = identity_;
        task.patience = 60s;
        task.longest = 60s;
        task.stop = stop_.get();
        return task;
    }

    std::string read(const std::string &name) const
    {
        std::ifstream file(folder_ / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path folder_;
    files::UniqueFd stop_;
    Identity identity_;
};

} // namespace

TEST_F(FreshclamRun, TellsHowItEnded)
{
    FreshclamOutput output;
    FreshclamEnd end = runFreshclam(task("echo 'ERROR:  Message: x y'; exit 5"), output);
    EXPECT_EQ(end.by, FreshclamEnd::By::Exit);
    EXPECT_EQ(end.number, 5);
    EXPECT_EQ(output.complaint(), "x y");
    end = runFreshclam(task("kill -9 $$"), output);
    EXPECT_EQ(end.by, FreshclamEnd::By::Signal);
    EXPECT_EQ(end.number, SIGKILL);
    FreshclamTask missing = task("");
    missing.arguments = {"/no/such/program"};
    end = runFreshclam(missing, output);
    EXPECT_EQ(end.by, FreshclamEnd::By::NotStarted);
    EXPECT_EQ(end.number, ENOENT);
}

TEST_F(FreshclamRun, GivesItNothingOfOurs)
{
    setenv("TALO_SECRET", "x", 1);
    const files::UniqueFd ours(dup(STDERR_FILENO)); // without close-on-exec
    FreshclamOutput output;
    runFreshclam(task("env > environment; ls /proc/self/fd > descriptors; "
                      "grep -E '^(Uid|Groups|NoNewPrivs|CapEff)' /proc/self/status > status; "
                      "ulimit -c > core"),
                 output);
    EXPECT_EQ(read("environment").find("TALO_SECRET"), std::string::npos);
    EXPECT_EQ(read("descriptors"), "0\n1\n2\n3\n"); // the last is the listing's own
    EXPECT_EQ(read("core"), "0\n");
    const std::string status = read("status");
    EXPECT_NE(status.find("NoNewPrivs:\t1"), std::string::npos) << status;
    if (geteuid() == 0) {
        EXPECT_NE(status.find("CapEff:\t0000000000000000"), std::string::npos) << status;
        EXPECT_NE(status.find("Uid:\t" + std::to_string(identity_.user) + "\t"), std::string::npos)
            << status;
        EXPECT_NE(status.find("Groups:\t \n"), std::string::npos) << status;
    }
}

TEST_F(FreshclamRun, StopsItWithAllThatItStarted)
{
    const auto began = std::chrono::steady_clock::now();
    // Neither it nor its child listens to a polite word.
    FreshclamTask stubborn =
        task("trap '' TERM; (trap '' TERM; echo $(exec sh -c 'echo $PPID') > child; "
             "exec sleep 100) & echo one; while :; do sleep 1; done");
    stubborn.heard = [this](const FreshclamOutput &) {
        const std::uint64_t one = 1;
        ASSERT_EQ(write(stop_.get(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
    };
    FreshclamOutput output;
    const FreshclamEnd end = runFreshclam(stubborn, output);
    EXPECT_EQ(end.by, FreshclamEnd::By::Stop);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 10s);
    const int child = std::atoi(read("child").c_str());
    ASSERT_GT(child, 0);
    // Killed; its new parent may not have waited for it yet.
    for (int round = 0; round < 500 && kill(child, 0) == 0; ++round) {
        std::ifstream file("/proc/" + std::to_string(child) + "/stat");
        std::string stat;
        std::getline(file, stat);
        if (stat.find(") Z ") != std::string::npos)
            return;
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_NE(kill(child, 0), 0);
}

TEST_F(FreshclamRun, EndsWhatSaysNothing)
{
    FreshclamTask silent = task("exec sleep 100");
    silent.patience = 1s;
    FreshclamOutput output;
    EXPECT_EQ(runFreshclam(silent, output).by, FreshclamEnd::By::TooLong);
}

TEST_F(FreshclamRun, EndsWhatTalksForEver)
{
    FreshclamTask endless = task("while :; do echo x; done");
    endless.longest = 1s;
    FreshclamOutput output;
    EXPECT_EQ(runFreshclam(endless, output).by, FreshclamEnd::By::TooLong);
}

TEST_F(FreshclamRun, DoesNotWaitForWhatHoldsItsOutput)
{
    const auto began = std::chrono::steady_clock::now();
    FreshclamOutput output;
    const FreshclamEnd end = runFreshclam(task("sleep 100 & exit 3"), output);
    EXPECT_EQ(end.number, 3);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 10s);
}

} // namespace talo::update
