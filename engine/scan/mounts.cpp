#include "scan/mounts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <sstream>
#include <vector>

namespace talo::scan
{

namespace
{

constexpr std::array<std::string_view, 22> kPseudo = {
    "autofs", "binder",   "binfmt_misc", "bpf",        "cgroup", "cgroup2", "configfs", "debugfs",
    "devpts", "efivarfs", "fusectl",     "hugetlbfs",  "mqueue", "nfsd",    "nsfs",     "proc",
    "pstore", "resctrl",  "rpc_pipefs",  "securityfs", "sysfs",  "tracefs",
};

constexpr std::array<std::string_view, 17> kNetwork = {
    "9p",    "afs", "beegfs", "ceph",  "cifs",     "coda", "gfs2",  "glusterfs", "lustre",
    "ncpfs", "nfs", "nfs4",   "ocfs2", "orangefs", "smb3", "smbfs", "virtiofs",
};

template <class List> bool contains(const List &list, std::string_view value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Blanks, line feeds and backslashes come as three octal digits.
std::string unescape(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        if (text[i] == '\\' && i + 3 < text.size() &&
            std::from_chars(&text[i + 1], &text[i + 1] + 3, value, 8).ptr == &text[i + 1] + 3) {
            out += static_cast<char>(value);
            i += 3;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::vector<std::string_view> fields(std::string_view line)
{
    std::vector<std::string_view> out;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(' '), line.size());
        out.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return out;
}

bool isBelow(const std::string &path, const std::string &folder)
{
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
           (folder == "/" || path[folder.size()] == '/');
}

int number(std::string_view text)
{
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

FileSystemKind kindOfFileSystem(std::string_view type)
{
    if (contains(kPseudo, type))
        return FileSystemKind::Pseudo;
    if (contains(kNetwork, type) || type == "fuse" || type.substr(0, 5) == "fuse.")
        return FileSystemKind::Network;
    return FileSystemKind::Local;
}

std::string Mounts::typeAt(const std::string &path) const
{
    const auto found = mounts_.find(path);
    return found == mounts_.end() ? std::string() : found->second.type;
}

void Mounts::reload()
{
    std::ifstream file("/proc/self/mountinfo", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    parse(text.str());
}

void Mounts::parse(std::string_view mountinfo)
{
    mounts_.clear();
    while (!mountinfo.empty()) {
        const std::size_t end = std::min(mountinfo.find('\n'), mountinfo.size());
        const std::vector<std::string_view> parts = fields(mountinfo.substr(0, end));
        mountinfo.remove_prefix(std::min(end + 1, mountinfo.size()));
        // id, parent, device, root, mount point, options, any number of tags, "-", type, …
        const auto dash = std::find(parts.begin(), parts.end(), "-");
        if (dash - parts.begin() < 6 || parts.end() - dash < 2)
            continue;
        add(unescape(parts[4]), {number(parts[0]), number(parts[1]), std::string(dash[1])});
    }
}

void Mounts::add(const std::string &path, Mount mount)
{
    // A later mount hides what was mounted below its place before.
    for (auto it = mounts_.begin(); it != mounts_.end();) {
        const bool hidden = isBelow(it->first, path) && it->second.parent != mount.id;
        it = hidden ? mounts_.erase(it) : std::next(it);
    }
    mounts_[path] = std::move(mount);
}

} // namespace talo::scan
