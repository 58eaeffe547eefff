// Where the content of an open file lies.
#pragma once

#include <cstdint>
#include <sys/stat.h>
#include <vector>

namespace talo::files
{

// A part of a file, in bytes from its beginning.
struct FileRange {
    std::uint64_t start = 0;
    std::uint64_t length = 0;
};

// A part of the file system's own space, in bytes.
struct PhysicalRange {
    std::uint64_t start = 0;
    std::uint64_t length = 0;
};

struct FileLayout {
    // All that must be overwritten: in the file's order, without overlaps, in whole blocks. The
    // last one may reach beyond the file's end, up to the end of its block.
    std::vector<FileRange> ranges;
    // Where it lay before it was overwritten, as far as the file system tells.
    std::vector<PhysicalRange> places;
    bool shared = false; // with other files, which keep the content
};

// Holes are left out: nothing was ever stored there. Space that was set aside and is said to hold
// nothing is included, where the file system tells it from a hole: it may hold what the file
// contained before it was cleared.
FileLayout layoutOf(int file, const struct stat &status);

} // namespace talo::files
