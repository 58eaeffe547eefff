// Which schedules are due, and when it is worth asking again. Nothing is started here.
#pragma once

#include "schedule/nextrun.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace talo::schedule
{

struct Planned {
    std::int64_t id = 0;
    Times times;
    std::int64_t settled = 0; // see nextRun()
};

struct Present {
    std::int64_t now = 0;
    std::int64_t awakeFor = 0; // seconds since the service's start or the machine's last sleep
};

// What was missed while the machine was off or asleep is made good so many seconds after it is
// back, when the rush of a start is over.
inline constexpr std::int64_t kCatchUpAfter = 120;

struct Due {
    std::int64_t id = 0;
    std::int64_t since = 0; // the first of its times that was not run; later ones go with it
};

struct Agenda {
    std::vector<Due> due;             // the longest due first, then in the order given
    std::optional<std::int64_t> next; // the next moment at which something becomes due
};

Agenda agenda(const std::vector<Planned> &schedules, const Present &present, const Zone &zone);

} // namespace talo::schedule
