// The store of scheduled scans.
#pragma once

#include "store/schedule.h"

#include <vector>

namespace talo::store
{

class Database;

struct StoredSchedule {
    std::int64_t id = 0; // never given to another
    ScheduleValues values;
    // The moment up to which its times are done with; seconds since 1970.
    std::int64_t settled = 0;
};

// May be used from any thread. What is asked for "now" is what the schedules' clock shows.
class ScheduleStore
{
public:
    static constexpr std::size_t kMostSchedules = 1000;

    explicit ScheduleStore(Database &database) : database_(database) {}

    struct Outcome {
        ScheduleCode code = ScheduleCode::Done;
        std::string reason; // of Refused
    };
    // What is refused is refused by the first of these that holds: BadCharacter, BadLength,
    // NameTaken, SameTimes, OutOfRange, NoSuchSchedule, Refused.
    Outcome add(const ScheduleValues &values, std::int64_t now);
    // Its times begin anew where they or the type change.
    Outcome edit(const std::string &name, const ScheduleValues &values, std::int64_t now);
    Outcome remove(const std::string &name);

    Outcome find(const std::string &name, ScheduleValues &values);
    // In the order of entry. Empty, or why they cannot be read.
    std::string list(std::vector<StoredSchedule> &schedules);

    // Empty, or why that cannot be stored. A schedule that is gone meanwhile is no failure.
    std::string settle(std::int64_t id, std::int64_t until);

    // Whether these could be the whole list: each right, none twice, not too many.
    static ScheduleCode check(const std::vector<ScheduleValues> &schedules);

    // For a transaction of the caller's that holds more than schedules: replaces the list.
    static bool write(Database &database, const std::vector<ScheduleValues> &schedules,
                      std::int64_t now);

private:
    Outcome failed(const char *what);
    Outcome judge(const ScheduleValues &values, std::int64_t besides);
    Outcome identify(const std::string &name, StoredSchedule &schedule);

    Database &database_;
};

} // namespace talo::store
