// Zip archives with members that libclamav passes over in silence.
#pragma once

namespace talo::worker
{

// Whether a member's local header leaves its sizes to the zip64 extension, as archivers write them
// that read from a pipe. libclamav does not know the extension: it takes such a member to end
// behind the archive, leaves it packed, and calls the archive clean.
bool hasZip64Members(int fd);

} // namespace talo::worker
