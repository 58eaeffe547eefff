// The search for duplicates is not there yet: no folder is read and no file deleted.
#include "engine/libduplicatefinder.h"

void libDuplicateFinder::register_callback([[maybe_unused]] void (*callback)(char *path)) {}

int libDuplicateFinder::DuplicateFinder([[maybe_unused]] std::string folder,
                                        std::map<std::string, std::list<std::string>> &result,
                                        [[maybe_unused]] int mode, long long *fileCount,
                                        long long *totalBytes)
{
    constexpr int kCannotBeRead = 804;
    result.clear();
    for (long long *number : {fileCount, totalBytes})
        if (number != nullptr)
            *number = 0;
    return kCannotBeRead;
}

int libDuplicateFinder::DeleteDuplicateFiles(
    std::list<std::string> files,
    [[maybe_unused]] std::map<std::string, std::list<std::string>> &result, int *deletedCount)
{
    constexpr int kListIsEmpty = 803;
    constexpr int kSomeRemain = 802;
    if (deletedCount != nullptr)
        *deletedCount = 0;
    return files.empty() ? kListIsEmpty : kSomeRemain;
}
