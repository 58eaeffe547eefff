// Which file systems are mounted where, and which of them a scan leaves alone.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace talo::scan
{

// Pseudo file systems hold no files but faces of the kernel, and reading them may act on it.
// Network file systems are their server's to scan, and one that does not answer would stop a scan
// for ever. Both are walked only where the user names a place on them.
enum class FileSystemKind { Local, Pseudo, Network };

// By the type's name as in /proc/self/mountinfo. "fuseblk" is a local drive; every other FUSE file
// system is answered by a program, often from the network, and counts as Network.
FileSystemKind kindOfFileSystem(std::string_view type);

// The mount points of this process.
class Mounts
{
public:
    Mounts() { reload(); }

    // The type of the file system mounted at exactly this path; empty if none is.
    std::string typeAt(const std::string &path) const;

    void reload();
    void parse(std::string_view mountinfo); // what reload() does with the file's content

private:
    struct Mount {
        int id = 0;
        int parent = 0;
        std::string type;
    };
    void add(const std::string &path, Mount mount);

    std::unordered_map<std::string, Mount> mounts_;
};

} // namespace talo::scan
