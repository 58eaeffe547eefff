// Shredding under attack, and shredding that is killed.
#include "engine/files/raceattacker.h"
#include "files/shred.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMiB = 1u << 20;

// "d" has a file "f" and a link "l" to the victim's file.
class ShredRace : public AttackedFolder
{
protected:
    void attack(const std::function<void()> &flip)
    {
        AttackedFolder::attack([] { return symlink("../../victim/f", "d/l") == 0; },
                               [&flip] {
                                   if (access("d/f", F_OK) != 0)
                                       writeFile("d/f", std::string(20000, 'x'));
                                   flip();
                               });
    }

    // Until some were shredded under attack, or it takes too long.
    void shredUnderAttack()
    {
        int done = 0;
        int refused = 0;
        for (const auto end = Clock::now() + std::chrono::seconds(20);
             (done < 20 || refused < 20) && Clock::now() < end;) {
            const ShredResult result = FileShredder({1, {}}).shred(home_ + "/d/f");
            ++(result.fault == ShredFault::None ? done : refused);
            ASSERT_EQ(readFile(victim_), "VICTIM") << result.text;
        }
        std::printf("shredded %d, refused %d\n", done, refused);
        EXPECT_GT(done, 0);
        EXPECT_GT(refused, 0);
    }
};

} // namespace

TEST_F(ShredRace, ChangesNothingBehindAnExchangedFolder)
{
    attack([] {
        exchange("d", "link");
        exchange("d", "link");
    });
    shredUnderAttack();
}

TEST_F(ShredRace, ChangesNothingBehindAnExchangedFile)
{
    attack([] {
        exchange("d/f", "d/l");
        exchange("d/f", "d/l");
    });
    shredUnderAttack();
}

// The control: that both attacks do win against a path that is looked at and then opened.
TEST_F(ShredRace, WouldBeLostByOpeningAPath)
{
    attack([] {
        exchange("d/f", "d/l");
        exchange("d/f", "d/l");
    });
    const std::string path = home_ + "/d/f";
    const auto end = Clock::now() + std::chrono::seconds(20);
    while (readFile(victim_) == "VICTIM" && Clock::now() < end) {
        struct stat status = {};
        if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_LE(pwrite(file, "noise!", 6, 0), 6);
        close(file);
    }
    EXPECT_NE(readFile(victim_), "VICTIM");
}

namespace
{

const std::string kMark = "TALO-SECRET-CONTENT";

// Shreds in a child that says when it got somewhere, and at last that it is done; kills it after
// so many words and so much time. Whether it said that it was done.
bool shredAndKill(const std::string &path, int words, std::chrono::microseconds later)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        const auto say = [&](char word) {
            if (write(ends[1], &word, 1) != 1)
                _exit(1);
        };
        const ShredResult result =
            FileShredder({2, {}}).shred(path, [&](long long, long long) { say('.'); });
        if (result.fault == ShredFault::None)
            say('!');
        _exit(0);
    }
    close(ends[1]);
    char word = '.';
    for (int heard = 0; heard < words && word == '.' && read(ends[0], &word, 1) == 1;)
        ++heard;
    const auto end = Clock::now() + later;
    while (Clock::now() < end) {
    }
    kill(child, SIGKILL);
    while (word == '.' && read(ends[0], &word, 1) == 1) {
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return word == '!';
}

// What a killed shredding left: the file under its name, or else nothing of its content.
void expectListedOrGone(const std::string &folder, bool done)
{
    bool listed = false;
    std::size_t entries = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        ++entries;
        if (!entry.is_regular_file())
            continue;
        if (entry.path().filename() == "file")
            listed = true;
        else
            EXPECT_EQ(entry.file_size(), 0U) << entry.path();
    }
    if (done) {
        EXPECT_FALSE(listed);
        EXPECT_EQ(entries, 0U);
    }
}

} // namespace

TEST(ShredKilled, LeavesTheFileListedOrNothingOfIt)
{
    std::mt19937 chance(4711); // NOLINT(cert-msc51-cpp): the same moments in each run
    constexpr std::size_t kSize = 24 * kMiB;
    std::string content;
    while (content.size() < kSize)
        content += kMark + std::string(512 - kMark.size(), '.');
    int listed = 0;
    int partly = 0;
    for (int round = 0; round < 40; ++round) {
        const TempFolder folder;
        const std::string path = folder / "file";
        writeFile(path, content);
        const int words = static_cast<int>(chance() % 18);
        const bool done = shredAndKill(path, words, std::chrono::microseconds(chance() % 3000));
        expectListedOrGone(folder.path(), done);
        if (!exists(path) || std::filesystem::file_size(path) == 0)
            continue;
        ++listed;
        EXPECT_EQ(std::filesystem::file_size(path), kSize);
        partly += readFile(path) != content;
    }
    std::printf("still listed %d, of them partly noise %d\n", listed, partly);
    EXPECT_GT(partly, 0);
}

TEST(ShredKilled, LeavesASmallFileListedOrNothingOfIt)
{
    std::mt19937 chance(4711); // NOLINT(cert-msc51-cpp): the same moments in each run
    for (int round = 0; round < 60; ++round) {
        const TempFolder folder;
        writeFile(folder / "file", kMark);
        expectListedOrGone(folder.path(),
                           shredAndKill(folder / "file", static_cast<int>(chance() % 4),
                                        std::chrono::microseconds(chance() % 2000)));
    }
}
