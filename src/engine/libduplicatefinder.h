// Search for files with equal content, and their deletion. Both run in the calling process, with
// its rights, and block.
#pragma once

#include "engine/export.h"

#include <list>
#include <map>
#include <string>

class TALO_ENGINE_EXPORT libDuplicateFinder
{
public:
    // Registers the function that DuplicateFinder() tells the path of the file it examines, on the
    // thread that called it and at most ten times a second; null for none. The text is UTF-8 and
    // valid only during the call.
    static void register_callback(void (*callback)(char *path));

    // Searches `folder` (UTF-8). `result` receives one entry a group: a readable key, and the
    // paths of the copies, oldest first. `fileCount` is the number of redundant copies (group size
    // less one, summed), `totalBytes` what deleting them frees; hard links of one inode are one
    // file. `mode` is 1. Returns 810 found; 801 none; 804 the folder cannot be read.
    static int DuplicateFinder(std::string folder,
                               std::map<std::string, std::list<std::string>> &result, int mode,
                               long long *fileCount, long long *totalBytes);

    // Deletes the listed files of `result`, each only while it is proved equal to a copy that
    // stays: the last copy is never deleted. Deleted files leave `result`, and so do groups with
    // one file left. Returns 811 all deleted; 803 the list is empty; 802 some could not be.
    static int DeleteDuplicateFiles(std::list<std::string> files,
                                    std::map<std::string, std::list<std::string>> &result,
                                    int *deletedCount);
};
