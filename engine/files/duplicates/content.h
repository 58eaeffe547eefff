// Looking into files that a walk took down: digests of their content, or the news that they are not
// what they were.
#pragma once

#include "files/duplicates/tree.h"
#include "files/safeopen.h"

#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

namespace talo::files
{

// 128 bits: that two different contents have one is beyond all chance. Somebody can make them on
// purpose, which is why nothing is ever deleted for its digest.
struct Digest {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
};
inline bool operator==(const Digest &a, const Digest &b)
{
    return a.low == b.low && a.high == b.high;
}
inline bool operator<(const Digest &a, const Digest &b)
{
    return std::tie(a.high, a.low) < std::tie(b.high, b.low);
}

// Up to this size the first look reads all of a file.
constexpr std::uint64_t kReadAtOnce = 32u << 10u;
// Larger files are read in segments by several threads at the same time, even one by many.
constexpr std::uint64_t kSegment = 32u << 20u;

inline std::uint64_t segmentsOf(std::uint64_t size)
{
    return (size + kSegment - 1) / kSegment;
}

// A thread's own: it holds the buffer.
class ContentReader
{
public:
    explicit ContentReader(const Tree &tree);

    // Of the whole content up to kReadAtOnce; beyond it of both ends, and of very large files also
    // of places between. Nothing: the file cannot be read, or is not what the walk saw.
    std::optional<Digest> firstLook(const FileRecord &file);
    // Of the segment of this number.
    std::optional<Digest> segment(const FileRecord &file, std::uint64_t number);

private:
    bool readAt(int fd, std::size_t into, std::size_t size, std::uint64_t offset);
    bool readSamples(int fd, std::uint64_t size, std::size_t &filled);

    const Tree &tree_;
    std::vector<unsigned char> buffer_;
};

// Of what was read one after the other.
Digest joined(const Digest *parts, std::size_t count);

// When the content of a file that is still what the walk saw was last changed.
std::optional<struct timespec> modifiedIfUnchanged(const Tree &tree, const FileRecord &file);

} // namespace talo::files
