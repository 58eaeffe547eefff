// The pool of an ordinary user, with and without the means to isolate its workers in namespaces.
#include "engine/scan/pool_fixture.h"

#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;

enum class UserNamespaces { Allowed, Forbidden };

// Runs in a process of an ordinary user; its exit status is the sum of what went wrong.
class PoolOfAnOrdinaryUser : public testing::TestWithParam<UserNamespaces>
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root to become another user";
    }

    // Where only the number of user namespaces below one's own can be limited, one is needed.
    static bool forbidUserNamespaces(int tell, int told)
    {
        char go = 0;
        if (unshare(CLONE_NEWUSER) != 0 || write(tell, "x", 1) != 1 || read(told, &go, 1) != 1)
            return false;
        std::ofstream limit("/proc/sys/user/max_user_namespaces");
        limit << "0" << std::flush;
        return limit.good();
    }
    static void mapUsers(pid_t child)
    {
        for (const char *map : {"/uid_map", "/gid_map"})
            std::ofstream("/proc/" + std::to_string(child) + map) << "0 0 65536" << std::flush;
    }
    [[noreturn]] void scanAsOrdinaryUser()
    {
        if (setgroups(0, nullptr) != 0 || setresgid(65533, 65533, 65533) != 0 ||
            setresuid(65533, 65533, 65533) != 0)
            _exit(100);
        // A session's own limit, lower than a worker's and not to be raised.
        const rlimit low{16u << 20, 16u << 20};
        if (setrlimit(RLIMIT_FSIZE, &low) != 0)
            _exit(102);
        int wrong = 0;
        {
            WorkerPool pool(config(faultyWorker()));
            if (!pool.load().empty())
                wrong |= 1;
            if (scanOne(pool, folder.path() / "threat").kind != VerdictKind::Threat)
                wrong |= 2;
            const fs::path archive("/usr/share/clamav-testfiles/clam.zip");
            if (fs::exists(archive) && scanOne(pool, archive).kind != VerdictKind::Threat)
                wrong |= 4;
            for (const char *order : {"openpasswd", "socket", "fork", "signal"})
                if (scanOne(pool, folder.path() / order).kind != VerdictKind::Clean)
                    wrong |= 8;
        }
        if (!scratchFolders().empty())
            wrong |= 16;
        _exit(wrong);
    }

    TestFolder folder;
};

TEST_P(PoolOfAnOrdinaryUser, ScansAndIsConfined)
{
    folder.write("threat", eicar());
    for (const char *order : {"openpasswd", "socket", "fork", "signal"})
        folder.write(order, "TALO-FAULT " + std::string(order) + "\n");
    int fromChild[2];
    int toChild[2];
    ASSERT_EQ(pipe2(fromChild, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(toChild, O_CLOEXEC), 0);
    const pid_t child = fork(); // no other thread runs here
    if (child == 0) {
        if (GetParam() == UserNamespaces::Forbidden &&
            !forbidUserNamespaces(fromChild[1], toChild[0]))
            _exit(101);
        scanAsOrdinaryUser();
    }
    close(fromChild[1]);
    char ready = 0;
    if (GetParam() == UserNamespaces::Forbidden && read(fromChild[0], &ready, 1) == 1) {
        mapUsers(child);
        EXPECT_EQ(write(toChild[1], "x", 1), 1);
    }
    close(fromChild[0]);
    close(toChild[0]);
    close(toChild[1]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 101)
        GTEST_SKIP() << "no user namespace can be had here";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

INSTANTIATE_TEST_SUITE_P(Systems, PoolOfAnOrdinaryUser,
                         testing::Values(UserNamespaces::Allowed, UserNamespaces::Forbidden));

} // namespace
