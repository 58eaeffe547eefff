#include "files/result.h"

#include <cerrno>
#include <system_error>

namespace talo::files
{

namespace
{

// The system's own words where they already tell a person what is wrong.
const char *plainText(int code)
{
    switch (code) {
    case EACCES:
        return "permission denied";
    case EPERM:
        return "not permitted; it may be protected against changes";
    case ENOENT:
        return "it does not exist";
    case ENOTDIR:
        return "it is not a folder, or lies below something that is none";
    case EISDIR:
        return "it is a folder";
    case ELOOP:
        return "it is a symbolic link, or lies behind one";
    case EEXIST:
        return "something else has this name";
    case ENAMETOOLONG:
        return "its path is too long";
    case ENOSPC:
        return "no space is left on the drive";
    case EDQUOT:
        return "the disk quota is used up";
    case EROFS:
        return "the file system is read-only";
    case EIO:
        return "the drive cannot read or write it";
    case ESTALE:
        return "the file server no longer knows it";
    case EMFILE:
    case ENFILE:
        return "too many files are open";
    case ENOMEM:
        return "not enough memory";
    case EAGAIN:
    case EBUSY:
        return "it is in use";
    case EXDEV:
        return "it lies on another file system";
    case EOPNOTSUPP:
        return "the file system cannot do this";
    case ENXIO:
        return "it is a socket, or a device that is gone";
    default:
        return nullptr;
    }
}

} // namespace

Error systemError(int code)
{
    const char *text = plainText(code);
    return {code, text ? text : std::generic_category().message(code)};
}

} // namespace talo::files
