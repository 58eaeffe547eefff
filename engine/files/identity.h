// Which file it is, whatever its name.
#pragma once

#include <sys/stat.h>

namespace talo::files
{

struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
};

inline bool operator==(const Identity &a, const Identity &b)
{
    return a.device == b.device && a.inode == b.inode;
}
inline bool operator!=(const Identity &a, const Identity &b)
{
    return !(a == b);
}

inline Identity identityOf(const struct stat &status)
{
    return {status.st_dev, status.st_ino};
}

} // namespace talo::files
