// What a drive still holds after a file on it was shredded.
#include "engine/files/diskimage.h"
#include "engine/files/sandbox.h"
#include "files/shred.h"

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

using namespace talo::files;
using namespace talo::test;

namespace
{

constexpr long long kMiB = 1 << 20;
const std::string kMark = "TALO-SECRET-CONTENT";
const std::string kName = "A-secret-name.document";

struct Drive {
    const char *name;
    const char *type;
    const char *maker;
    long long size;
    bool forgetsNames;  // the journal of others cannot be cleared
    bool clearsInPlace; // others give what is cleared another place, and free the old one
};

std::ostream &operator<<(std::ostream &out, const Drive &drive)
{
    return out << drive.name;
}

std::string nameOf(const testing::TestParamInfo<Drive> &drive)
{
    return drive.param.name;
}

void resize(const std::string &path, long long size)
{
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(size));
}

// A mark at the beginning of each sector, with its number.
std::string sector(long long number)
{
    std::string text = kMark + " #" + std::to_string(number) + "\n";
    text.resize(512, '.');
    return text;
}

void writeMarked(const std::string &path, long long size, bool sparse = false)
{
    std::ofstream file(path, std::ios::binary);
    for (long long at = 0; at < size; at += 512) {
        // A hole in every other stretch of 64 KiB.
        if (sparse && (at / 65536) % 2 == 1)
            file.seekp(std::min(at + 512, size));
        else
            file << sector(at / 512).substr(
                0, static_cast<std::size_t>(std::min<long long>(512, size - at)));
    }
    file.close();
    resize(path, size);
}

// Empty, or what was wrong. Where names may remain that must be told.
std::string shredded(const std::string &path, bool forgetsNames)
{
    FileShredder shredder({1, {}});
    const ShredResult result = shredder.shred(path);
    if (!result.text.empty())
        return result.text;
    return shredder.finish().empty() == forgetsNames ? "" : "wrong words about the name";
}

// What should not have stayed, in words.
std::string traces(const DiskImage &image, bool names)
{
    std::string found;
    if (const auto at = image.find(kMark))
        found += "content at " + std::to_string(*at) + ": " + image.read(*at, 32) + "\n";
    if (!names)
        return found;
    if (const auto at = image.find(kName))
        found += "name at " + std::to_string(*at) + "\n";
    std::string wide; // as FAT writes the second part of it
    for (const char letter : kName.substr(5, 6))
        wide += std::string{letter, '\0'};
    if (const auto at = image.find(wide))
        found += "wide name at " + std::to_string(*at) + "\n";
    return found;
}

class ShredImage : public testing::TestWithParam<Drive>
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "needs root, to mount";
        std::ifstream known("/proc/filesystems");
        const std::string type = GetParam().type;
        if (std::find(std::istream_iterator<std::string>(known), {}, type) ==
            std::istream_iterator<std::string>())
            GTEST_SKIP() << "the running kernel has no " << type;
    }

    // The function's words, or those of what it threw; empty is good.
    static std::string mounted(const std::function<std::string(DiskImage &)> &use,
                               long long size = GetParam().size)
    {
        const TempFolder folder;
        return withOwnMounts([&]() -> std::string {
            try {
                DiskImage image(folder.path(), GetParam().maker, size);
                return use(image);
            } catch (const std::exception &error) {
                return error.what();
            }
        });
    }

    static std::string leavesNoTraces(long long size, bool sparse = false)
    {
        return mounted(
            [&](DiskImage &image) -> std::string {
                image.mount();
                writeMarked(image / kName, size, sparse);
                if (!image.find(kMark))
                    return "the content never was there";
                if (std::string text = shredded(image / kName, GetParam().forgetsNames);
                    !text.empty())
                    return text;
                if (exists(image / kName))
                    return "it is still listed";
                image.unmount();
                return traces(image, GetParam().forgetsNames);
            },
            std::max(GetParam().size, size + 200 * kMiB * (size > 200 * kMiB ? 1 : 0)));
    }

    // Makes a file that ends within a block, and puts marks into the rest of the block.
    static std::string leavesNoSlack(long long size)
    {
        return mounted([&](DiskImage &image) -> std::string {
            image.mount();
            const long long lastSector = (size - 1) / 512;
            writeMarked(image / kName, (lastSector + 1) * 512);
            const auto at = image.find(sector(lastSector));
            if (!at)
                return "the content never was there";
            resize(image / kName, size);
            image.unmount();
            const long long end = *at + size - lastSector * 512;
            image.plant(end, kMark);
            image.mount();
            if (std::string text = shredded(image / kName, GetParam().forgetsNames); !text.empty())
                return text;
            image.unmount();
            return traces(image, false);
        });
    }
};

} // namespace

TEST_P(ShredImage, KeepsNothingOfAFile)
{
    EXPECT_EQ(leavesNoTraces(3 * kMiB), "");
}

TEST_P(ShredImage, KeepsNothingOfASparseFile)
{
    EXPECT_EQ(leavesNoTraces(2 * kMiB + 100, true), "");
}

TEST_P(ShredImage, KeepsNothingOfAFileThatEndsWithinABlock)
{
    EXPECT_EQ(leavesNoTraces(5000), "");
    EXPECT_EQ(leavesNoSlack(5000), "");
}

TEST_P(ShredImage, KeepsNothingOfOneByte)
{
    EXPECT_EQ(leavesNoSlack(1), "");
    EXPECT_EQ(mounted([](DiskImage &image) -> std::string {
                  image.mount();
                  writeMarked(image / kName, 512);
                  const auto at = image.find(kMark);
                  resize(image / kName, 1);
                  sync();
                  if (!at || image.read(*at, 2) != std::string("T\0", 2))
                      return "the byte is not where it was";
                  if (std::string text = shredded(image / kName, GetParam().forgetsNames);
                      !text.empty())
                      return text;
                  image.unmount();
                  const std::string now = image.read(*at, 8);
                  return now == std::string("T\0\0\0\0\0\0\0", 8) ? "the byte is still there" : "";
              }),
              "");
}

TEST_P(ShredImage, KeepsNothingOfAFileInAFullFolder)
{
    EXPECT_EQ(mounted([](DiskImage &image) -> std::string {
                  image.mount();
                  for (int number = 0; number < 12; ++number)
                      writeFile(image / ("Neighbour number " + std::to_string(number)), "x");
                  writeMarked(image / kName, 10000);
                  for (int number = 0; number < 12; ++number)
                      writeFile(image / ("Later neighbour " + std::to_string(number)), "x");
                  for (int number = 0; number < 12; number += 3)
                      unlink((image / ("Neighbour number " + std::to_string(number))).c_str());
                  if (!image.find(kMark))
                      return "the content never was there";
                  if (std::string text = shredded(image / kName, GetParam().forgetsNames);
                      !text.empty())
                      return text;
                  for (int number = 1; number < 12; number += 3)
                      if (readFile(image / ("Neighbour number " + std::to_string(number))) != "x")
                          return "a neighbour has changed";
                  image.unmount();
                  return traces(image, GetParam().forgetsNames);
              }),
              "");
}

TEST_P(ShredImage, OverwritesWhatWasSetAsideAndCleared)
{
    if (!GetParam().clearsInPlace)
        GTEST_SKIP() << "this file system frees what is cleared";
    EXPECT_EQ(mounted([](DiskImage &image) -> std::string {
                  image.mount();
                  writeMarked(image / kName, kMiB);
                  if (!image.find(kMark))
                      return "the content never was there";
                  const int file = open((image / kName).c_str(), O_WRONLY | O_CLOEXEC);
                  // Where it can be done the content stays on the drive, but is not told any more.
                  fallocate(file, FALLOC_FL_ZERO_RANGE, 0, kMiB / 2);
                  close(file);
                  if (std::string text = shredded(image / kName, GetParam().forgetsNames);
                      !text.empty())
                      return text;
                  image.unmount();
                  return traces(image, false);
              }),
              "");
}

INSTANTIATE_TEST_SUITE_P(
    Drives, ShredImage,
    testing::Values(Drive{"ext4", "ext4", "mkfs.ext4 -q -b 4096", 64 * kMiB, true, true},
                    Drive{"ext4_without_journal", "ext4", "mkfs.ext4 -q -O ^has_journal", 64 * kMiB,
                          true, true},
                    Drive{"ext4_small_blocks", "ext4", "mkfs.ext4 -q -b 1024", 64 * kMiB, true,
                          true},
                    Drive{"fat32", "vfat", "mkfs.vfat -F 32 -s 8", 300 * kMiB, true, false},
                    Drive{"fat16", "vfat", "mkfs.vfat -F 16 -s 16", 64 * kMiB, true, false},
                    Drive{"xfs", "xfs", "mkfs.xfs -q", 320 * kMiB, false, false}),
    nameOf);

// A gigabyte takes its time: on one file system only.
class ShredLargeImage : public ShredImage
{
};

TEST_P(ShredLargeImage, KeepsNothing)
{
    EXPECT_EQ(leavesNoTraces(1024 * kMiB), "");
}

INSTANTIATE_TEST_SUITE_P(Drives, ShredLargeImage,
                         testing::Values(Drive{"ext4", "ext4", "mkfs.ext4 -q", 64 * kMiB, true,
                                               true}),
                         nameOf);
