// Names for files and folders that nobody can foresee.
#pragma once

#include <cstddef>
#include <string>

namespace talo::files
{

// That many hexadecimal digits, at most 256, in lower case. Nobody can have made such a name
// before.
std::string randomName(std::size_t digits);

} // namespace talo::files
