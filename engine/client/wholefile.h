// Files in folders of the user's choice, with the rights of the calling process.
#pragma once

#include "files/uniquefd.h"

#include <cstddef>
#include <string>

namespace talo::client
{

// A folder to work in by name; nothing if it is none or cannot be reached.
files::UniqueFd openPlace(const std::string &folder);

// Writes and flushes.
bool writeWhole(int fd, const std::string &text);

// Flushes a folder's names. One that may be written but not read cannot be flushed, which is no
// failure: the file itself is.
bool flushPlace(int place);

// Puts a file of this name there, in the place of another if there is one. False: the folder is as
// it was.
bool replaceFile(int place, const std::string &name, const std::string &text);

enum class ReadResult { Done, Unreadable, TooLarge };
// Only a regular file, and not through a link.
ReadResult readWhole(int place, const std::string &name, std::size_t most, std::string &text);

} // namespace talo::client
