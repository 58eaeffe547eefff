// A scheduled scan: which values it can have, and when two names mean the same.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace talo::store
{

enum class ScheduledScan { Full = 1, Quick = 3 };
enum class Frequency { Daily = 501, Weekly = 502 };
inline constexpr int kEveryDay = 8; // the weekday of a daily schedule

// As they are given, not yet judged.
struct ScheduleValues {
    std::string name;
    int type = 0;
    int frequency = 0;
    int weekday = 0; // 0 Sunday to 6 Saturday
    int hour = 0;
    int minute = 0;
};

inline bool operator==(const ScheduleValues &a, const ScheduleValues &b)
{
    return a.name == b.name && a.type == b.type && a.frequency == b.frequency &&
           a.weekday == b.weekday && a.hour == b.hour && a.minute == b.minute;
}

// Codes of the schedules' interface.
enum class ScheduleCode {
    Done = 0,
    NameTaken = 602,
    SameTimes = 603, // as another one of the same type
    NoSuchSchedule = 604,
    BadCharacter = 605,
    BadLength = 606,
    OutOfRange = 607,
    Refused = 608, // no room, or the store cannot be read or written
};

// Done, BadCharacter or BadLength. A name has 4 to 8 characters, which are letters and digits of
// any script; marks behind a letter belong to it, since there are scripts that cannot be written
// without, but count as characters of their own.
ScheduleCode fitnessOfName(std::string_view name);

// Names with the same key are the same name: without regard to case, and to whether an accent is
// part of its letter. Nothing for what is not UTF-8.
std::optional<std::string> keyOfName(std::string_view name);

bool inRange(const ScheduleValues &values); // of all but the name

} // namespace talo::store
