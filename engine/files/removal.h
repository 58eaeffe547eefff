// Removing one certain file, and no other, from a folder that others may change meanwhile.
//
// Checking a name and then unlinking it loses the race against somebody who exchanges what the name
// stands for in between. So the entry is first captured: renamed into a private folder beside it,
// where nobody else can touch it. There it is compared with what was meant, and only then unlinked.
// Anything else goes back under its name, replacing nothing.
#pragma once

#include "files/identity.h"
#include "files/result.h"

#include <functional>
#include <optional>
#include <string>

namespace talo::files
{

// Removes `name` from the open folder if it is `wanted`. `token` (letters and digits, not to be
// guessed) names the capture folder, so that recoverCapture() finds it after a kill. Nothing: done.
std::optional<Error> removeExactly(int folder, const std::string &name, const Identity &wanted,
                                   const std::string &token);

// The same, but only if `lastWord` has no objection. It is asked when the file is captured, so that
// nothing but the removal comes after its answer.
using LastWord = std::function<std::optional<Error>()>;
std::optional<Error> removeExactlyIf(int folder, const std::string &name, const Identity &wanted,
                                     const std::string &token, const LastWord &lastWord);

// As removeExactly(), and then gives `name` to `replacement`, an open file without a name on the
// same file system. Where another file has taken the name meanwhile, nothing is replaced. A kill
// between the two leaves what recoverCapture() makes a removal of.
std::optional<Error> replaceExactly(int folder, const std::string &name, const Identity &wanted,
                                    const std::string &token, int replacement);

// Clears away what removeExactly() or replaceExactly() left when it was killed: finishes the
// removal if the captured file is `wanted`, puts anything else back. Nothing to clear is no error.
std::optional<Error> recoverCapture(int folder, const std::string &name, const Identity &wanted,
                                    const std::string &token);

} // namespace talo::files
