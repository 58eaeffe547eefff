#include "files/shredtarget.h"

#include "files/identity.h"
#include "files/ownfolders.h"
#include "files/safeopen.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/stat.h>
#include <sys/file.h>
#include <sys/syscall.h>

namespace talo::files
{

namespace
{

using Refusal = std::optional<ShredResult>;

ShredResult refuse(ShredFault fault, std::string text)
{
    return {fault, std::move(text), {}};
}

// The kernel's own structure: the C library's may lack the attributes of newer kernels.
Refusal attributeFault(int fd, bool folder)
{
    struct ::statx status = {};
    if (syscall(SYS_statx, fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status) != 0)
        return refusal(errno);
    const auto attributes = status.stx_attributes;
    if ((attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0)
        return refusal(EPERM);
    if (!folder && (attributes & STATX_ATTR_MOUNT_ROOT) != 0)
        return refuse(ShredFault::NotPermitted, "something is mounted on it");
    return std::nullopt;
}

// Found out beforehand: content that is gone under a name that stays would be neither here nor
// there.
Refusal removalFault(int place, const struct stat &file)
{
    if (faccessat(place, ".", W_OK | X_OK, AT_EACCESS) != 0)
        return refusal(errno);
    struct stat folder = {};
    if (fstat(place, &folder) != 0)
        return refusal(errno);
    const uid_t self = geteuid();
    if ((folder.st_mode & S_ISVTX) != 0 && self != 0 && self != file.st_uid &&
        self != folder.st_uid)
        return refusal(EACCES);
    return attributeFault(place, true);
}

Refusal kindFault(const struct stat &file)
{
    if (S_ISREG(file.st_mode))
        return std::nullopt;
    if (S_ISLNK(file.st_mode))
        return refusal(ELOOP);
    return refuse(ShredFault::NotAFile,
                  S_ISDIR(file.st_mode) ? "it is a folder" : "it is not a regular file");
}

// The locks by which programs tell each other that they work on a file.
Refusal useFault(int file)
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool locked = fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    if (locked || (flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK))
        return refusal(EBUSY);
    return std::nullopt;
}

Refusal openPlace(const std::string &path, ShredTarget &target)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    target.name = path.substr(slash == std::string::npos ? 0 : slash + 1);
    // A name that the system would cut short at its zero byte is another name.
    if (path.empty() || path.find('\0') != std::string::npos)
        return refusal(ENOENT);
    if (target.name.empty() || target.name == "." || target.name == "..")
        return refusal(EISDIR);
    // To be read for the sake of flushing it; where that is forbidden, search permission will do.
    auto opened = openFolder(AT_FDCWD, folder);
    if (!opened && opened.error().code == EACCES)
        opened = openFolderAsPlace(AT_FDCWD, folder);
    if (!opened)
        return refusal(opened.error().code);
    target.place = std::move(opened->fd);
    return std::nullopt;
}

// Looked at before it is opened for writing, since opening a pipe or a device may do something.
Refusal lookAt(ShredTarget &target)
{
    const UniqueFd seen(
        openat(target.place.get(), target.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!seen || fstat(seen.get(), &target.status) != 0)
        return refusal(errno);
    if (auto fault = kindFault(target.status))
        return fault;
    if (target.status.st_nlink > 1)
        return refuse(ShredFault::OtherNames, "it has other names (hard links), which would stay");
    if (auto fault = attributeFault(seen.get(), false))
        return fault;
    return removalFault(target.place.get(), target.status);
}

Refusal openForWriting(ShredTarget &target)
{
    UniqueFd file(openat(target.place.get(), target.name.c_str(),
                         O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        return refusal(errno);
    struct stat status = {};
    if (fstat(file.get(), &status) != 0)
        return refusal(errno);
    if (identityOf(status) != identityOf(target.status) || status.st_nlink != 1)
        return refuse(ShredFault::NotFound, "it was exchanged for another file meanwhile");
    target.status = status;
    target.file = std::move(file);
    return useFault(target.file.get());
}

ShredFault faultOf(int code)
{
    switch (code) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case EINVAL:
        return ShredFault::NotFound;
    case ELOOP:
    case EISDIR:
    case ENXIO:
        return ShredFault::NotAFile;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EBUSY:
    case EAGAIN:
        return ShredFault::NotPermitted;
    default:
        return ShredFault::WriteFailed;
    }
}

} // namespace

ShredResult refusal(int code)
{
    if (code == ETXTBSY)
        return refuse(ShredFault::NotPermitted, "it is a program that is running, or swap space");
    return refuse(faultOf(code), systemError(code).text);
}

Refusal openTarget(const std::string &path, const std::vector<std::string> &ownFolders,
                   ShredTarget &target)
{
    const auto own = [] { return refuse(ShredFault::OwnFile, "it belongs to this product"); };
    if (namesBelow(path, ownFolders))
        return own();
    if (auto fault = openPlace(path, target))
        return fault;
    if (liesBelow(target.place.get(), ownFolders))
        return own();
    if (auto fault = lookAt(target))
        return fault;
    return openForWriting(target);
}

} // namespace talo::files
