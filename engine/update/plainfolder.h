// Folders that hold plain files and nothing else.
#pragma once

#include "files/uniquefd.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace talo::update
{

// Names of the regular files in a folder, in alphabetical order; none where it cannot be read.
std::vector<std::string> plainFiles(const std::string &folder);

// Whose a file must be to be copied, and whose the copy becomes.
struct CopyRule {
    std::optional<uid_t> from; // a file of anybody else, or with further names, is refused
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0;
    bool flush = false;
};

// Copies content and time of a regular file of at most `kLargestDatabase` bytes into a new one.
// Empty, or why not.
inline constexpr std::uint64_t kLargestDatabase = std::uint64_t{2} << 30u;
std::string copyFile(const std::string &from, const std::string &to, const CopyRule &rule);

// Whether both can be read and have the same content.
bool sameContent(const std::string &one, const std::string &other);

// Makes what was done to the folder's entries last.
std::string flushFolder(const std::string &folder);

// Never through a link. What cannot be removed stays.
void removeTree(const std::string &path);

std::string because(const std::string &what, int error);

} // namespace talo::update
