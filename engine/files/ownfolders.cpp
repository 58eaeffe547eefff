#include "files/ownfolders.h"

#include "files/identity.h"
#include "files/uniquefd.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace talo::files
{

namespace
{

namespace fs = std::filesystem;
constexpr int kDeepest = 4096; // a path has no more folders

// The folder itself and all above it.
std::vector<Identity> ancestry(int folder)
{
    std::vector<Identity> found;
    UniqueFd held;
    int current = folder;
    for (int depth = 0; depth < kDeepest; ++depth) {
        struct stat status = {};
        if (fstat(current, &status) != 0)
            break;
        const Identity identity = identityOf(status);
        if (!found.empty() && found.back() == identity)
            break; // the root is above itself
        found.push_back(identity);
        UniqueFd above(openat(current, "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!above)
            break;
        held = std::move(above);
        current = held.get();
    }
    return found;
}

bool contains(const std::vector<Identity> &all, const Identity &one)
{
    return std::find(all.begin(), all.end(), one) != all.end();
}

// A folder of the product that is mounted elsewhere has none of the product's roots above it.
bool hasFolderAmong(const std::string &root, const std::vector<Identity> &ancestors)
{
    std::error_code error;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        struct stat status = {};
        if (entry->is_directory(unknown) && lstat(entry->path().c_str(), &status) == 0 &&
            S_ISDIR(status.st_mode) && contains(ancestors, identityOf(status)))
            return true;
    }
    return false;
}

} // namespace

bool liesBelow(int folder, const std::vector<std::string> &roots)
{
    const std::vector<Identity> ancestors = ancestry(folder);
    for (const std::string &root : roots) {
        struct stat status = {};
        if (stat(root.c_str(), &status) != 0)
            continue;
        if (contains(ancestors, identityOf(status)) || hasFolderAmong(root, ancestors))
            return true;
    }
    return false;
}

bool namesBelow(const std::string &path, const std::vector<std::string> &roots)
{
    const std::string normal = fs::path(path).lexically_normal().string();
    return std::any_of(roots.begin(), roots.end(), [&](const std::string &root) {
        return normal.compare(0, root.size(), root) == 0 &&
               (normal.size() == root.size() || normal[root.size()] == '/');
    });
}

} // namespace talo::files
