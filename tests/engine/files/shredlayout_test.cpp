// Which parts of a file are overwritten, on file systems that tell more and less of it.
#include "engine/files/sandbox.h"
#include "files/shred.h"
#include "files/shredlayout.h"
#include "files/uniquefd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

constexpr long long kTebibyte = 1LL << 40;

// Something at its beginning, across the edge of a block in its middle, and nothing at its end.
UniqueFd makeSparse(const std::string &path)
{
    UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file || ftruncate(file.get(), kTebibyte) != 0 || pwrite(file.get(), "x", 1, 0) != 1 ||
        pwrite(file.get(), "xx", 2, kTebibyte / 2 - 1) != 2)
        file.reset();
    return file;
}

std::string rangesOf(int file)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return "gone";
    std::string text;
    for (const FileRange &range : layoutOf(file, status).ranges)
        text += std::to_string(range.start) + "+" + std::to_string(range.length) + " ";
    return text;
}

// The parts, how much one pass writes, and what went wrong.
std::string shredSparse(const std::string &path)
{
    const UniqueFd file = makeSparse(path);
    if (!file)
        return "cannot be made";
    std::string ranges = rangesOf(file.get());
    // Not where a whole tebibyte would be written.
    if (ranges.size() > 100 || ranges.find("+1099511627776") != std::string::npos)
        return ranges;
    long long last = 0;
    const ShredResult result =
        FileShredder({1, {}}).shred(path, [&](long long written, long long) { last = written; });
    return ranges + std::to_string(last) + result.text + (exists(path) ? " it is there" : "");
}

const std::string kBoth = "0+4096 " + std::to_string(kTebibyte / 2 - 4096) + "+8192 12288";

} // namespace

TEST(ShredLayout, PassesOverHoles)
{
    const TempFolder folder;
    EXPECT_EQ(shredSparse(folder / "file"), kBoth);
}

TEST(ShredLayout, PassesOverHolesWhereNoExtentsAreTold)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to mount";
    const TempFolder folder;
    EXPECT_EQ(withOwnMounts([&]() -> std::string {
                  if (mount("none", folder.path().c_str(), "tmpfs", 0, "size=1m") != 0)
                      return "cannot mount";
                  return shredSparse(folder / "file");
              }),
              kBoth);
}

TEST(ShredLayout, TakesAFileWithoutHolesWhole)
{
    const TempFolder folder;
    writeFile(folder / "file", std::string(10000, 'x'));
    const UniqueFd file(open((folder / "file").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(rangesOf(file.get()), "0+12288 ");
}
