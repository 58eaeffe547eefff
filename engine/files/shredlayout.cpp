#include "files/shredlayout.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace talo::files
{

namespace
{

constexpr std::uint64_t kUsualBlock = 4096;
constexpr std::uint64_t kLargestBlock = 65536; // FAT's largest cluster
constexpr unsigned kExtentsAtOnce = 64;

// The unit that space is given in. Network file systems tell the size they like to transfer
// instead; a file must not grow by that much.
std::uint64_t blockSize(const struct stat &status)
{
    const auto told = static_cast<std::uint64_t>(status.st_blksize);
    const bool powerOfTwo = told != 0 && (told & (told - 1)) == 0;
    return powerOfTwo && told >= 512 && told <= kLargestBlock ? told : kUsualBlock;
}

struct alignas(struct fiemap) ExtentQuery {
    std::array<char, sizeof(struct fiemap) + kExtentsAtOnce * sizeof(struct fiemap_extent)> bytes{};

    struct fiemap *map() { return reinterpret_cast<struct fiemap *>(bytes.data()); }
};

// All extents below `end`; false where the file system does not tell them.
bool listExtents(int file, std::uint64_t end, std::vector<struct fiemap_extent> &extents)
{
    for (std::uint64_t next = 0; next < end;) {
        ExtentQuery query;
        query.map()->fm_start = next;
        query.map()->fm_length = end - next;
        // What is still in memory alone gets its place first.
        query.map()->fm_flags = FIEMAP_FLAG_SYNC;
        query.map()->fm_extent_count = kExtentsAtOnce;
        if (ioctl(file, FS_IOC_FIEMAP, query.map()) != 0)
            return false;
        const unsigned count = std::min(query.map()->fm_mapped_extents, kExtentsAtOnce);
        if (count == 0)
            return true;
        for (unsigned index = 0; index < count; ++index)
            extents.push_back(query.map()->fm_extents[index]);
        const struct fiemap_extent &last = extents.back();
        if ((last.fe_flags & FIEMAP_EXTENT_LAST) != 0 || last.fe_logical + last.fe_length <= next)
            return true;
        next = last.fe_logical + last.fe_length;
    }
    return true;
}

// The same for file systems, as those in memory, that tell only where a file holds something.
bool listData(int file, std::uint64_t end, std::vector<FileRange> &parts)
{
    for (std::uint64_t next = 0; next < end;) {
        const off_t start = lseek(file, static_cast<off_t>(next), SEEK_DATA);
        if (start < 0)
            return errno == ENXIO; // nothing from there on
        const off_t hole = lseek(file, start, SEEK_HOLE);
        if (hole <= start)
            return false;
        next = static_cast<std::uint64_t>(hole);
        parts.push_back(
            {static_cast<std::uint64_t>(start), static_cast<std::uint64_t>(hole - start)});
    }
    return true;
}

void append(std::vector<FileRange> &ranges, std::uint64_t start, std::uint64_t end)
{
    if (!ranges.empty()) {
        FileRange &last = ranges.back();
        const std::uint64_t lastEnd = last.start + last.length;
        if (start <= lastEnd) {
            last.length = std::max(lastEnd, end) - last.start;
            return;
        }
    }
    if (end > start)
        ranges.push_back({start, end - start});
}

bool isSparse(const struct stat &status)
{
    return static_cast<std::uint64_t>(status.st_blocks) * 512 <
           static_cast<std::uint64_t>(status.st_size);
}

} // namespace

FileLayout layoutOf(int file, const struct stat &status)
{
    FileLayout layout;
    const std::uint64_t block = blockSize(status);
    const auto roundUp = [&](std::uint64_t at) { return (at + block - 1) / block * block; };
    const std::uint64_t end = roundUp(static_cast<std::uint64_t>(status.st_size));

    std::vector<struct fiemap_extent> extents;
    bool told = listExtents(file, end, extents);
    for (const struct fiemap_extent &extent : extents) {
        const std::uint64_t extentEnd =
            std::min<std::uint64_t>(extent.fe_logical + extent.fe_length, end);
        append(layout.ranges, extent.fe_logical / block * block, roundUp(extentEnd));
        layout.shared = layout.shared || (extent.fe_flags & FIEMAP_EXTENT_SHARED) != 0;
        constexpr std::uint32_t kNowhere =
            FIEMAP_EXTENT_UNKNOWN | FIEMAP_EXTENT_DELALLOC | FIEMAP_EXTENT_DATA_INLINE;
        if ((extent.fe_flags & kNowhere) == 0)
            layout.places.push_back({extent.fe_physical, extent.fe_length});
    }
    // Only a file with holes is worth trusting a list for.
    const bool sparse = isSparse(status);
    if (!told && sparse) {
        std::vector<FileRange> parts;
        layout.ranges.clear();
        told = listData(file, end, parts);
        for (const FileRange &part : parts)
            append(layout.ranges, part.start / block * block, roundUp(part.start + part.length));
    }
    if (!told || !sparse) {
        layout.ranges.clear();
        append(layout.ranges, 0, end);
    }
    return layout;
}

} // namespace talo::files
