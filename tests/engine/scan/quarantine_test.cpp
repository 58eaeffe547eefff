#include "scan/quarantine.h"

#include "engine/files/sandbox.h"
#include "files/safeopen.h"
#include "scan/restore.h"
#include "scan/vaultobject.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;
namespace files = talo::files;

namespace
{

// A scanned file, its folder and content open.
struct Scanned {
    Scanned(const std::string &folder, const std::string &name)
        : path(folder + "/" + name)
        , place(files::openFolderAsPlace(AT_FDCWD, folder))
        , content(files::openForReading(AT_FDCWD, path))
        , name_(name)
    {
    }
    Quarantine::Catch caught() const
    {
        return {place->fd.get(), name_, content->fd.get(), path, "Test.Threat"};
    }

    std::string path;
    files::Result<files::OpenedFile> place;
    files::Result<files::OpenedFile> content;

private:
    std::string name_;
};

struct stat statusOf(const std::string &path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

class QuarantineTest : public testing::Test
{
protected:
    QuarantineTest() : quarantine_(folder_ / "vault")
    {
        mkdir((folder_ / "home").c_str(), 0777);
        chmod((folder_ / "home").c_str(), 0777);
    }

    std::string home(const std::string &name) const { return folder_ / ("home/" + name); }

    files::Result<Quarantine::Kept> take(const std::string &name)
    {
        return quarantine_.take(Scanned(folder_ / "home", name).caught());
    }

    std::string object(const std::string &id) const { return folder_ / ("vault/" + id + ".vault"); }

    std::size_t objects() const
    {
        const std::filesystem::directory_iterator entries(folder_ / "vault");
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    TempFolder folder_;
    Quarantine quarantine_;
};

} // namespace

TEST_F(QuarantineTest, keepsItsFolderPrivate)
{
    EXPECT_EQ(statusOf(folder_ / "vault").st_mode & 07777u, 0700u);
    chmod((folder_ / "vault").c_str(), 0755);
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    ASSERT_FALSE(kept);
    EXPECT_EQ(kept.error().text, "the quarantine's folder is not private");
    EXPECT_EQ(readFile(home("evil")), "EVIL");
}

TEST_F(QuarantineTest, bringsAFileBackAsItWas)
{
    // Longer than one step of the copying, and with every byte.
    std::string content(700001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 7 + i / 256);
    const std::string name = "ev\nil, #1 \xFF";
    writeFile(home(name), content);
    const uid_t self = geteuid();
    const uid_t owner = isRoot() ? 12345 : self;
    const gid_t group = isRoot() ? 23456 : getegid();
    ASSERT_EQ(chown(home(name).c_str(), owner, group), 0);
    ASSERT_EQ(chmod(home(name).c_str(), 04750), 0);
    const timespec times[2] = {{1111, 222}, {3333, 444}};
    ASSERT_EQ(utimensat(AT_FDCWD, home(name).c_str(), times, 0), 0);

    const auto kept = take(name);
    ASSERT_TRUE(kept) << kept.error().text;
    EXPECT_EQ(kept->otherNames, 0u);
    EXPECT_FALSE(exists(home(name)));
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].id, kept->id);
    EXPECT_EQ(list[0].path, home(name));
    EXPECT_EQ(list[0].threat, "Test.Threat");
    EXPECT_EQ(list[0].size, content.size());
    EXPECT_NEAR(static_cast<double>(list[0].time), static_cast<double>(time(nullptr)), 10);

    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Done) << outcome.reason;
    const struct stat status = statusOf(home(name)); // before reading changes it
    EXPECT_TRUE(readFile(home(name)) == content);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
    EXPECT_EQ(status.st_mode & 07777u, 04750u);
    EXPECT_EQ(status.st_mtim.tv_sec, 3333);
    EXPECT_EQ(status.st_mtim.tv_nsec, 444);
    EXPECT_EQ(status.st_atim.tv_sec, 1111);
    EXPECT_EQ(objects(), 0u);
    EXPECT_EQ(geteuid(), self) << "this thread keeps its rights";
}

TEST_F(QuarantineTest, makesContentInert)
{
    const std::string content = "a text that another scanner would find in the quarantine";
    writeFile(home("evil"), content);
    const auto kept = take("evil");
    ASSERT_TRUE(kept);
    const std::string raw = readFile(object(kept->id));
    EXPECT_EQ(raw.find(content.substr(0, 8)), raw.npos);
    EXPECT_EQ(statusOf(object(kept->id)).st_mode & 07777u, 0600u);
}

TEST_F(QuarantineTest, keepsEmptyFilesToo)
{
    writeFile(home("empty"), "");
    const auto kept = take("empty");
    ASSERT_TRUE(kept);
    EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Done);
    EXPECT_EQ(statusOf(home("empty")).st_size, 0);
}

TEST_F(QuarantineTest, keepsNoThreatNameBeyondMeasure)
{
    writeFile(home("evil"), "EVIL");
    const Scanned scanned(folder_ / "home", "evil");
    Quarantine::Catch caught = scanned.caught();
    caught.threat = std::string(100000, 'x');
    ASSERT_TRUE(quarantine_.take(caught));
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].threat, std::string(4096, 'x'));
}

TEST_F(QuarantineTest, saysHowManyOtherNamesRemain)
{
    writeFile(home("evil"), "EVIL");
    ASSERT_EQ(link(home("evil").c_str(), home("other").c_str()), 0);
    const auto kept = take("evil");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->otherNames, 1u);
    EXPECT_EQ(readFile(home("other")), "EVIL");
}

TEST_F(QuarantineTest, leavesAFileThatTookTheNameAndKeepsNoCopy)
{
    writeFile(home("evil"), "EVIL");
    const Scanned scanned(folder_ / "home", "evil");
    unlink(home("evil").c_str());
    writeFile(home("evil"), "GOOD");
    EXPECT_FALSE(quarantine_.take(scanned.caught()));
    EXPECT_EQ(readFile(home("evil")), "GOOD");
    EXPECT_EQ(objects(), 0u);
}

TEST_F(QuarantineTest, replacesNothingWhenRestoring)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    writeFile(home("evil"), "NEW");
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "something else has this name");
    EXPECT_EQ(readFile(home("evil")), "NEW");
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, restoresThroughNoLink)
{
    mkdir(home("d").c_str(), 0755);
    mkdir(home("foreign").c_str(), 0755);
    writeFile(home("d/evil"), "EVIL");
    const auto kept = quarantine_.take(Scanned(home("d"), "evil").caught());
    ASSERT_TRUE(kept);
    rmdir(home("d").c_str());
    ASSERT_EQ(symlink("foreign", home("d").c_str()), 0);
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_FALSE(exists(home("foreign/evil")));
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, saysThatTheFolderIsGone)
{
    mkdir(home("d").c_str(), 0755);
    writeFile(home("d/evil"), "EVIL");
    const auto kept = quarantine_.take(Scanned(home("d"), "evil").caught());
    rmdir(home("d").c_str());
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "the folder it came from cannot be opened: it does not exist");
}

TEST_F(QuarantineTest, restoresWithNoMoreRightsThanTheOwners)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to restore for somebody else";
    writeFile(home("evil"), "EVIL");
    ASSERT_EQ(chown(home("evil").c_str(), kNobody, kNobody), 0);
    const auto kept = take("evil");
    chmod((folder_ / "home").c_str(), 0755); // root's, and no longer for all to write
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "permission denied");
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, restoresAndPurgesAsAnOrdinaryUser)
{
    EXPECT_EQ(asNobody([&]() -> std::string {
                  Quarantine own(home("own"));
                  for (const char *name : {"a", "b"}) {
                      writeFile(home(name), "EVIL");
                      if (!own.take(Scanned(folder_ / "home", name).caught()))
                          return "not taken";
                  }
                  const auto list = own.list();
                  if (list.size() != 2)
                      return "not listed";
                  if (own.restore(list[0].id).result != Quarantine::Result::Done ||
                      readFile(list[0].path) != "EVIL")
                      return "not restored";
                  if (own.purge(list[1].id).result != Quarantine::Result::Done)
                      return "not purged";
                  return own.list().empty() ? "done" : "still listed";
              }),
              "done");
}

TEST_F(QuarantineTest, restoresWhereFilesCannotBeUnnamed)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    const auto file = files::openForReading(AT_FDCWD, object(kept->id));
    const auto record = readRecord(file->fd.get());
    ASSERT_TRUE(record);
    EXPECT_FALSE(putInPlace(file->fd.get(), *record, Creation::Hidden));
    EXPECT_EQ(readFile(home("evil")), "EVIL");
    writeFile(home("evil"), "NEW");
    EXPECT_EQ(putInPlace(file->fd.get(), *record, Creation::Hidden)->code, EEXIST);
    EXPECT_EQ(readFile(home("evil")), "NEW");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_ / "home"),
                            std::filesystem::directory_iterator()),
              1)
        << "no hidden file is left";
}

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

TEST_F(QuarantineTest, purgesWhatIsTooOld)
{
    for (const char *name : {"a", "b"}) {
        writeFile(home(name), "EVIL");
        ASSERT_TRUE(take(name));
    }
    writeFile(object("00000000000000aa"), "damaged");
    quarantine_.expire(time(nullptr) - 100);
    EXPECT_EQ(objects(), 3u);
    quarantine_.expire(time(nullptr) + 100);
    EXPECT_EQ(objects(), 0u);
}

TEST_F(QuarantineTest, listsTheNewestFirst)
{
    for (const char *name : {"a", "b", "c"}) {
        writeFile(home(name), "EVIL");
        ASSERT_TRUE(take(name));
    }
    // Records with times of their own.
    std::time_t arrival = 1000;
    for (const auto &listed : quarantine_.list()) {
        const files::UniqueFd fd(open(object(listed.id).c_str(), O_RDWR | O_CLOEXEC));
        auto record = readRecord(fd.get());
        record->arrival = arrival += 1000;
        ASSERT_FALSE(writeRecord(fd.get(), *record));
    }
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].time, 4000);
    EXPECT_EQ(list[2].time, 2000);
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

// Whenever the taking is killed, the file is in one place at least, and recovery clears the rest.
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
        ASSERT_TRUE(original || kept != list.end()) << round;
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
