// Destruction of a file's content.
#pragma once

#include "engine/export.h"

class TALO_ENGINE_EXPORT libShred
{
public:
    // Overwrites the file at `path` (UTF-8), renames it to noise and removes it, with the rights
    // of the calling process; blocks. `*progress` counts the bytes overwritten and may be read
    // from another thread; it may be null. Returns 0; 1 not found; 2 not a regular file, or
    // reached through a link; 3 not permitted; 4 the file has other names; 5 a write failed;
    // 6 the product's own file. Any thread.
    static int shred(char const *path, long long *progress);
};
