// Opening the one file that is to be shredded, or saying why it must not be.
#pragma once

#include "files/shred.h"
#include "files/uniquefd.h"

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace talo::files
{

struct ShredTarget {
    UniqueFd place; // the folder it lies in
    std::string name;
    UniqueFd file; // open for writing
    struct stat status = {};
};

// Changes nothing. Nothing: `target` is open, is a regular file with this one name and may be both
// overwritten and removed; nobody else uses it as far as the system tells.
std::optional<ShredResult> openTarget(const std::string &path,
                                      const std::vector<std::string> &ownFolders,
                                      ShredTarget &target);

// What a failed system call means before anything has been written.
ShredResult refusal(int code);

} // namespace talo::files
