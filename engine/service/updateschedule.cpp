#include "service/updateschedule.h"

#include <algorithm>
#include <array>

namespace talo::service
{

namespace
{

constexpr std::time_t kFirstWait = 300; // after one failure; doubles with each further one
constexpr unsigned kMostDoublings = 12;
constexpr double kSpread = 0.1;        // of the wait
constexpr double kSpreadOfRetry = 0.5; // servers that were down are asked by everybody

} // namespace

std::chrono::hours updateInterval(int frequency)
{
    constexpr std::array<int, 4> kHours{1, 2, 6, 24};
    const int known = std::clamp(frequency, 0, static_cast<int>(kHours.size()) - 1);
    return std::chrono::hours(kHours.at(static_cast<std::size_t>(known)));
}

std::time_t nextUpdate(const store::UpdateRecord &record, int frequency, std::time_t now,
                       double chance)
{
    const std::time_t interval = std::chrono::seconds(updateInterval(frequency)).count();
    std::time_t wait = interval;
    double spread = kSpread;
    if (record.failures > 0) {
        const unsigned doublings = std::min(record.failures - 1, kMostDoublings);
        wait = std::min<std::time_t>(interval, kFirstWait << doublings);
        spread = kSpreadOfRetry;
    }
    wait += static_cast<std::time_t>(static_cast<double>(wait) * spread * chance);
    const std::time_t due = std::min(record.attempted + wait, now + wait);
    return std::max(due, std::min(record.notBefore, now + kLongestWish));
}

} // namespace talo::service
