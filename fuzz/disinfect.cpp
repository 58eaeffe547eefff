// An infected archive that loses parts: the first byte's bits say which.
#include "target.h"

#include "disinfect/archive.h"
#include "disinfect/rewrite.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    if (size == 0)
        return 0;
    const fuzz::MemoryFile original(fuzz::textOf(data + 1, size - 1));
    const fuzz::MemoryFile result;
    const fuzz::MemoryFile part;
    unsigned asked = 0;
    const auto ask = [&] {
        const bool drop = (*data >> (asked++ % 8) & 1u) != 0;
        return drop ? scan::disinfection::Fate::Drop : scan::disinfection::Fate::Keep;
    };
    try {
        const std::uint32_t removed =
            disinfect::rewrite({original.fd(), result.fd(), part.fd()}, ask);
        fuzz::require(removed <= scan::disinfection::kMaxParts);
    } catch (const disinfect::Refusal &) {
    }
    return 0;
}
