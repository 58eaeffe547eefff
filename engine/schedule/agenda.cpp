#include "schedule/agenda.h"

#include <algorithm>

namespace talo::schedule
{

Agenda agenda(const std::vector<Planned> &schedules, const Present &present, const Zone &zone)
{
    Agenda answer;
    for (const Planned &schedule : schedules) {
        std::int64_t at = nextRun(schedule.times, schedule.settled, present.now, zone);
        const std::int64_t since = at;
        if (since < present.now - present.awakeFor)
            at = present.now - present.awakeFor + kCatchUpAfter;
        if (at <= present.now)
            answer.due.push_back({schedule.id, since});
        else
            answer.next = std::min(at, answer.next.value_or(at));
    }
    std::stable_sort(answer.due.begin(), answer.due.end(),
                     [](const Due &a, const Due &b) { return a.since < b.since; });
    return answer;
}

} // namespace talo::schedule
