#include "engine/libshred.h"

#include "client/boundary.h"
#include "client/shredding.h"

namespace
{

// The counter is the caller's plain integer, which another of his threads may be reading.
void tell(long long *progress, long long written)
{
    if (progress != nullptr)
        __atomic_store_n(progress, written, __ATOMIC_RELAXED);
}

int shredOne(const char *path, long long *progress)
{
    tell(progress, 0);
    auto shredder = talo::client::configuredShredder();
    talo::files::ShredResult result =
        shredder.shred(path, [progress](long long written, long long) { tell(progress, written); });
    if (result.fault == talo::files::ShredFault::None)
        for (std::string &doubt : shredder.finish())
            result.doubts.push_back(std::move(doubt));
    if (!result.text.empty())
        talo::client::logShredding("A file was not shredded: " + result.text + ".");
    else
        for (const std::string &doubt : result.doubts)
            talo::client::logShredding("A file was shredded. " + doubt);
    return static_cast<int>(result.fault);
}

} // namespace

int libShred::shred(char const *path, long long *progress)
{
    constexpr int kNotFound = 1;
    constexpr int kFailed = 5;
    if (path == nullptr)
        return kNotFound;
    return talo::client::guarded(kFailed, [&] { return shredOne(path, progress); });
}
