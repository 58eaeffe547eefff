#include "isolation.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

template <typename Visit> void forEachEntry(int folder, Visit visit)
{
    const int copy = openat(folder, ".", kFolder);
    DIR *entries = copy < 0 ? nullptr : fdopendir(copy);
    if (!entries) {
        if (copy >= 0)
            close(copy);
        return;
    }
    while (const dirent *entry = readdir(entries)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            visit(entry->d_name);
    }
    closedir(entries);
}

bool removed(int folder, const char *name)
{
    return unlinkat(folder, name, 0) == 0 || unlinkat(folder, name, AT_REMOVEDIR) == 0;
}

// What cannot be removed at once is a folder with something in it, perhaps without permissions.
bool madeAccessible(int folder, const char *name)
{
    return fchmodat(folder, name, 0700, 0) == 0;
}

} // namespace

// A worker may have left anything here, also folders nested beyond any path's length: each is
// brought up to the top before it is emptied, so depth takes neither memory nor descriptors.
void emptyFolder(int top)
{
    unsigned long lifted = 0;
    bool again = true;
    while (again) {
        again = false;
        forEachEntry(top, [&](const char *name) {
            if (removed(top, name) || !madeAccessible(top, name))
                return;
            const int folder = openat(top, name, kFolder);
            if (folder < 0)
                return;
            forEachEntry(folder, [&](const char *inner) {
                const std::string higher = ".lifted" + std::to_string(lifted++);
                if (!removed(folder, inner) && madeAccessible(folder, inner) &&
                    renameat(folder, inner, top, higher.c_str()) == 0)
                    again = true;
            });
            close(folder);
            if (removed(top, name))
                again = true;
        });
    }
}

} // namespace talo::worker
