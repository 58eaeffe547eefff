#include "files/shredwriter.h"

#include "files/noisepump.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace talo::files
{

namespace
{

// Large enough for a drive to be busy all the time, small enough to be cheap.
constexpr std::uint64_t kPiece = 4u << 20;
constexpr std::uint64_t kPage = 4096;

// Past the page cache where the file system lets us: noise has no business there, and the drive is
// written while more noise is made.
class Writer
{
public:
    explicit Writer(int file) : file_(file) { setDirect(true); }

    // An errno value, or 0.
    int write(const char *data, std::uint64_t size, std::uint64_t offset)
    {
        while (size > 0) {
            const ssize_t count = pwrite(file_, data, size, static_cast<off_t>(offset));
            if (count < 0 && errno == EINTR)
                continue;
            // What the file system wants aligned it may want aligned more than that.
            if (count < 0 && errno == EINVAL && direct_) {
                setDirect(false);
                continue;
            }
            if (count <= 0)
                return count < 0 ? errno : EIO;
            data += count;
            size -= static_cast<std::uint64_t>(count);
            offset += static_cast<std::uint64_t>(count);
            // A write that was cut short leaves an odd place to go on from.
            if (size > 0 && direct_ && offset % kPage != 0)
                setDirect(false);
        }
        return 0;
    }

private:
    void setDirect(bool wanted)
    {
        const int flags = fcntl(file_, F_GETFL);
        direct_ = wanted && flags >= 0 && fcntl(file_, F_SETFL, flags | O_DIRECT) == 0;
        if (!wanted && flags >= 0)
            fcntl(file_, F_SETFL, flags & ~O_DIRECT);
    }

    int file_;
    bool direct_ = false;
};

std::uint64_t sumOf(const std::vector<FileRange> &ranges)
{
    std::uint64_t sum = 0;
    for (const FileRange &range : ranges)
        sum += range.length;
    return sum;
}

std::uint64_t largestOf(const std::vector<FileRange> &ranges)
{
    std::uint64_t largest = 0;
    for (const FileRange &range : ranges)
        largest = std::max(largest, range.length);
    return largest;
}

} // namespace

Overwritten overwrite(int file, const std::vector<FileRange> &ranges, int passes,
                      const ShredProgress &progress)
{
    Overwritten result;
    const std::uint64_t sum = sumOf(ranges);
    const auto planned = static_cast<long long>(sum) * passes;
    if (progress)
        progress(0, planned);
    if (sum == 0)
        return result;

    const std::uint64_t piece = std::min(kPiece, (largestOf(ranges) + kPage - 1) / kPage * kPage);
    NoisePump noise(piece, sum > piece ? NoisePump::Ahead::Yes : NoisePump::Ahead::No);
    Writer writer(file);
    for (int pass = 0; pass < passes; ++pass) {
        for (const FileRange &range : ranges) {
            for (std::uint64_t done = 0; done < range.length;) {
                const std::uint64_t size = std::min(piece, range.length - done);
                const char *data = noise.next();
                const int code =
                    data == nullptr ? ENOMEM : writer.write(data, size, range.start + done);
                if (code != 0) {
                    result.error = systemError(code);
                    return result;
                }
                done += size;
                result.written += static_cast<long long>(size);
                if (progress)
                    progress(result.written, planned);
            }
        }
        // Without this a drive may keep only the last pass, and the system's memory even none.
        if (fdatasync(file) != 0) {
            result.error = systemError(errno);
            return result;
        }
    }
    return result;
}

} // namespace talo::files
