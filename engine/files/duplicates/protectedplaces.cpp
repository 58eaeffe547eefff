#include "files/duplicates/protectedplaces.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <fcntl.h>

namespace talo::files
{

ProtectedPlaces::ProtectedPlaces(const std::vector<std::string> &folders)
{
    for (const std::string &folder : folders) {
        struct stat status = {};
        if (stat(folder.c_str(), &status) == 0)
            folders_.push_back(identityOf(status));
    }
}

bool ProtectedPlaces::cover(int folder) const
{
    if (folders_.empty())
        return false;
    struct stat status = {};
    if (fstat(folder, &status) != 0)
        return true;
    Identity here = identityOf(status);
    UniqueFd held;
    for (int at = folder;;) {
        if (std::find(folders_.begin(), folders_.end(), here) != folders_.end())
            return true;
        UniqueFd above(openat(at, "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!above || fstat(above.get(), &status) != 0)
            return true;
        if (identityOf(status) == here) // above the topmost folder is itself
            return false;
        here = identityOf(status);
        held = std::move(above);
        at = held.get();
    }
}

} // namespace talo::files
