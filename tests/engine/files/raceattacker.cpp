#include "engine/files/raceattacker.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::test
{

void exchange(const char *a, const char *b)
{
    renameat2(AT_FDCWD, a, AT_FDCWD, b, RENAME_EXCHANGE);
}

void AttackedFolder::SetUp()
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to have an attacker of lesser rights";
    mkdir((folder_ / "victim").c_str(), 0700);
    writeFile(victim_, "VICTIM");
    mkdir(home_.c_str(), 0755);
    ASSERT_EQ(chown(home_.c_str(), kNobody, kNobody), 0);
}

void AttackedFolder::TearDown()
{
    if (attacker_ > 0) {
        kill(attacker_, SIGKILL);
        waitpid(attacker_, nullptr, 0);
    }
}

void AttackedFolder::attack(const std::function<bool()> &prepare,
                            const std::function<void()> &trick)
{
    attacker_ = fork();
    if (attacker_ != 0)
        return;
    if (setgroups(0, nullptr) || setresgid(kNobody, kNobody, kNobody) ||
        setresuid(kNobody, kNobody, kNobody) || chdir(home_.c_str()) ||
        symlink("../victim", "link") || mkdir("d", 0755) || !prepare())
        _exit(1);
    for (;;)
        trick();
}

} // namespace talo::test
