// Releases as the publisher would make them, signed for a key of the tests.
#pragma once

#include "update/releasekey.h"

#include <cstdint>
#include <string>

namespace talo::test
{

update::ReleaseKey testReleaseKey();
std::string signRelease(const std::string &manifest); // 64 bytes

std::string sha256Of(const std::string &content); // hexadecimal digits

// A manifest's members; those that a test does not care about are right.
struct ReleaseText {
    std::string version = "99.0.0";
    std::string architecture = {}; // empty: this machine's
    std::string package = "package.deb";
    std::uint64_t size = 0;
    std::string sha256 = {};
    std::string date = "2026-11-21";
    std::string notes = "Better.";
    std::string text() const;
};

} // namespace talo::test
