#include "files/duplicates/comparison.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace talo::files
{

namespace
{

constexpr off_t kBuffer = 1 << 20;

// As much as there is, up to a whole buffer. Negative: errno says why.
ssize_t fill(int fd, std::vector<char> &buffer, off_t offset)
{
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = pread(fd, buffer.data() + filled, buffer.size() - filled,
                                    offset + static_cast<off_t>(filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return count;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

} // namespace

std::optional<Error> compareContents(const OpenedFile &a, const OpenedFile &b)
{
    const Error different{ESTALE, "it is no longer equal to the copy that would stay"};
    if (a.status.st_size != b.status.st_size)
        return different;
    // One byte more than a small file has, so that one that grew is found out at once.
    const auto size = static_cast<std::size_t>(std::min<off_t>(a.status.st_size, kBuffer - 1)) + 1;
    std::vector<char> bufferA(size);
    std::vector<char> bufferB(size);
    off_t offset = 0;
    for (;;) {
        const ssize_t countA = fill(a.fd.get(), bufferA, offset);
        const ssize_t countB = countA < 0 ? -1 : fill(b.fd.get(), bufferB, offset);
        if (countB < 0)
            return systemError(errno);
        const auto count = static_cast<std::size_t>(countA);
        if (countA != countB || std::memcmp(bufferA.data(), bufferB.data(), count) != 0)
            return different;
        offset += countA;
        if (count < size)
            break;
    }
    if (offset < a.status.st_size) // cut off after it was opened
        return different;
    return std::nullopt;
}

} // namespace talo::files
