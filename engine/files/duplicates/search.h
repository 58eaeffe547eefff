// Files with equal content below a folder.
//
// Files of one size are looked at, first at their ends, then as a whole; equal are those with one
// digest of 128 bits. Symbolic links are not followed; what is not a regular file, is empty, cannot
// be read, or changes during the search is left out; of a file with many names one counts.
#pragma once

#include "files/duplicates/crew.h"
#include "files/identity.h"
#include "files/result.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace talo::files
{

struct Copy {
    std::string path; // absolute, without a symbolic link; bytes
    Identity identity;
    struct timespec modified = {};
    std::uint64_t stamp = 0; // of its times, see timesStamp()
};

// Two or more files with equal content, the oldest first.
struct DuplicateGroup {
    std::uint64_t size = 0; // of each
    std::vector<Copy> copies;

    std::uint64_t bytesToFree() const { return size * (copies.size() - 1); }
};

// The groups that free most come first. Only a folder that cannot be read is an error.
Result<std::vector<DuplicateGroup>> findDuplicates(const std::string &folder,
                                                   const PathProgress &progress);

} // namespace talo::files
