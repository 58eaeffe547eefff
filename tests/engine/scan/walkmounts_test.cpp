// What a walk does where other file systems are mounted.
#include "engine/files/sandbox.h"
#include "scan/walk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;

namespace
{

class WalkMounts : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "needs root, to mount";
        for (const char *name : {"one", "two", "three"})
            mkdir((folder_ / name).c_str(), 0755);
        writeFile(folder_ / "one/x", "text");
    }

    // A line for each thing found, without the folder's own path, in the order of the walk.
    std::string rest(Walk &walk) const
    {
        std::string text;
        for (;;) {
            const Walk::Found found = walk.next();
            if (found.kind == Walk::Kind::End)
                return text;
            if (found.kind == Walk::Kind::Step)
                continue;
            text += found.path.substr(std::min(found.path.size(), folder_.path().size()));
            text += found.reason.empty() ? "\n" : ": " + found.reason + "\n";
        }
    }

    std::string all(const std::string &root) const
    {
        Walk walk({root}, {}, Walk::Purpose::Scan);
        return rest(walk);
    }

    TempFolder folder_;
};

std::string failed(const char *what)
{
    return std::string("cannot mount ") + what;
}

} // namespace

TEST_F(WalkMounts, crossesIntoLocalDrives)
{
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount("none", (folder_ / "two").c_str(), "tmpfs", 0, nullptr))
                      return failed("tmpfs");
                  writeFile(folder_ / "two/y", "text");
                  unlink((folder_ / "one/x").c_str());
                  return all(folder_.path());
              }),
              "/two/y\n");
}

TEST_F(WalkMounts, meetsAFolderThatIsMountedTwiceOnce)
{
    const std::string found = withOwnMounts([&]() -> std::string {
        if (mount((folder_ / "one").c_str(), (folder_ / "two").c_str(), nullptr, MS_BIND, nullptr))
            return failed("bind");
        return all(folder_.path());
    });
    EXPECT_TRUE(found == "/one/x\n" || found == "/two/x\n") << found;
}

TEST_F(WalkMounts, endsInAFolderThatIsMountedBelowItself)
{
    EXPECT_EQ(
        withOwnMounts([&]() -> std::string {
            alarm(20);
            if (mount(folder_.path().c_str(), (folder_ / "two").c_str(), nullptr, MS_BIND, nullptr))
                return failed("bind");
            return all(folder_.path());
        }),
        "/one/x\n");
}

TEST_F(WalkMounts, passesOverPseudoFileSystemsUnlessAimedThere)
{
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount("proc", (folder_ / "two").c_str(), "proc", 0, nullptr))
                      return failed("proc");
                  unlink((folder_ / "one/x").c_str());
                  return all(folder_.path());
              }),
              "/two: a pseudo file system (proc)\n");
    const std::string inside = withOwnMounts([&]() -> std::string {
        if (mount("proc", (folder_ / "two").c_str(), "proc", 0, nullptr))
            return failed("proc");
        return all(folder_ / "two/sys/kernel/random");
    });
    EXPECT_NE(inside.find("/two/sys/kernel/random/uuid\n"), std::string::npos) << inside;
}

TEST_F(WalkMounts, noticesWhatIsMountedMeanwhile)
{
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  Walk walk({folder_.path()}, {}, Walk::Purpose::Scan);
                  walk.next();
                  if (mount("proc", (folder_ / "two").c_str(), "proc", 0, nullptr))
                      return failed("proc");
                  unlink((folder_ / "one/x").c_str());
                  return rest(walk);
              }),
              "/two: a pseudo file system (proc)\n");
}

// Nothing answers this one: to touch it would wait for ever.
TEST_F(WalkMounts, doesNotTouchAFileSystemThatDoesNotAnswer)
{
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  const int fuse = open("/dev/fuse", O_RDWR | O_CLOEXEC);
                  if (fuse < 0)
                      return "skip";
                  const std::string options = "fd=" + std::to_string(fuse) +
                                              ",rootmode=40000,user_id=0,group_id=0,subtype=far";
                  if (mount("far", (folder_ / "two").c_str(), "fuse", 0, options.c_str()))
                      return failed("fuse");
                  unlink((folder_ / "one/x").c_str());
                  alarm(20);
                  return all(folder_.path());
              }),
              "/two: a network file system (fuse.far)\n");
}
