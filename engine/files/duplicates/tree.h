// What a search remembers of millions of files: 32 bytes and the name for each.
#pragma once

#include "files/uniquefd.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace talo::files
{

// A folder, or a part of one: files of one folder that lie on another device (as some layered file
// systems have it), or whose names would make too large a block, are put into a further part.
struct FolderRecord {
    const char *name = nullptr;  // its own, ended by a zero byte; empty for the root
    const char *names = nullptr; // of its files
    dev_t device = 0;            // of its files
    std::uint32_t parent = 0;    // in Tree::folders
};

struct FileRecord {
    std::uint64_t size;
    std::uint64_t inode;
    std::uint64_t stamp;  // of its times, see timesStamp()
    std::uint32_t folder; // in Tree::folders
    std::uint32_t name;   // where its name begins in the folder's names
};
static_assert(sizeof(FileRecord) == 32, "millions of them are kept");

// One number for the times of last change, of content and of status: another number, another time.
std::uint64_t timesStamp(const struct timespec &modified, const struct timespec &changed);
inline std::uint64_t timesStamp(const struct stat &status)
{
    return timesStamp(status.st_mtim, status.st_ctim);
}

class Tree
{
public:
    Tree(UniqueFd root, std::string rootPath)
        : root_(std::move(root)), rootPath_(std::move(rootPath))
    {
    }

    int root() const { return root_.get(); }
    const FolderRecord &folderOf(const FileRecord &file) const { return folders[file.folder]; }
    const char *nameOf(const FileRecord &file) const { return folderOf(file).names + file.name; }
    // Below the root, and the whole. Bytes.
    std::string relativePath(const FileRecord &file) const;
    std::string relativePath(std::uint32_t folder) const;
    std::string absolute(const std::string &relative) const;

    // Keeps a block of names for as long as the tree lives.
    const char *keep(std::unique_ptr<char[]> block);

    std::vector<FolderRecord> folders;
    std::vector<FileRecord> files;

private:
    UniqueFd root_;
    std::string rootPath_;
    std::vector<std::unique_ptr<char[]>> blocks_;
};

} // namespace talo::files
