// What goes wrong in the quarantine costs no file: forged records, full drives, kills.
#include "engine/scan/quarantinefixture.h"
#include "scan/vaultobject.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;
namespace files = talo::files;

TEST_F(QuarantineTest, refusesIdsThatAreNone)
{
    writeFile(folder_ / "x.vault", "precious");
    for (const char *id : {"", "../x", "../../tmp/talo00", "0123456789ABCDEF", "0123456789abcde",
                           "0123456789abcdef0", "0123456789abcde/", "0123456789abcdef"}) {
        EXPECT_EQ(quarantine_.restore(id).result, Quarantine::Result::NotFound) << id;
        EXPECT_EQ(quarantine_.purge(id).result, Quarantine::Result::NotFound) << id;
    }
    EXPECT_TRUE(exists(folder_ / "x.vault"));
}

TEST_F(QuarantineTest, takesNoHarmFromDamagedRecords)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    const std::string path = object(kept->id);
    const std::string whole = readFile(path);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        writeFile(path, whole.substr(0, size));
        EXPECT_TRUE(quarantine_.list().empty()) << size;
        EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Failed) << size;
    }
    for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
        std::string flipped = whole;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
        writeFile(path, flipped);
        // Damage to the content shows only when it is read.
        EXPECT_EQ(quarantine_.list().size(), bit / 8 < whole.size() - 4 ? 0u : 1u) << bit;
        EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Failed) << bit;
        EXPECT_FALSE(exists(home("evil"))) << bit;
    }
    writeFile(path, whole);
    EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Done);
}

TEST_F(QuarantineTest, believesNoRecordThatIsWellFormedButAbsurd)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    const files::UniqueFd fd(open(object(kept->id).c_str(), O_RDWR | O_CLOEXEC));
    const ObjectRecord good = *readRecord(fd.get());
    const auto isBelieved = [&](const std::function<void(ObjectRecord &)> &change) {
        ObjectRecord record = good;
        change(record);
        EXPECT_FALSE(writeRecord(fd.get(), record));
        return quarantine_.list().size() == 1;
    };
    EXPECT_TRUE(isBelieved([](ObjectRecord &) {}));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.path[0] = 'x'; }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.path[1] = '\0'; }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.mode = 0100644; }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.owner = static_cast<uid_t>(-1); }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.group = static_cast<gid_t>(-1); }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.modified.tv_nsec = 1'000'000'000; }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.contentSize = ~std::uint64_t{0}; }));
    EXPECT_FALSE(isBelieved([](ObjectRecord &r) { r.contentSize += 1; }));
}

TEST_F(QuarantineTest, isNotLedAstrayByWhatElseLiesInItsFolder)
{
    mkdir(object("00000000000000aa").c_str(), 0700);
    mkfifo(object("00000000000000bb").c_str(), 0600);
    ASSERT_EQ(symlink("/etc/passwd", object("00000000000000cc").c_str()), 0);
    alarm(20);
    EXPECT_TRUE(quarantine_.list().empty());
    for (const char *id : {"00000000000000aa", "00000000000000bb", "00000000000000cc"})
        EXPECT_EQ(quarantine_.restore(id).result, Quarantine::Result::Failed);
    quarantine_.recover();
    alarm(0);
}

TEST_F(QuarantineTest, leavesTheOriginalWhenItIsFull)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount a small drive";
    writeFile(home("evil"), std::string(300000, 'x'));
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount("none", (folder_ / "vault").c_str(), "tmpfs", 0, "size=64k,mode=0700"))
                      return "cannot mount";
                  const auto kept = take("evil");
                  return kept ? "taken" : kept.error().text + (objects() ? ", left" : "");
              }),
              "no copy for the quarantine could be made: no space is left on the drive");
    EXPECT_EQ(statusOf(home("evil")).st_size, 300000);
}

TEST_F(QuarantineTest, leavesAReserveOnItsDrive)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount a small drive";
    writeFile(home("evil"), std::string(std::size_t{980} << 10u, 'x'));
    writeFile(home("small"), std::string(std::size_t{800} << 10u, 'x'));
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount("none", (folder_ / "vault").c_str(), "tmpfs", 0, "size=1m,mode=0700"))
                      return "cannot mount";
                  const auto kept = take("evil");
                  if (kept)
                      return "taken";
                  const auto fits = take("small");
                  return fits ? kept.error().text : "nothing fits: " + fits.error().text;
              }),
              "no copy for the quarantine could be made: no space is left on the drive");
}

TEST_F(QuarantineTest, leavesTheOriginalWhereNothingCanBeRemoved)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    writeFile(home("evil"), "EVIL");
    EXPECT_EQ(
        withOwnMounts([&]() -> std::string {
            const std::string place = folder_ / "home";
            if (mount(place.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) ||
                mount(nullptr, place.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr))
                return "cannot mount";
            const auto kept = take("evil");
            return kept ? "taken" : kept.error().text;
        }),
        "the file system is read-only");
    EXPECT_EQ(objects(), 0u);
}

// A kill between the two steps of taking and of restoring leaves both.
TEST_F(QuarantineTest, keepsNoObjectOfAFileThatStandsInItsPlace)
{
    const std::string copy = folder_ / "copy";
    std::map<std::string, std::string> ids;
    for (const char *name : {"same", "other", "younger"}) {
        writeFile(home(name), std::string("content of ") + name);
        const std::string id = take(name)->id;
        ids[name] = id;
        std::filesystem::copy_file(object(id), copy);
        ASSERT_EQ(quarantine_.restore(id).result, Quarantine::Result::Done);
        std::filesystem::rename(copy, object(id));
    }
    const struct stat other = statusOf(home("other"));
    writeFile(home("other"), "content of OTHER");
    const timespec times[2] = {other.st_atim, other.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, home("other").c_str(), times, 0), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, home("younger").c_str(), nullptr, 0), 0);

    quarantine_.recover();
    EXPECT_FALSE(exists(object(ids["same"])));
    EXPECT_EQ(readFile(home("same")), "content of same");
    // What is not the same is nobody's copy.
    EXPECT_TRUE(exists(object(ids["other"])));
    EXPECT_TRUE(exists(object(ids["younger"])));
}

// Whenever the taking is killed, recovery leaves the file in one place.
TEST_F(QuarantineTest, losesNothingToAKillAtAnyMoment)
{
    // How long it takes depends on the drive; the kills spread over all of it.
    writeFile(home("first"), std::string(20000, 'x'));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(take("first"));
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(
                           std::chrono::steady_clock::now() - start)
                           .count();
    constexpr int kRounds = 150;
    int taken = 0;
    int still = 0;
    for (int round = 0; round < kRounds; ++round) {
        const std::string name = "f" + std::to_string(round);
        const std::string content = name + std::string(20000, 'x');
        writeFile(home(name), content);
        int ready[2];
        ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = fork();
        if (child == 0) {
            const Scanned scanned(folder_ / "home", name);
            (void)!write(ready[1], "", 1);
            const bool done = static_cast<bool>(quarantine_.take(scanned.caught()));
            _exit(done ? 0 : 1);
        }
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]);
        close(ready[1]);
        usleep(static_cast<useconds_t>(std::min(whole, 20000L) * 2 * round / kRounds));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        Quarantine(folder_ / "vault").recover();
        const auto list = quarantine_.list();
        const auto kept = std::find_if(list.begin(), list.end(),
                                       [&](const auto &entry) { return entry.path == home(name); });
        const bool original = exists(home(name));
        ASSERT_NE(original, kept != list.end()) << round;
        original ? ++still : ++taken;
        if (original) {
            EXPECT_EQ(readFile(home(name)), content);
        } else {
            EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Done);
            EXPECT_EQ(readFile(home(name)), content);
        }
        for (const auto &entry : std::filesystem::directory_iterator(folder_ / "home"))
            ASSERT_NE(entry.path().filename().string().rfind(".talo", 0), 0u) << round;
        unlink(home(name).c_str());
    }
    std::printf("gone %d, still there %d\n", taken, still);
}
