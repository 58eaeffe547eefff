// Moments in local time, as reports write them.
#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace talo::store
{

std::string keyOf(std::time_t when);         // "2026-11-21 14:05:09"
std::string dateOf(std::time_t when);        // "21 Nov 2026"
std::string minuteOf(std::time_t when);      // "21 Nov 2026 14:05"
std::string secondOf(std::time_t when);      // "21 Nov 2026 14:05:09"
std::string durationOf(std::time_t seconds); // "2 h 3 min 4 s"

// "2026-07-03" for the day "2026:7:3"; nothing for a text that is no day of the calendar or has
// any other form.
std::optional<std::string> dayOf(const std::string &bound);

} // namespace talo::store
