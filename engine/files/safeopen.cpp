#include "files/safeopen.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/openat2.h>
#include <memory>
#include <sys/syscall.h>

namespace talo::files
{

namespace
{

int openWithoutLinks(int parent, const std::string &path, std::uint64_t flags)
{
    struct open_how how = {};
    how.flags = flags | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(syscall(SYS_openat2, parent, path.c_str(), &how, sizeof how));
}

Result<OpenedFile> open(int parent, const std::string &path, std::uint64_t flags)
{
    // A name that the system would cut short at its zero byte is another name.
    if (path.find('\0') != std::string::npos)
        return Error{EINVAL, "its name holds a zero byte"};
    UniqueFd fd(openWithoutLinks(parent, path, flags));
    // Leaving the access time alone is for the file's owner and for root.
    if (!fd && errno == EPERM && (flags & O_NOATIME))
        fd.reset(openWithoutLinks(parent, path, flags & ~std::uint64_t{O_NOATIME}));
    if (!fd)
        return systemError(errno);
    OpenedFile opened;
    if (fstat(fd.get(), &opened.status) != 0)
        return systemError(errno);
    opened.fd = std::move(fd);
    return opened;
}

constexpr std::uint64_t kQuietly = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_NOATIME;

} // namespace

Result<OpenedFile> openForReading(int parent, const std::string &path)
{
    return open(parent, path, kQuietly);
}

Result<OpenedFile> openFolder(int parent, const std::string &path)
{
    return open(parent, path, kQuietly | O_DIRECTORY);
}

Result<OpenedFile> openFolderAsPlace(int parent, const std::string &path)
{
    return open(parent, path, O_PATH | O_NOFOLLOW | O_DIRECTORY);
}

Result<std::string> canonicalPath(const std::string &path)
{
    if (path.find('\0') != std::string::npos)
        return Error{EINVAL, "its name holds a zero byte"};
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    if (!real)
        return systemError(errno);
    return std::string(real.get());
}

} // namespace talo::files
