// Folders, such as the product's own, in which nothing is deleted or destroyed on a user's word.
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
    explicit ProtectedPlaces(std::vector<std::string> folders);

    // Whether this open folder is one of them or lies below one, by whatever path it was reached,
    // be it through a bind mount of a part of one. Also where that cannot be found out.
    bool cover(int folder) const;

    // The same by a path's words alone, for what may not be looked into.
    bool coverByName(const std::string &path) const;

private:
    std::vector<std::string> names_;
    std::vector<Identity> folders_; // sorted; with all below them
};

} // namespace talo::files
