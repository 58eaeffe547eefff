// What callers on the bus want to have stored: exclusions, names of schedules, settings.
#include "target.h"

#include "files/printable.h"
#include "store/exclusion.h"
#include "store/schedule.h"
#include "store/settingstable.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const std::string text(fuzz::textOf(data, size));
    for (const auto kind : {store::ExclusionKind::Location, store::ExclusionKind::Extension}) {
        const store::Exclusion entry{kind, text};
        if (store::fitness(entry) != store::ExclusionCode::Done)
            continue;
        const std::string pattern = store::patternOf(entry);
        fuzz::require(!pattern.empty());
        // The form that is compared is its own form.
        fuzz::require(store::patternOf({kind, pattern}) == pattern);
    }
    if (store::fitnessOfName(text) == store::ScheduleCode::Done) {
        const auto key = store::keyOfName(text);
        fuzz::require(key && store::keyOfName(*key) == key);
    }
    if (const auto group = store::groupNamed(text))
        fuzz::require(store::nameOf(*group) == text);
    for (const store::GroupRow &row : store::kGroups)
        (void)store::findSetting(row.group, text);
    const std::string shown = files::printable(text);
    fuzz::require(std::none_of(shown.begin(), shown.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F;
    }));
    fuzz::require(files::printable(text, 40).size() <= 40);
    return 0;
}
