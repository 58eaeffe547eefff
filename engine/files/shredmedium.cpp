#include "files/shredmedium.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sstream>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

namespace talo::files
{

namespace
{

using Magic = std::uint32_t; // file systems differ in how they extend theirs to a long

constexpr Magic kXfs = 0x58465342;
constexpr Magic kF2fs = 0xF2F52010;
constexpr Magic kOverlay = 0x794C7630;
constexpr Magic kTmpfs = 0x01021994;
constexpr Magic kExt = 0xEF53;

constexpr std::uint64_t kNear = 64u << 20;

enum class Kind { CopyOnWrite, Network, Memory, Overlay, Opaque };

struct FileSystem {
    Magic magic;
    const char *name;
    Kind kind;
};

constexpr std::array<FileSystem, 21> kFileSystems{{
    {0x9123683E, "btrfs", Kind::CopyOnWrite},
    {0x2FC12FC1, "zfs", Kind::CopyOnWrite},
    {0xCA451A4E, "bcachefs", Kind::CopyOnWrite},
    {0x3434, "nilfs2", Kind::CopyOnWrite},
    {kF2fs, "f2fs", Kind::CopyOnWrite},
    {0x24051905, "ubifs", Kind::CopyOnWrite},
    {0x72B6, "jffs2", Kind::CopyOnWrite},
    {0x6969, "nfs", Kind::Network},
    {0xFF534D42, "cifs", Kind::Network},
    {0xFE534D42, "smb", Kind::Network},
    {0x517B, "smbfs", Kind::Network},
    {0x01021997, "9p", Kind::Network},
    {0x00C36400, "ceph", Kind::Network},
    {0x5346414F, "afs", Kind::Network},
    {0x0BD00BD0, "lustre", Kind::Network},
    {0x01161970, "gfs2", Kind::Network},
    {0x7461636F, "ocfs2", Kind::Network},
    {kTmpfs, "tmpfs", Kind::Memory},
    {kOverlay, "overlayfs", Kind::Overlay},
    {0x65735546, "fuse", Kind::Opaque},
    {0xF15F, "ecryptfs", Kind::Opaque},
}};

std::string doubtAbout(const FileSystem &system)
{
    const std::string name = system.name;
    switch (system.kind) {
    case Kind::CopyOnWrite:
        return "The file system (" + name +
               ") writes every change to a new place. The former content may remain in free space "
               "and in snapshots.";
    case Kind::Network:
        return "The file lies on a server (" + name +
               "). Whether it overwrites in place, and what copies it keeps, cannot be told here.";
    case Kind::Memory:
        return "The file lies in memory (" + name + "). What was swapped out may remain there.";
    case Kind::Overlay:
        return "The file lies on layers (" + name +
               "). If it came with a lower one, it remains there.";
    case Kind::Opaque:
        break;
    }
    return "The file system (" + name +
           ") is run by another program. Whether it overwrites in place cannot be told here.";
}

Magic magicOf(int fd)
{
    struct statfs system = {};
    return fstatfs(fd, &system) == 0 ? static_cast<Magic>(system.f_type) : 0;
}

std::string numberOf(dev_t device)
{
    return std::to_string(major(device)) + ":" + std::to_string(minor(device));
}

// One of the drive's properties; of a partition those of the drive it is on. Negative: not told.
long long queueProperty(dev_t device, const char *property)
{
    const std::string drive = "/sys/dev/block/" + numberOf(device);
    for (const char *queue : {"/queue/", "/../queue/"}) {
        std::ifstream file(drive + queue + property);
        if (long long value = 0; file >> value)
            return value;
    }
    return -1;
}

// Whether the options of one of the device's mounts hold this word.
bool mountedWith(dev_t device, const std::string &option)
{
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream words(line);
        std::string number;
        std::string options;
        words >> number >> number >> number; // the mount's, its parent's, the device's
        while (words >> options) {
        } // the file system's own options come last
        if (number == numberOf(device) &&
            ("," + options + ",").find("," + option + ",") != std::string::npos)
            return true;
    }
    return false;
}

// By a mark on the file, or by an option of the mount that applies to all of them.
bool journalsContent(int file, const struct stat &status)
{
    unsigned flags = 0;
    return (ioctl(file, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_JOURNAL_DATA_FL) != 0) ||
           mountedWith(status.st_dev, "data=journal");
}

// From the kernel's ext4; its own header is not among those that are always installed.
constexpr unsigned long kCheckpoint = _IOW('f', 43, std::uint32_t);
constexpr std::uint32_t kZeroOut = 2;

} // namespace

std::vector<std::string> doubtsAbout(int file, const struct stat &status, const FileLayout &layout)
{
    std::vector<std::string> doubts;
    const Magic magic = magicOf(file);
    for (const FileSystem &system : kFileSystems)
        if (system.magic == magic)
            doubts.push_back(doubtAbout(system));
    if (layout.shared)
        doubts.emplace_back("The file shares its content with another one (a clone or a snapshot), "
                            "which keeps it.");
    if (magic == kExt && journalsContent(file, status))
        doubts.emplace_back("The file system's journal takes in content as well. Parts of the file "
                            "may remain there.");
    if (queueProperty(status.st_dev, "rotational") == 0)
        doubts.emplace_back("The drive is solid-state. It may keep former copies where only its "
                            "maker can read them.");
    return doubts;
}

void discardFreed(int folder, std::vector<PhysicalRange> freed)
{
    struct stat status = {};
    if (fstat(folder, &status) != 0 || queueProperty(status.st_dev, "discard_max_bytes") == 0 ||
        mountedWith(status.st_dev, "discard"))
        return;
    std::sort(freed.begin(), freed.end(),
              [](const PhysicalRange &a, const PhysicalRange &b) { return a.start < b.start; });
    for (std::size_t index = 0; index < freed.size();) {
        struct fstrim_range trim = {};
        trim.start = freed[index].start;
        // What is in use between two of them is left alone, so that one call does for many.
        for (; index < freed.size() && freed[index].start <= trim.start + trim.len + kNear; ++index)
            trim.len = std::max<std::uint64_t>(trim.len, freed[index].start + freed[index].length -
                                                             trim.start);
        if (ioctl(folder, FITRIM, &trim) != 0)
            return;
    }
}

JournalState clearJournal(int folder)
{
    const Magic magic = magicOf(folder);
    if (magic == kXfs)
        return JournalState::Remains;
    if (magic != kExt)
        return JournalState::None;
    std::uint32_t flags = kZeroOut;
    if (ioctl(folder, kCheckpoint, &flags) == 0)
        return JournalState::Cleared;
    return errno == ENODEV ? JournalState::None : JournalState::Remains;
}

} // namespace talo::files
