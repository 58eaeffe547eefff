// Somebody who owns a folder exchanges what lies in it, and the folder itself, while threats are
// removed from it by a mightier process.
#include "engine/files/sandbox.h"
#include "files/removal.h"
#include "files/safeopen.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

using Clock = std::chrono::steady_clock;

// In the attacker's home: "d" with a bad and a good file, and "link", which leads to the victim's.
class RemovalRace : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "needs root, to have an attacker of lesser rights";
        mkdir((folder_ / "victim").c_str(), 0700);
        writeFile(folder_ / "victim/f", "VICTIM");
        mkdir((folder_ / "home").c_str(), 0755);
        ASSERT_EQ(chown((folder_ / "home").c_str(), kNobody, kNobody), 0);
    }

    void TearDown() override
    {
        if (attacker_ > 0) {
            kill(attacker_, SIGKILL);
            waitpid(attacker_, nullptr, 0);
        }
    }

    void attack(const std::function<void()> &flip)
    {
        attacker_ = fork();
        if (attacker_ != 0)
            return;
        if (setgroups(0, nullptr) || setresgid(kNobody, kNobody, kNobody) ||
            setresuid(kNobody, kNobody, kNobody) || chdir((folder_ / "home").c_str()) ||
            symlink("../victim", "link") || mkdir("d", 0755))
            _exit(1);
        for (;;) {
            if (access("d/f", F_OK) != 0)
                writeFile("d/f", "EVIL");
            if (access("d/other", F_OK) != 0)
                writeFile("d/other", "GOOD");
            flip();
        }
    }

    TempFolder folder_;
    pid_t attacker_ = 0;
};

void exchange(const char *a, const char *b)
{
    renameat2(AT_FDCWD, a, AT_FDCWD, b, RENAME_EXCHANGE);
}

std::string contentOf(int fd)
{
    char text[16] = {};
    const ssize_t size = pread(fd, text, sizeof text, 0);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
}

struct Tries {
    int removed = 0;
    int refused = 0;
    int wrong = 0; // said to be removed, but still there under another name
};

Tries removeFor(std::chrono::seconds time, const std::string &home, const std::string &victim)
{
    Tries tries;
    unsigned token = 0;
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
        const auto place = openFolderAsPlace(AT_FDCWD, home + "/d");
        if (!place)
            continue;
        const auto file = openForReading(place->fd.get(), "f");
        if (!file || contentOf(file->fd.get()) != "EVIL")
            continue;
        const Identity scanned = identityOf(file->status);
        if (removeExactly(place->fd.get(), "f", scanned, std::to_string(++token))) {
            ++tries.refused;
        } else {
            ++tries.removed;
            struct stat status = {};
            fstat(file->fd.get(), &status);
            tries.wrong += status.st_nlink != 0;
        }
        EXPECT_EQ(readFile(victim), "VICTIM");
    }
    return tries;
}

} // namespace

TEST_F(RemovalRace, losesNoForeignFileToAnExchangedFolder)
{
    attack([] {
        exchange("d", "link");
        exchange("d", "link");
    });
    const Tries tries = removeFor(std::chrono::seconds(3), folder_ / "home", folder_ / "victim/f");
    EXPECT_GT(tries.removed, 0);
    EXPECT_EQ(tries.wrong, 0);
    EXPECT_EQ(readFile(folder_ / "victim/f"), "VICTIM");
    std::printf("removed %d, refused %d\n", tries.removed, tries.refused);
}

TEST_F(RemovalRace, removesNoOtherFileThatTookTheName)
{
    attack([] { exchange("d/f", "d/other"); });
    const Tries tries = removeFor(std::chrono::seconds(3), folder_ / "home", folder_ / "victim/f");
    EXPECT_GT(tries.removed, 0);
    EXPECT_EQ(tries.wrong, 0);
    std::printf("removed %d, refused %d\n", tries.removed, tries.refused);
}

// The control: that the attack does win against a path that is checked and then used.
TEST_F(RemovalRace, wouldBeLostByUnlinkingAPath)
{
    attack([] {
        exchange("d", "link");
        usleep(1);
        exchange("d", "link");
        usleep(20);
    });
    const std::string victim = folder_ / "victim/f";
    int lost = 0;
    for (const auto end = Clock::now() + std::chrono::seconds(20);
         lost == 0 && Clock::now() < end;) {
        const UniqueFd file(open((folder_ / "home/d/f").c_str(), O_RDONLY | O_NOFOLLOW));
        if (!file || contentOf(file.get()) != "EVIL")
            continue;
        usleep(50); // as long as a scan takes at the least
        unlink((folder_ / "home/d/f").c_str());
        lost += !exists(victim);
    }
    EXPECT_EQ(lost, 1);
}
