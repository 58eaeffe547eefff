#include "scan/walk.h"

#include "engine/files/sandbox.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;
using talo::files::UniqueFd;

namespace
{

using Kind = Walk::Kind;

// What a walk found: a file's name, or the reason for passing it over, by path.
struct Harvest {
    std::map<std::string, std::string> files, skipped, errors;
    std::uint64_t bytes = 0;
    std::size_t roots = 0;

    std::size_t total() const { return files.size() + skipped.size() + errors.size(); }
};

void take(Harvest &harvest, const Walk::Found &found)
{
    switch (found.kind) {
    case Kind::File:
        EXPECT_TRUE(harvest.files.emplace(found.path, found.name).second) << found.path;
        harvest.bytes += static_cast<std::uint64_t>(found.status.st_size);
        break;
    case Kind::Skipped:
        EXPECT_TRUE(harvest.skipped.emplace(found.path, found.reason).second) << found.path;
        break;
    case Kind::Error:
        harvest.errors[found.path] = found.reason;
        break;
    case Kind::Step:
    case Kind::End:
        break;
    }
}

Harvest drain(Walk &walk)
{
    Harvest harvest;
    for (;;) {
        const Walk::Found found = walk.next();
        if (found.kind == Kind::End)
            break;
        take(harvest, found);
    }
    harvest.roots = walk.rootsOpened();
    return harvest;
}

Harvest walkFrom(std::vector<std::string> roots, Walk::Purpose purpose = Walk::Purpose::Scan,
                 std::vector<talo::files::Identity> leaveOut = {})
{
    Walk walk(std::move(roots), std::move(leaveOut), purpose);
    return drain(walk);
}

class WalkTest : public testing::Test
{
protected:
    void folder(const std::string &name) { mkdir((folder_ / name).c_str(), 0755); }
    void file(const std::string &name) { writeFile(folder_ / name, "text"); }

    TempFolder folder_;
};

// A chain of folders, each in the one before, with a file in the last.
void makeDeep(const std::string &top, int levels, const std::string &name)
{
    UniqueFd at(open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < levels; ++i) {
        ASSERT_EQ(mkdirat(at.get(), name.c_str(), 0755), 0);
        at = UniqueFd(openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    const UniqueFd file(openat(at.get(), "bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_TRUE(file);
}

} // namespace

TEST_F(WalkTest, findsFilesWhateverTheirNames)
{
    folder("sub");
    folder("empty");
    const std::string names[] = {"plain", "new\nline", "com,ma",      "ha#sh",   "\xFF\xFE",
                                 " ",     "-rf",       "back\\slash", ".hidden", "sub/x"};
    for (const std::string &name : names)
        file(name);
    const Harvest harvest = walkFrom({folder_.path()});
    for (const std::string &name : names)
        EXPECT_EQ(harvest.files.count(folder_ / name), 1u) << name;
    EXPECT_EQ(harvest.total(), std::size(names));
    EXPECT_EQ(harvest.bytes, 4 * std::size(names));
}

TEST_F(WalkTest, givesTheFileOpenAndItsFolder)
{
    folder("sub");
    file("sub/x");
    Walk walk({folder_.path()}, {}, Walk::Purpose::Scan);
    Walk::Found found;
    while (found = walk.next(), found.kind == Kind::Step) {
    }
    ASSERT_EQ(found.kind, Kind::File);
    struct stat byName = {};
    ASSERT_EQ(fstatat(found.folder->get(), found.name.c_str(), &byName, 0), 0);
    EXPECT_EQ(byName.st_ino, found.status.st_ino);
    char text[8];
    EXPECT_EQ(read(found.fd.get(), text, sizeof text), 4);
}

TEST_F(WalkTest, passesOverWhatIsNoFile)
{
    file("a");
    mkfifo((folder_ / "pipe").c_str(), 0600);
    ASSERT_EQ(symlink("a", (folder_ / "link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (folder_ / "broken").c_str()), 0);
    ASSERT_EQ(symlink(".", (folder_ / "loop").c_str()), 0);
    const UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{AF_UNIX, {}};
    (folder_ / "socket").copy(static_cast<char *>(address.sun_path), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(fd.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    if (isRoot()) {
        ASSERT_EQ(mknod((folder_ / "device").c_str(), S_IFCHR | 0600, makedev(1, 3)), 0);
    }

    alarm(20);
    Harvest harvest = walkFrom({folder_.path()});
    alarm(0);
    EXPECT_EQ(harvest.files.size(), 1u);
    EXPECT_EQ(harvest.skipped[folder_ / "pipe"], "a named pipe");
    EXPECT_EQ(harvest.skipped[folder_ / "socket"], "a socket");
    const std::string link = "a symbolic link; its target is scanned where it lies";
    EXPECT_EQ(harvest.skipped[folder_ / "link"], link);
    EXPECT_EQ(harvest.skipped[folder_ / "broken"], link);
    EXPECT_EQ(harvest.skipped[folder_ / "loop"], link);
    if (isRoot()) {
        EXPECT_EQ(harvest.skipped[folder_ / "device"], "a device");
    }
}

TEST_F(WalkTest, meetsEachFileOnce)
{
    folder("sub");
    file("a");
    ASSERT_EQ(link((folder_ / "a").c_str(), (folder_ / "sub/b").c_str()), 0);
    EXPECT_EQ(walkFrom({folder_.path()}).files.size(), 1u);
    EXPECT_EQ(walkFrom({folder_.path()}, Walk::Purpose::Count).files.size(), 1u);
    EXPECT_EQ(walkFrom({folder_ / "sub", folder_.path(), folder_ / "a"}).files.size(), 1u);
}

TEST_F(WalkTest, beginsAtAFileOrLink)
{
    folder("sub");
    file("sub/x");
    ASSERT_EQ(symlink("sub", (folder_ / "link").c_str()), 0);
    EXPECT_EQ(walkFrom({folder_ / "sub/x"}).files.count(folder_ / "sub/x"), 1u);
    EXPECT_EQ(walkFrom({folder_ / "link"}).files.count(folder_ / "sub/x"), 1u);
    EXPECT_EQ(walkFrom({folder_ / "link/../sub/./"}).files.count(folder_ / "sub/x"), 1u);
}

TEST_F(WalkTest, saysWhyARootCannotBeOpened)
{
    file("a");
    Walk walk({folder_ / "none", "relative", folder_ / "a"}, {}, Walk::Purpose::Scan);
    Harvest harvest = drain(walk);
    EXPECT_EQ(harvest.errors[folder_ / "none"], "it does not exist");
    EXPECT_EQ(harvest.errors["relative"], "it is not an absolute path");
    EXPECT_EQ(harvest.files.size(), 1u);
    EXPECT_EQ(harvest.roots, 1u);
    EXPECT_EQ(walk.rootFailure(), folder_ / "none" + ": it does not exist");
}

TEST_F(WalkTest, takesDownWhatItMayNotOpen)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root";
    folder("closed");
    file("closed/x");
    file("secret");
    file("open");
    chmod((folder_ / "closed").c_str(), 0700);
    chmod((folder_ / "secret").c_str(), 0600);
    EXPECT_EQ(asNobody([&] {
                  Harvest harvest = walkFrom({folder_.path()});
                  return std::to_string(harvest.files.count(folder_ / "open")) + " " +
                         harvest.errors[folder_ / "closed"] + ", " +
                         harvest.errors[folder_ / "secret"];
              }),
              "1 permission denied, permission denied");
    EXPECT_EQ(asNobody([&] {
                  return std::to_string(walkFrom({folder_ / "closed"}).roots) +
                         walkFrom({folder_ / "secret"}).errors[folder_ / "secret"];
              }),
              "0permission denied");
}

TEST_F(WalkTest, leavesOutOurOwnFolders)
{
    folder("own");
    file("own/x");
    file("a");
    struct stat own = {};
    stat((folder_ / "own").c_str(), &own);
    Harvest harvest =
        walkFrom({folder_.path()}, Walk::Purpose::Scan, {talo::files::identityOf(own)});
    EXPECT_EQ(harvest.files.size(), 1u);
    EXPECT_EQ(harvest.skipped[folder_ / "own"], "a folder of this product");
}

TEST_F(WalkTest, countsWhatItWouldScan)
{
    folder("sub");
    for (int i = 0; i < 500; ++i)
        file("sub/" + std::to_string(i));
    mkfifo((folder_ / "pipe").c_str(), 0600);
    const Harvest scan = walkFrom({folder_.path(), folder_ / "none"});
    const Harvest count = walkFrom({folder_.path(), folder_ / "none"}, Walk::Purpose::Count);
    EXPECT_EQ(scan.files, count.files);
    EXPECT_EQ(scan.skipped, count.skipped);
    EXPECT_EQ(scan.errors, count.errors);
    EXPECT_EQ(scan.bytes, count.bytes);
}

TEST_F(WalkTest, goesDownAnyTreeWithFewOpenFolders)
{
    makeDeep(folder_.path(), 5000, "d");
    file("top");
    EXPECT_EQ(inChild([&]() -> std::string {
                  const rlimit few{100, 100};
                  setrlimit(RLIMIT_NOFILE, &few);
                  const Harvest harvest = walkFrom({folder_.path()});
                  return std::to_string(harvest.files.size()) + " files, " +
                         std::to_string(harvest.errors.size()) + " errors";
              }),
              "2 files, 0 errors");
}

TEST_F(WalkTest, goesOnWithEachFolderOfADeepTreeWhereItLeft)
{
    // Two folders and some files on each level: what comes after the first must be found when the
    // walk has come back and opened the level again.
    UniqueFd at(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < 200; ++i) {
        for (const char *name : {"a", "b", "c", "d", "e"})
            ASSERT_TRUE(UniqueFd(openat(at.get(), name, O_WRONLY | O_CREAT | O_CLOEXEC, 0644)));
        ASSERT_EQ(symlinkat("a", at.get(), "link"), 0);
        ASSERT_EQ(mkdirat(at.get(), "other", 0755), 0);
        ASSERT_TRUE(UniqueFd(openat(at.get(), "other/f", O_WRONLY | O_CREAT | O_CLOEXEC, 0644)));
        ASSERT_EQ(mkdirat(at.get(), "on", 0755), 0);
        at = UniqueFd(openat(at.get(), "on", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    const Harvest harvest = walkFrom({folder_.path()});
    EXPECT_EQ(harvest.files.size(), 200u * 6);
    EXPECT_EQ(harvest.skipped.size(), 200u);
    EXPECT_TRUE(harvest.errors.empty());
}

TEST_F(WalkTest, saysWhereATreeIsTooDeep)
{
    makeDeep(folder_.path(), 400, std::string(200, 'x'));
    file("top");
    const Harvest harvest = walkFrom({folder_.path()});
    EXPECT_EQ(harvest.files.size(), 1u);
    ASSERT_EQ(harvest.errors.size(), 1u);
    EXPECT_EQ(harvest.errors.begin()->second, "it is nested too deeply to be scanned");
}

TEST_F(WalkTest, saysWhatItLostToAFolderMovedMeanwhile)
{
    makeDeep(folder_.path(), 200, "d");
    file("top");
    std::string middle = folder_.path();
    for (int i = 0; i < 100; ++i)
        middle += "/d";
    Walk walk({folder_.path()}, {}, Walk::Purpose::Scan);
    Harvest harvest;
    for (;;) {
        const Walk::Found found = walk.next();
        if (found.kind == Kind::End)
            break;
        take(harvest, found);
        if (found.name == "bottom") {
            ASSERT_EQ(rename(middle.c_str(), (folder_ / "moved").c_str()), 0);
        }
    }
    EXPECT_EQ(harvest.files.count(folder_ / "top"), 1u);
    ASSERT_FALSE(harvest.errors.empty());
    EXPECT_NE(harvest.errors.begin()->second.find("folders were moved"), std::string::npos);
}

TEST_F(WalkTest, takesNoHarmFromWhatIsRemovedMeanwhile)
{
    for (int i = 0; i < 50; ++i) {
        const std::string sub = "s" + std::to_string(i);
        folder(sub);
        for (int k = 0; k < 20; ++k)
            file(sub + "/" + std::to_string(k));
    }
    Walk walk({folder_.path()}, {}, Walk::Purpose::Scan);
    Walk::Found found;
    while (found = walk.next(), found.kind == Kind::Step) {
    }
    for (const auto &entry : std::filesystem::directory_iterator(folder_.path()))
        std::filesystem::remove_all(entry.path());
    const Harvest harvest = drain(walk);
    EXPECT_TRUE(harvest.errors.empty());
    EXPECT_LT(harvest.files.size(), 1000u);
}
