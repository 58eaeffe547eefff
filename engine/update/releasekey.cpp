#include "update/releasekey.h"

#include <sodium.h>
#include <string_view>

namespace talo::update
{

std::optional<ReleaseKey> releaseKey()
{
    constexpr std::string_view kDigits = TALO_RELEASE_KEY; // checked when the build is configured
    ReleaseKey key{};
    std::size_t length = 0;
    if (sodium_hex2bin(key.data(), key.size(), kDigits.data(), kDigits.size(), nullptr, &length,
                       nullptr) != 0 ||
        length != key.size())
        return std::nullopt;
    return key;
}

} // namespace talo::update
