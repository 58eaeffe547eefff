// Whether two open files have the same content.
#pragma once

#include "files/result.h"
#include "files/safeopen.h"

#include <optional>

namespace talo::files
{

// Byte by byte, and to the end of both. Nothing: they are equal.
std::optional<Error> compareContents(const OpenedFile &a, const OpenedFile &b);

} // namespace talo::files
