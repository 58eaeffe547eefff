// Folders in which nothing is deleted as a duplicate.
#pragma once

#include "files/identity.h"

#include <string>
#include <vector>

namespace talo::files
{

class ProtectedPlaces
{
public:
    // Links in the paths are followed. Those that do not exist protect nothing.
    explicit ProtectedPlaces(const std::vector<std::string> &folders);

    // Whether this open folder is one of them or lies below one, by whatever path it was reached.
    // Also where that cannot be found out.
    bool cover(int folder) const;

private:
    std::vector<Identity> folders_;
};

} // namespace talo::files
