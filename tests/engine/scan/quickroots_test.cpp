#include "scan/quickroots.h"

#include "engine/files/sandbox.h"
#include "scan/job.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;

namespace
{

bool contains(const std::vector<std::string> &list, const std::string &value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

} // namespace

TEST(QuickRoots, areTheProgramsOfProcesses)
{
    const auto files = programFilesIn(
        "55d0-55d1 r--p 00000000 fe:00 131 /usr/bin/a program\n"
        "55d1-55d2 r-xp 00001000 fe:00 131                        /usr/bin/a program\n"
        "7f00-7f01 r-xp 00000000 fe:00 132                        /usr/lib/libx.so.1\n"
        "7f01-7f02 r-xp 00000000 fe:00 132                        /usr/lib/libx.so.1\n"
        "7f02-7f03 r--p 00000000 fe:00 133                        /usr/share/data\n"
        "7f03-7f04 r-xp 00000000 fe:00 134                        /tmp/gone (deleted)\n"
        "7f04-7f05 r-xp 00000000 00:00 0                          [vdso]\n"
        "a /\n"
        "\n"
        "nonsense");
    EXPECT_EQ(files, (std::vector<std::string>{"/usr/bin/a program", "/usr/lib/libx.so.1"}));
}

TEST(QuickRoots, areFoundWhateverAUsersLanguageCallsThem)
{
    const TempFolder home;
    mkdir((home / ".config").c_str(), 0755);
    writeFile(home / ".config/user-dirs.dirs", "# comment\n"
                                               "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                                               "XDG_DOWNLOAD_DIR=\"$HOME/\"\n"
                                               "XDG_DOWNLOAD_DIR=broken\n");
    const auto places = placesInHome(home.path());
    EXPECT_TRUE(contains(places, home / "Schreibtisch"));
    EXPECT_TRUE(contains(places, home / "Downloads"));
    EXPECT_TRUE(contains(places, home / ".local/bin"));
    EXPECT_TRUE(contains(places, home / ".bashrc"));
    EXPECT_FALSE(contains(places, home / ""));

    unlink((home / ".config/user-dirs.dirs").c_str());
    ASSERT_EQ(mkfifo((home / ".config/user-dirs.dirs").c_str(), 0600), 0);
    alarm(20);
    EXPECT_TRUE(contains(placesInHome(home.path()), home / "Desktop"));
    alarm(0);
}

TEST(QuickRoots, areThereAndEachOnce)
{
    const auto roots = quickScanRoots();
    EXPECT_EQ(std::set<std::string>(roots.begin(), roots.end()).size(), roots.size());
    EXPECT_TRUE(contains(roots, "/tmp"));
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_TRUE(contains(roots, self));
    for (const std::string &root : roots)
        EXPECT_EQ(root.front(), '/');
}

TEST(QuickRoots, areWithinAUsersReach)
{
    EXPECT_EQ(asNobody([]() -> std::string {
                  for (const std::string &root : quickScanRoots()) {
                      if (access(root.c_str(), R_OK) != 0)
                          return root;
                  }
                  return "all readable";
              }),
              "all readable");
}
