// When the next automatic update is due.
#pragma once

#include "store/updatestore.h"

#include <chrono>
#include <ctime>

namespace talo::service
{

// A server's wish to be left alone may be for days, but not for ever.
inline constexpr std::time_t kLongestWish = std::time_t{7} * 24 * 60 * 60;

// Hours between updates by the setting's value.
std::chrono::hours updateInterval(int frequency);

// `chance` is a random number from 0 to 1: machines that were switched on together must not ask the
// servers together for ever. After runs that failed the first wait is short and doubles up to the
// interval. What the clock was set to does not put an update off by more than an interval.
std::time_t nextUpdate(const store::UpdateRecord &record, int frequency, std::time_t now,
                       double chance);

} // namespace talo::service
