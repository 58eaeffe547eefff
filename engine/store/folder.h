// The folder that holds a service's state.
#pragma once

#include <string>

namespace talo::store
{

// Makes the folder (and what is missing above it) with mode 0700 and opens it. A folder that
// belongs to somebody else, is reached through a link or may be written by others is refused,
// because its content could be anybody's; one that others may only read is closed to them.
// Returns a descriptor that the caller closes, or -1 with the reason in `failure`.
int openPrivateFolder(const std::string &path, std::string &failure);

} // namespace talo::store
