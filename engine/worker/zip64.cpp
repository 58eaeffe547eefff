#include "zip64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace talo::worker
{

namespace
{

constexpr std::uint32_t kElsewhere = 0xFFFFFFFFu; // "see the extension"
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kLongestComment = 65535;
constexpr std::size_t kEntrySize = 46;
constexpr std::size_t kLocalSize = 30;

std::uint32_t number(const unsigned char *bytes, unsigned count)
{
    std::uint32_t value = 0;
    for (unsigned index = 0; index < count; ++index)
        value |= static_cast<std::uint32_t>(bytes[index]) << (8 * index);
    return value;
}

bool readAt(int fd, std::uint64_t offset, unsigned char *to, std::size_t size)
{
    return pread(fd, to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

bool begins(const unsigned char *bytes, const char *signature)
{
    return std::memcmp(bytes, signature, 4) == 0;
}

struct Directory {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t shift = 0; // what stands before the archive, as in a self-extracting one
    bool elsewhere = false;
};

bool findDirectory(int fd, std::uint64_t fileSize, Directory &directory)
{
    std::vector<unsigned char> tail(std::min<std::uint64_t>(fileSize, kEndSize + kLongestComment));
    if (tail.size() < kEndSize || !readAt(fd, fileSize - tail.size(), tail.data(), tail.size()))
        return false;
    for (std::size_t back = kEndSize; back <= tail.size(); ++back) {
        const unsigned char *record = tail.data() + tail.size() - back;
        if (!begins(record, "PK\5\6"))
            continue;
        const std::uint32_t size = number(record + 12, 4);
        const std::uint32_t offset = number(record + 16, 4);
        directory.elsewhere = size == kElsewhere || offset == kElsewhere;
        directory.end = fileSize - back;
        if (directory.elsewhere)
            return true;
        if (size > directory.end || offset > directory.end - size)
            return false;
        directory.begin = directory.end - size;
        directory.shift = directory.begin - offset;
        return true;
    }
    return false;
}

} // namespace

bool hasZip64Members(int fd)
{
    struct stat status = {};
    Directory directory;
    if (fstat(fd, &status) != 0 ||
        !findDirectory(fd, static_cast<std::uint64_t>(status.st_size), directory))
        return false;
    if (directory.elsewhere)
        return true;
    std::uint64_t at = directory.begin;
    while (at + kEntrySize <= directory.end) {
        std::array<unsigned char, kEntrySize> entry{};
        if (!readAt(fd, at, entry.data(), entry.size()) || !begins(entry.data(), "PK\1\2"))
            return false;
        const std::uint32_t offset = number(&entry[42], 4);
        std::array<unsigned char, kLocalSize> local{};
        if (offset == kElsewhere)
            return true;
        if (readAt(fd, directory.shift + offset, local.data(), local.size()) &&
            begins(local.data(), "PK\3\4") &&
            (number(&local[18], 4) == kElsewhere || number(&local[22], 4) == kElsewhere))
            return true;
        at += kEntrySize + number(&entry[28], 2) + number(&entry[30], 2) + number(&entry[32], 2);
    }
    return false;
}

} // namespace talo::worker
