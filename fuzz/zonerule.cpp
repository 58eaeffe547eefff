// The rule by which a time zone goes on.
#include "target.h"

#include "schedule/zonerule.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const auto rule = schedule::ZoneRule::parse(fuzz::textOf(data, size));
    if (!rule || !rule->hasSummer())
        return 0;
    for (const std::int64_t year : {1970, 2000, 2026, 2100, 9999}) {
        const auto changes = rule->changesIn(year);
        // Either lies within the year, or as far from it as a rule's time may say.
        for (const auto &change : changes) {
            const std::int64_t distance = schedule::yearOf(change.moment) - year;
            fuzz::require(distance >= -1 && distance <= 1);
        }
    }
    return 0;
}
