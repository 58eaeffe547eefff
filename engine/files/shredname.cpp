#include "files/shredname.h"

#include "files/removal.h"
#include "files/shrednoise.h"
#include "files/uniquefd.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

namespace talo::files
{

namespace
{

constexpr int kTries = 8; // short names may be taken
constexpr std::size_t kTokenLength = 24;

std::optional<Error> exchanged()
{
    return Error{ESTALE, "its content is destroyed, but another file has its name now"};
}

bool stands(int folder, const std::string &name, const Identity &wanted)
{
    struct stat status = {};
    return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           identityOf(status) == wanted;
}

// Gives `name` a new value unless there is none to be had. An error: another file has it now.
std::optional<Error> renameToNoise(int folder, std::string &name, std::size_t length,
                                   const Identity &wanted)
{
    for (int attempt = 0; attempt < kTries; ++attempt) {
        const std::string noise = noiseName(length);
        if (noise.empty())
            return std::nullopt;
        if (renameat2(folder, name.c_str(), folder, noise.c_str(), RENAME_NOREPLACE) != 0) {
            if (errno == EEXIST)
                continue;
            return std::nullopt; // removal will tell what is wrong
        }
        if (!stands(folder, noise, wanted)) {
            renameat2(folder, noise.c_str(), folder, name.c_str(), RENAME_NOREPLACE);
            return exchanged();
        }
        name = noise;
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<Error> remove(int folder, const std::string &name, const Identity &wanted)
{
    auto error = removeExactly(folder, name, wanted, noiseName(kTokenLength));
    // Some network file systems cannot rename without replacing; the server decides there anyway.
    if (error && error->code == EINVAL && stands(folder, name, wanted) &&
        unlinkat(folder, name.c_str(), 0) == 0)
        return std::nullopt;
    if (error)
        error->text = "its content is destroyed, but its entry stays: " + error->text;
    return error;
}

// Eight capitals take one entry; any other name takes several, and may not fit between two.
std::string shortNoiseName()
{
    std::string name = noiseName(8);
    std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return name;
}

// FAT only marks an entry as free; the name stays until the entry is used again. So all free
// entries are used once: until the folder grows, or there are more new ones than it had at first.
void useFreeEntries(int folder)
{
    struct statfs system = {};
    constexpr decltype(system.f_type) kExfat = 0x2011BAB0;
    struct stat before = {};
    if (fstatfs(folder, &system) != 0 || fstat(folder, &before) != 0 ||
        (system.f_type != MSDOS_SUPER_MAGIC && system.f_type != kExfat))
        return;
    constexpr off_t kEntrySize = 32;
    constexpr off_t kMost = 65536;
    const off_t limit = std::min(before.st_size / kEntrySize, kMost) + 1;
    std::vector<std::string> made;
    for (off_t count = 0; count < limit; ++count) {
        const std::string name = shortNoiseName();
        const UniqueFd file(
            openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file)
            break;
        made.push_back(name);
        struct stat now = {};
        if (fstat(folder, &now) != 0 || now.st_size != before.st_size)
            break;
    }
    for (const std::string &name : made)
        unlinkat(folder, name.c_str(), 0);
}

} // namespace

std::optional<Error> destroyName(int folder, const std::string &name, const Identity &wanted)
{
    std::string current = name;
    // Twice the same length: the second takes the room that the true name has left. No flush in
    // between, for a folder's blocks are written as they are in the end.
    const std::size_t full = name.size();
    for (const std::size_t length : {full, full, (full + 1) / 2, std::size_t{1}})
        if (auto error = renameToNoise(folder, current, length, wanted))
            return error;
    if (auto error = remove(folder, current, wanted))
        return error;
    useFreeEntries(folder);
    return std::nullopt;
}

} // namespace talo::files
