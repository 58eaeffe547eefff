// Files of the time zone database, and what the variable TZ can hold.
#include "target.h"

#include "schedule/zone.h"

namespace
{

constexpr std::int64_t kMoments[] = {
    -5'000'000'000, -1, 0, 951'782'400, 1'700'000'000, 4'102'444'800, 32'503'680'000};

void use(const talo::schedule::Zone &zone)
{
    constexpr std::int64_t kWeek = 604'800; // no zone is further from UTC
    for (const std::int64_t moment : kMoments) {
        const std::int64_t offset = zone.offsetAt(moment);
        talo::fuzz::require(offset > -kWeek && offset < kWeek);
        (void)zone.momentOf(moment);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const std::string_view text = fuzz::textOf(data, size);
    if (const auto zone = schedule::Zone::parse(text))
        use(*zone);
    return 0;
}
