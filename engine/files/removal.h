// Removing one certain file, and no other, from a folder that others may change meanwhile.
//
// Checking a name and then unlinking it loses the race against somebody who exchanges what the name
// stands for in between. So the entry is first captured: renamed into a private folder beside it,
// where nobody else can touch it. There it is compared with what was meant, and only then unlinked.
// Anything else goes back under its name, replacing nothing.
#pragma once

#include "files/identity.h"
#include "files/result.h"

#include <optional>
#include <string>

namespace talo::files
{

// Removes `name` from the open folder if it is `wanted`. `token` (letters and digits, not to be
// guessed) names the capture folder, so that recoverCapture() finds it after a kill. Nothing: done.
std::optional<Error> removeExactly(int folder, const std::string &name, const Identity &wanted,
                                   const std::string &token);

// Clears away what removeExactly() left when it was killed: finishes the removal if the captured
// file is `wanted`, puts anything else back. Nothing to clear is no error.
std::optional<Error> recoverCapture(int folder, const std::string &name, const Identity &wanted,
                                    const std::string &token);

} // namespace talo::files
