// Opening by a path of any length below an open folder, never through a symbolic link.
#pragma once

#include "files/safeopen.h"

#include <string>

namespace talo::files
{

// `relative` as a walk put it together: names with single slashes between them. Empty for the
// folder itself.
Result<OpenedFile> openFileBeneath(int root, const std::string &relative);
Result<OpenedFile> openFolderBeneath(int root, const std::string &relative);

// A folder's place and the name in it: where somebody acts on an absolute path by its last name.
struct PlaceAndName {
    OpenedFile folder;
    std::string name;
};
Result<PlaceAndName> openPlaceOf(const std::string &absolute);

} // namespace talo::files
