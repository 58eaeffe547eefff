// Threats are removed from the folder of an attacker.
#include "engine/files/raceattacker.h"
#include "files/removal.h"
#include "files/safeopen.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

using Clock = std::chrono::steady_clock;

// "d" has a bad and a good file.
class RemovalRace : public AttackedFolder
{
protected:
    void attack(const std::function<void()> &flip)
    {
        AttackedFolder::attack([] { return true; },
                               [&flip] {
                                   if (access("d/f", F_OK) != 0)
                                       writeFile("d/f", "EVIL");
                                   if (access("d/other", F_OK) != 0)
                                       writeFile("d/other", "GOOD");
                                   flip();
                               });
    }
};

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
    const Tries tries = removeFor(std::chrono::seconds(3), home_, victim_);
    EXPECT_GT(tries.removed, 0);
    EXPECT_EQ(tries.wrong, 0);
    EXPECT_EQ(readFile(victim_), "VICTIM");
    std::printf("removed %d, refused %d\n", tries.removed, tries.refused);
}

TEST_F(RemovalRace, removesNoOtherFileThatTookTheName)
{
    attack([] { exchange("d/f", "d/other"); });
    const Tries tries = removeFor(std::chrono::seconds(3), home_, victim_);
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
    int lost = 0;
    for (const auto end = Clock::now() + std::chrono::seconds(20);
         lost == 0 && Clock::now() < end;) {
        const UniqueFd file(open((home_ + "/d/f").c_str(), O_RDONLY | O_NOFOLLOW));
        if (!file || contentOf(file.get()) != "EVIL")
            continue;
        usleep(50); // as long as a scan takes at the least
        unlink((home_ + "/d/f").c_str());
        lost += !exists(victim_);
    }
    EXPECT_EQ(lost, 1);
}
