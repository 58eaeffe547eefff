#include "files/duplicates/tree.h"

#include <algorithm>
#include <xxhash.h>

namespace talo::files
{

std::uint64_t timesStamp(const struct timespec &modified, const struct timespec &changed)
{
    const std::int64_t times[] = {modified.tv_sec, modified.tv_nsec, changed.tv_sec,
                                  changed.tv_nsec};
    return XXH3_64bits(times, sizeof times);
}

std::string Tree::relativePath(std::uint32_t folder) const
{
    std::vector<std::string_view> names;
    std::size_t length = 0;
    for (std::uint32_t at = folder; folders[at].name[0] != '\0'; at = folders[at].parent) {
        names.emplace_back(folders[at].name);
        length += names.back().size() + 1;
    }
    std::string path;
    path.reserve(length);
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.empty())
            path += '/';
        path += *name;
    }
    return path;
}

std::string Tree::relativePath(const FileRecord &file) const
{
    std::string path = relativePath(file.folder);
    if (!path.empty())
        path += '/';
    return path += nameOf(file);
}

std::string Tree::absolute(const std::string &relative) const
{
    if (relative.empty())
        return rootPath_;
    return (rootPath_ == "/" ? rootPath_ : rootPath_ + '/') + relative;
}

const char *Tree::keep(std::unique_ptr<char[]> block)
{
    blocks_.push_back(std::move(block));
    return blocks_.back().get();
}

} // namespace talo::files
