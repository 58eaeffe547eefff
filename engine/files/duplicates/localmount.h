// Which mounted file systems a search goes into.
#pragma once

#include <cstdint>
#include <string_view>

namespace talo::files
{

// Whether what is mounted is a drive of this machine, or keeps its files in memory: kernel faces
// such as /proc, automounters and servers are left alone, since reading them may act on them or
// wait for ever. By the number that statx() gives of a mount.
bool isLocalMount(std::uint64_t mountId);

// The same by the texts of /proc/self/mountinfo and /proc/filesystems.
bool isLocalMount(std::uint64_t mountId, std::string_view mountinfo, std::string_view filesystems);

} // namespace talo::files
