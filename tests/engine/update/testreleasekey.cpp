// Takes the place of the product's key in programs that only tests build.
#include "engine/update/releasemaker.h"

namespace talo::update
{

std::optional<ReleaseKey> releaseKey()
{
    return test::testReleaseKey();
}

} // namespace talo::update
