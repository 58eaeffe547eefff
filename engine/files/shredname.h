// Taking a file's name away so that the folder's blocks no longer hold it.
#pragma once

#include "files/identity.h"
#include "files/result.h"

#include <optional>
#include <string>

namespace talo::files
{

// Renames `name` to noise of several lengths, then removes it, if and as long as it is `wanted`.
// Whatever else turns up under one of these names is put back. Nothing: it is gone.
std::optional<Error> destroyName(int folder, const std::string &name, const Identity &wanted);

} // namespace talo::files
