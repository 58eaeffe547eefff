// What a release of the program says of itself, and whether to believe it.
#pragma once

#include "files/result.h"
#include "update/releasekey.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace talo::update
{

inline constexpr std::size_t kLargestManifest = 65536;
inline constexpr std::size_t kSignatureSize = 64;
inline constexpr std::uint64_t kLargestPackage = std::uint64_t{512} << 20u;

struct Release {
    std::string version;      // one that compareVersions() understands
    std::string date;         // "2026-11-21"
    std::string notes;        // whatever the release says; for people, not yet made printable
    std::string architecture; // as Debian names it
    std::string package;      // an address, or a name beside the manifest
    std::uint64_t size = 0;
    std::array<unsigned char, 32> sha256{};
};

// As Debian names what this program was built for.
const char *thisArchitecture();

// A release that `key` has signed, byte for byte, and whose every value has its form. The text is
// not looked into before the signature has been found right. Strict: one object of exactly the
// known members, each of them once.
files::Result<Release> readManifest(std::string_view manifest, std::string_view signature,
                                    const ReleaseKey &key);

} // namespace talo::update
