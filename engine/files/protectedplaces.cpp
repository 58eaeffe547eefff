#include "files/protectedplaces.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>

namespace talo::files
{

namespace
{

namespace fs = std::filesystem;

bool before(const Identity &a, const Identity &b)
{
    return a.device != b.device ? a.device < b.device : a.inode < b.inode;
}

// A part of a folder that is mounted elsewhere has nothing of the rest above it, so every folder
// counts by itself. What may not be listed cannot be mounted elsewhere by those who may not either.
void add(const std::string &root, std::vector<Identity> &found)
{
    struct stat status = {};
    if (stat(root.c_str(), &status) != 0)
        return;
    found.push_back(identityOf(status));
    std::error_code error;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error))
        if (lstat(entry->path().c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            found.push_back(identityOf(status));
}

} // namespace

ProtectedPlaces::ProtectedPlaces(std::vector<std::string> folders) : names_(std::move(folders))
{
    for (const std::string &folder : names_)
        add(folder, folders_);
    std::sort(folders_.begin(), folders_.end(), before);
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
        if (std::binary_search(folders_.begin(), folders_.end(), here, before))
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

bool ProtectedPlaces::coverByName(const std::string &path) const
{
    const std::string normal = fs::path(path).lexically_normal().string();
    return std::any_of(names_.begin(), names_.end(), [&](const std::string &name) {
        return normal.compare(0, name.size(), name) == 0 &&
               (normal.size() == name.size() || normal[name.size()] == '/');
    });
}

} // namespace talo::files
