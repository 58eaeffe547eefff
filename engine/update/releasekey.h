// The public key that releases of the program are signed for.
#pragma once

#include <array>
#include <optional>

namespace talo::update
{

using ReleaseKey = std::array<unsigned char, 32>; // Ed25519

// The key that this build was made with; none in a build that nobody releases. A program links one
// definition of it: the product's, or that of a test.
std::optional<ReleaseKey> releaseKey();

} // namespace talo::update
