#include "worker/isolation.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

TEST(EmptyFolder, RemovesEverythingHoweverDeepAndOnlyThat)
{
    std::string path = (fs::temp_directory_path() / "talo-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(path.data()), nullptr);
    const fs::path top = fs::path(path) / "top";
    const fs::path outside = fs::path(path) / "outside";
    fs::create_directories(top / "a" / "b" / "c");
    fs::create_directory(top / ".lifted0");
    fs::create_directory(outside);
    std::ofstream(outside / "kept") << "kept";
    std::ofstream(top / ".lifted0" / "file") << "x";
    std::ofstream(top / "a" / "b" / "file") << "x";
    fs::create_directory_symlink(outside, top / "a" / "link");
    fs::create_directory_symlink(outside, top / "link");

    // Deeper than a path can be long.
    const int folder = open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(folder, 0);
    const std::string name(200, 'd');
    int at = dup(folder);
    for (int depth = 0; depth < 60; ++depth) {
        ASSERT_EQ(mkdirat(at, name.c_str(), 0700), 0);
        const int below = openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(at);
        at = below;
    }
    close(at);

    talo::worker::emptyFolder(folder);
    close(folder);
    EXPECT_TRUE(fs::is_empty(top));
    EXPECT_TRUE(fs::exists(outside / "kept"));
    fs::remove_all(path);
}

} // namespace
