#include "files/duplicates/content.h"

#include "files/duplicates/beneath.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__x86_64__)
#include <xxh_x86dispatch.h> // takes the widest vectors that the processor has
#else
#include <xxhash.h>
#endif

namespace talo::files
{

namespace
{

constexpr std::size_t kSample = 4096;
// Disk images, databases and recordings often differ in the middle alone.
constexpr std::uint64_t kSampledBetween = 8u << 20u;
constexpr std::uint64_t kSamplesBetween = 6;
constexpr std::size_t kBuffer = 256u << 10u; // stays in the processor's cache

static_assert(kBuffer >= kReadAtOnce && kBuffer >= (kSamplesBetween + 2) * kSample);

Digest digestOf(const void *data, std::size_t size)
{
    const XXH128_hash_t hash = XXH3_128bits(data, size);
    return {hash.low64, hash.high64};
}

bool isStill(const Tree &tree, const FileRecord &file, const struct stat &status)
{
    return S_ISREG(status.st_mode) && status.st_ino == file.inode &&
           status.st_dev == tree.folderOf(file).device &&
           static_cast<std::uint64_t>(status.st_size) == file.size &&
           timesStamp(status) == file.stamp;
}

bool isStill(const Tree &tree, const FileRecord &file, int fd)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && isStill(tree, file, status);
}

std::optional<UniqueFd> openIfUnchanged(const Tree &tree, const FileRecord &file)
{
    auto opened = openFileBeneath(tree.root(), tree.relativePath(file));
    if (!opened || !isStill(tree, file, opened->status))
        return std::nullopt;
    return std::move(opened->fd);
}

} // namespace

ContentReader::ContentReader(const Tree &tree) : tree_(tree), buffer_(kBuffer) {}

// False where the file ends before, too.
bool ContentReader::readAt(int fd, std::size_t into, std::size_t size, std::uint64_t offset)
{
    while (size > 0) {
        const ssize_t count = pread(fd, buffer_.data() + into, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        into += static_cast<std::size_t>(count);
        size -= static_cast<std::size_t>(count);
        offset += static_cast<std::uint64_t>(count);
    }
    return true;
}

bool ContentReader::readSamples(int fd, std::uint64_t size, std::size_t &filled)
{
    // Single pages are wanted, and none of those behind them.
    posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    const std::uint64_t between = size >= kSampledBetween ? kSamplesBetween : 0;
    const std::uint64_t step = (size - kSample) / (between + 1) / kSample * kSample;
    for (std::uint64_t i = 0; i <= between + 1; ++i) {
        const std::uint64_t offset = i <= between ? i * step : size - kSample;
        if (!readAt(fd, filled, kSample, offset))
            return false;
        filled += kSample;
    }
    return true;
}

std::optional<Digest> ContentReader::firstLook(const FileRecord &file)
{
    const auto fd = openIfUnchanged(tree_, file);
    if (!fd)
        return std::nullopt;
    std::size_t filled = 0;
    bool read = false;
    if (file.size <= kReadAtOnce) {
        filled = static_cast<std::size_t>(file.size);
        read = readAt(fd->get(), 0, filled, 0);
    } else {
        read = readSamples(fd->get(), file.size, filled);
    }
    if (!read || !isStill(tree_, file, fd->get()))
        return std::nullopt;
    return digestOf(buffer_.data(), filled);
}

std::optional<Digest> ContentReader::segment(const FileRecord &file, std::uint64_t number)
{
    const auto fd = openIfUnchanged(tree_, file);
    if (!fd)
        return std::nullopt;
    std::uint64_t offset = number * kSegment;
    const std::uint64_t end = std::min(file.size, offset + kSegment);
    if (end - offset > kBuffer)
        posix_fadvise(fd->get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    struct Free {
        void operator()(XXH3_state_t *state) const { XXH3_freeState(state); }
    };
    const std::unique_ptr<XXH3_state_t, Free> state(XXH3_createState());
    if (!state)
        throw std::bad_alloc();
    XXH3_128bits_reset(state.get());
    while (offset < end) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(kBuffer, end - offset));
        if (!readAt(fd->get(), 0, size, offset))
            return std::nullopt;
        XXH3_128bits_update(state.get(), buffer_.data(), size);
        offset += size;
    }
    if (!isStill(tree_, file, fd->get()))
        return std::nullopt;
    const XXH128_hash_t hash = XXH3_128bits_digest(state.get());
    return Digest{hash.low64, hash.high64};
}

Digest joined(const Digest *parts, std::size_t count)
{
    return digestOf(parts, count * sizeof(Digest));
}

std::optional<struct timespec> modifiedIfUnchanged(const Tree &tree, const FileRecord &file)
{
    // A link that came into the path meanwhile is no matter: it would have to lead to this very
    // file, and nothing is done to it here.
    const std::string path = tree.relativePath(file);
    struct stat status = {};
    if (fstatat(tree.root(), path.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENAMETOOLONG)
            return std::nullopt;
        const auto opened = openFileBeneath(tree.root(), path);
        if (!opened)
            return std::nullopt;
        status = opened->status;
    }
    if (!isStill(tree, file, status))
        return std::nullopt;
    return status.st_mtim;
}

} // namespace talo::files
