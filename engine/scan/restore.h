// Putting a quarantined object back where it came from.
#pragma once

#include "files/result.h"
#include "scan/vaultobject.h"

#include <optional>
#include <string>

namespace talo::scan
{

// How the new file comes into being: without a name until it is complete, or, on file systems
// that cannot do that, under a hidden name.
enum class Creation { Unnamed, Hidden };

// Writes the live content to the record's path with the record's mode and times, with the rights of
// the calling thread. No link on the way is followed and nothing is replaced. Nothing: done, and
// safe on disk.
std::optional<files::Error> putInPlace(int object, const ObjectRecord &record, Creation creation);

// The same with no more rights than the recorded owner has, in whatever way the file system allows.
std::optional<files::Error> restoreAsOwner(int object, const ObjectRecord &record);

// Whether a file of the record's content, size and time of change stands under that name, be it the
// original or one that was restored: then the object in the quarantine is not needed.
bool standsInPlace(int folder, const std::string &name, const ObjectRecord &record);

} // namespace talo::scan
