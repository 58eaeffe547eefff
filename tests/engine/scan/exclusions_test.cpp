#include "scan/exclusions.h"

#include "engine/files/sandbox.h"
#include "scan/mounts.h"
#include "scan/trustedlinks.h"
#include "scan/walk.h"

#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;

namespace
{

using Purpose = Walk::Purpose;

class ExcludingWalk : public testing::Test
{
protected:
    void folder(const std::string &name) { mkdir((folder_ / name).c_str(), 0755); }
    void file(const std::string &name) { writeFile(folder_ / name, "text"); }

    // What a walk says of each thing that it meets, by path without the folder's own.
    std::map<std::string, std::string> walk(const ExclusionPatterns &patterns,
                                            const std::string &root = {},
                                            Purpose purpose = Purpose::Scan)
    {
        Walk walk({folder_.path() + root}, {}, purpose, std::make_shared<Exclusions>(patterns));
        std::map<std::string, std::string> met;
        for (;;) {
            const Walk::Found found = walk.next();
            if (found.kind == Walk::Kind::End)
                break;
            if (found.kind != Walk::Kind::Step)
                met[found.path.substr(folder_.path().size())] = found.reason;
        }
        EXPECT_EQ(walk.rootsOpened(), 1U);
        return met;
    }

    using Met = std::map<std::string, std::string>;
    const std::string excluded_ = "excluded by the settings";
    TempFolder folder_;
};

} // namespace

TEST_F(ExcludingWalk, LeavesOutALocationAndAllBelowItAndSaysSoOnce)
{
    folder("a");
    folder("a/deep");
    folder("ab");
    for (const char *name : {"a/1", "a/deep/2", "ab/3", "b", "c"})
        file(name);
    const ExclusionPatterns patterns{{folder_ / "a", folder_ / "b", folder_ / "not/there"}, {}};
    for (const Purpose purpose : {Purpose::Scan, Purpose::Count})
        EXPECT_EQ(walk(patterns, "", purpose),
                  (Met{{"/a", excluded_}, {"/ab/3", ""}, {"/b", excluded_}, {"/c", ""}}));
}

TEST_F(ExcludingWalk, LeavesOutARootBelowALocation)
{
    folder("a");
    folder("a/deep");
    file("a/deep/1");
    for (const std::string &location : {folder_ / "a", folder_ / "a/deep", std::string("/")})
        for (const char *root : {"/a/deep", "/a/deep/1"}) {
            const ExclusionPatterns patterns{{location}, {}};
            EXPECT_EQ(walk(patterns, root), (Met{{root, excluded_}})) << location;
        }
    // What lies above a location is not left out.
    EXPECT_EQ(walk({{folder_ / "a/deep/1"}, {}}, "/a"), (Met{{"/a/deep/1", excluded_}}));
}

TEST_F(ExcludingWalk, LeavesOutFilesByTheirExtension)
{
    folder("folder.iso");
    for (const char *name : {"x.iso", "x.ISO", "x.y.Iso", ".iso", "iso", "x.iso.gz", "x.isox", "x.",
                             "folder.iso/x.txt", "x.\xc3\xa4"})
        file(name);
    const ExclusionPatterns patterns{{}, {"iso", "\xc3\xa4"}};
    for (const Purpose purpose : {Purpose::Scan, Purpose::Count})
        EXPECT_EQ(walk(patterns, "", purpose), (Met{{"/x.iso", excluded_},
                                                    {"/x.ISO", excluded_},
                                                    {"/x.y.Iso", excluded_},
                                                    {"/.iso", ""},
                                                    {"/iso", ""},
                                                    {"/x.iso.gz", ""},
                                                    {"/x.isox", ""},
                                                    {"/x.", ""},
                                                    {"/folder.iso/x.txt", ""},
                                                    {"/x.\xc3\xa4", excluded_}}));
}

TEST_F(ExcludingWalk, ScansAFileThatHasAnotherNameElsewhere)
{
    folder("a");
    folder("b");
    file("a/1");
    ASSERT_EQ(link((folder_ / "a/1").c_str(), (folder_ / "b/2").c_str()), 0);
    EXPECT_EQ(walk({{folder_ / "a"}, {}}), (Met{{"/a", excluded_}, {"/b/2", ""}}));
}

TEST_F(ExcludingWalk, KnowsALocationBehindALinkOfTheAdministrator)
{
    folder("real");
    folder("real/deep");
    file("real/deep/1");
    file("real/2");
    chmod(folder_.path().c_str(), 0755);
    ASSERT_EQ(symlink("real", (folder_ / "link").c_str()), 0);
    EXPECT_EQ(walk({{folder_ / "link/deep"}, {}}, "/real"),
              (Met{{"/real/deep", excluded_}, {"/real/2", ""}}));
}

TEST(TrustedLinks, AreFollowedAsFarAsNobodyElseCouldTurnThem)
{
    const TempFolder folder;
    const Mounts mounts;
    const auto follow = [&](const std::string &path) {
        return followTrustedLinks(folder / path, mounts);
    };
    chmod(folder.path().c_str(), 0755);
    for (const char *name : {"real", "real/deep", "open"})
        mkdir((folder / name).c_str(), 0755);
    chmod((folder / "open").c_str(), 0777);
    const auto link = [&](const char *target, const char *name) {
        ASSERT_EQ(symlink(target, (folder / name).c_str()), 0);
    };
    link("real", "relative");
    link((folder / "real").c_str(), "absolute");
    link("../real/deep", "real/up");
    link("loop", "loop");
    link("../real", "open/link");

    EXPECT_EQ(follow("real/deep"), folder / "real/deep");
    EXPECT_EQ(follow("relative/deep"), folder / "real/deep");
    EXPECT_EQ(follow("absolute/deep/missing/x"), folder / "real/deep/missing/x");
    EXPECT_EQ(follow("relative/up"), folder / "real/deep");
    EXPECT_EQ(follow("relative/up/../x"), folder / "real/x");
    EXPECT_EQ(follow("missing/x"), folder / "missing/x");
    EXPECT_EQ(follow("loop/x"), folder / "loop/x");
    // Anybody may write to this folder.
    EXPECT_EQ(follow("open/link/deep"), folder / "open/link/deep");
    EXPECT_EQ(followTrustedLinks("/", mounts), "/");
    EXPECT_EQ(followTrustedLinks("/..", mounts), "/");

    if (!isRoot())
        GTEST_SKIP() << "only root can make links of another user";
    link("real", "foreign");
    ASSERT_EQ(lchown((folder / "foreign").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(follow("foreign/deep"), folder / "foreign/deep");
    ASSERT_EQ(chown((folder / "real").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(follow("real/up"), folder / "real/up");
}

TEST(TrustedLinks, EndAtANetworkFileSystem)
{
    const TempFolder folder;
    chmod(folder.path().c_str(), 0755);
    mkdir((folder / "net").c_str(), 0755);
    ASSERT_EQ(symlink("..", (folder / "net/link").c_str()), 0);
    Mounts mounts;
    EXPECT_EQ(followTrustedLinks(folder / "net/link", mounts), folder.path());
    mounts.parse("100 1 0:50 / " + folder.path() + "/net rw - nfs4 server:/x rw\n");
    EXPECT_EQ(followTrustedLinks(folder / "net/link", mounts), folder / "net/link");
}
