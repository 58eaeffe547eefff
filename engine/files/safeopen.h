// Opening files in folders that others may write to: never through a symbolic link, never blocking
// on a pipe, never leaving a trace.
#pragma once

#include "files/identity.h"
#include "files/result.h"
#include "files/uniquefd.h"

#include <string>

namespace talo::files
{

struct OpenedFile {
    UniqueFd fd;
    struct stat status = {};
};

// `parent` is a folder's descriptor or AT_FDCWD. No component of `path` may be a symbolic link.
// What was opened may be of any kind but a link: look at the status.
Result<OpenedFile> openForReading(int parent, const std::string &path);

// Only if it is a folder.
Result<OpenedFile> openFolder(int parent, const std::string &path);

// A folder to work in by name, without reading it: search permission suffices.
Result<OpenedFile> openFolderAsPlace(int parent, const std::string &path);

// An absolute path with every symbolic link in it followed.
Result<std::string> canonicalPath(const std::string &path);

} // namespace talo::files
