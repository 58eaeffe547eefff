// Whether a folder belongs to the product, by whatever way it was reached.
#pragma once

#include <string>
#include <vector>

namespace talo::files
{

// Whether the open folder is one of `roots` or lies below one, be it through a bind mount.
bool liesBelow(int folder, const std::vector<std::string> &roots);

// The same by the path's words alone, for folders that may not be looked into.
bool namesBelow(const std::string &path, const std::vector<std::string> &roots);

} // namespace talo::files
