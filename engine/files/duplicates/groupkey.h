// How a group of duplicates is called in the list that a person reads.
#pragma once

#include "files/duplicates/search.h"

#include <cstddef>
#include <string>

namespace talo::files
{

// "0001  IMG_2034.jpg  3 copies of 4.2 MB": the rank from 1 on, with as many digits as the number
// of all groups needs, so that keys sort as ranks do; the name of the oldest copy, fit to be shown.
std::string groupKey(std::size_t rank, std::size_t groups, const DuplicateGroup &group);

// "1 byte", "999 bytes", "4.2 MB", "326 MB": three digits at most, in steps of 1000.
std::string readableSize(std::uint64_t bytes);

} // namespace talo::files
