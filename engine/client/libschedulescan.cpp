// Nothing starts scans by the clock yet: there are no schedules, and new ones are refused.
#include "engine/libschedulescan.h"

namespace
{

constexpr int kNoSuchSchedule = 604;
constexpr int kRefused = 608;

} // namespace

int libScheduleScan::GetScheduleList(std::string &list, int *count)
{
    list.clear();
    if (count != nullptr)
        *count = 0;
    return 0;
}

int libScheduleScan::RemoveScheduleScan([[maybe_unused]] char const *name)
{
    return kNoSuchSchedule;
}

int libScheduleScan::GetScheduleScanDetails([[maybe_unused]] char const *name,
                                            [[maybe_unused]] int *type,
                                            [[maybe_unused]] int *weekday,
                                            [[maybe_unused]] int *hour,
                                            [[maybe_unused]] int *minute)
{
    return kNoSuchSchedule;
}

int libScheduleScan::AddScheduleScan([[maybe_unused]] char const *name, [[maybe_unused]] int type,
                                     [[maybe_unused]] int frequency, [[maybe_unused]] int weekday,
                                     [[maybe_unused]] int hour, [[maybe_unused]] int minute)
{
    return kRefused;
}

int libScheduleScan::EditScheduleScan([[maybe_unused]] char const *oldName,
                                      [[maybe_unused]] char const *newName,
                                      [[maybe_unused]] int type, [[maybe_unused]] int frequency,
                                      [[maybe_unused]] int weekday, [[maybe_unused]] int hour,
                                      [[maybe_unused]] int minute)
{
    return kRefused;
}
