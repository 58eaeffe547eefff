// Scans leave nothing out yet: there are no entries, and new ones are refused.
#include "engine/libexcludesetting.h"

int libExcludeSetting::AddExcludeSettings([[maybe_unused]] std::string entry,
                                          [[maybe_unused]] int kind)
{
    constexpr int kRefused = 704;
    return kRefused;
}

int libExcludeSetting::RemoveExcludeSetting([[maybe_unused]] std::string entry,
                                            [[maybe_unused]] int kind)
{
    constexpr int kNoSuchEntry = 705;
    return kNoSuchEntry;
}

int libExcludeSetting::GetExcludeScanList(std::string &locations, std::string &extensions,
                                          int *locationCount, int *extensionCount)
{
    locations.clear();
    extensions.clear();
    for (int *count : {locationCount, extensionCount})
        if (count != nullptr)
            *count = 0;
    return 0;
}
