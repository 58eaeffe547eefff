#include "scan/cleanlink.h"

#include <linux/magic.h>
#include <sys/vfs.h>

namespace talo::scan
{

namespace
{

constexpr long kXfs = 0x58465342;
constexpr long kZfs = 0x2fc12fc1;

// File systems of this computer's own that record every change of a file in its times. Not among
// them: those in memory, where writes through a map leave no trace; FAT and its like, which know
// no time of the last change of status; and those of other computers.
bool recordsChanges(int fd)
{
    struct statfs system = {};
    if (fstatfs(fd, &system) != 0)
        return false;
    switch (static_cast<long>(system.f_type)) {
    case EXT4_SUPER_MAGIC: // ext2 and ext3 too
    case BTRFS_SUPER_MAGIC:
    case F2FS_SUPER_MAGIC:
    case kXfs:
    case kZfs:
        return true;
    default:
        return false;
    }
}

bool same(const struct timespec &one, const struct timespec &other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool unchanged(const struct stat &before, const struct stat &now)
{
    return before.st_dev == now.st_dev && before.st_ino == now.st_ino &&
           before.st_size == now.st_size && same(before.st_mtim, now.st_mtim) &&
           same(before.st_ctim, now.st_ctim);
}

} // namespace

bool CleanLink::trusted(const Candidate &file)
{
    const auto known = fileSystems_.find(file.status->st_dev);
    if (known != fileSystems_.end())
        return known->second;
    return fileSystems_[file.status->st_dev] = recordsChanges(file.fd);
}

std::optional<Verdict> CleanLink::judge(const Candidate &file)
{
    if (memory_.has(*file.status, options_))
        return Verdict{VerdictKind::Clean, {}};
    return std::nullopt;
}

void CleanLink::learn(const Candidate &file, const Verdict &verdict)
{
    if (verdict.kind != VerdictKind::Clean || !trusted(file))
        return;
    // The status is from before the scan, and so must the content have been.
    struct stat now = {};
    if (fstat(file.fd, &now) != 0 || !unchanged(*file.status, now) ||
        !CleanFiles::settled(now, now_(nullptr)))
        return;
    memory_.add(now, options_);
}

} // namespace talo::scan
