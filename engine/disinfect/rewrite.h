// Writes an archive again without its infected parts, or an office document without its macros.
#pragma once

#include "scan/disinfectprotocol.h"

#include <cstdint>
#include <functional>

namespace talo::disinfect
{

struct Files {
    int original = -1; // read by position
    int result = -1;   // written
    int part = -1;     // holds the part that is asked about
};

// Asks about the part that is held.
using Ask = std::function<scan::disinfection::Fate()>;

// Gives the number of removed parts, never none. Throws Refusal, or std::bad_alloc.
std::uint32_t rewrite(const Files &files, const Ask &ask);

} // namespace talo::disinfect
