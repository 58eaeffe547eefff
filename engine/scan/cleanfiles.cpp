#include "scan/cleanfiles.h"

#include <sodium.h>

#include <algorithm>
#include <cstring>

namespace talo::scan
{

namespace
{

constexpr std::size_t kFirstSize = std::size_t{1} << 12u;

} // namespace

CleanFiles::CleanFiles(std::size_t most) : most_(std::max(most, kWays))
{
    randombytes_buf(key_.data(), key_.size());
}

bool CleanFiles::settled(const struct stat &file, std::time_t now)
{
    return std::max(file.st_ctim.tv_sec, file.st_mtim.tv_sec) + kSettledSeconds < now;
}

CleanFiles::Fingerprint CleanFiles::fingerprint(const struct stat &file, ScanOptions options) const
{
    const std::array<std::uint64_t, 8> facts{
        file.st_dev,
        file.st_ino,
        static_cast<std::uint64_t>(file.st_size),
        static_cast<std::uint64_t>(file.st_mtim.tv_sec),
        static_cast<std::uint64_t>(file.st_mtim.tv_nsec),
        static_cast<std::uint64_t>(file.st_ctim.tv_sec),
        static_cast<std::uint64_t>(file.st_ctim.tv_nsec),
        (options.archives ? 1u : 0u) | (options.packed ? 2u : 0u),
    };
    static_assert(crypto_shorthash_siphashx24_BYTES == sizeof(Fingerprint));
    static_assert(crypto_shorthash_siphashx24_KEYBYTES == sizeof(Key));
    std::array<unsigned char, sizeof(Fingerprint)> hash{};
    crypto_shorthash_siphashx24(hash.data(), reinterpret_cast<const unsigned char *>(facts.data()),
                                sizeof facts, key_.data());
    Fingerprint print{};
    std::memcpy(print.data(), hash.data(), sizeof print);
    print[0] |= 1u; // never an empty place
    return print;
}

CleanFiles::Fingerprint *CleanFiles::bucket(const Fingerprint &print)
{
    return &places_[print[1] & (places_.size() - 1) & ~(kWays - 1)];
}

bool CleanFiles::has(const struct stat &file, ScanOptions options) const
{
    const Fingerprint print = fingerprint(file, options);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (places_.empty())
        return false;
    const auto *const begin = const_cast<CleanFiles *>(this)->bucket(print);
    return std::find(begin, begin + kWays, print) != begin + kWays;
}

void CleanFiles::add(const struct stat &file, ScanOptions options)
{
    const Fingerprint print = fingerprint(file, options);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (places_.size() < most_ && used_ * 2 >= places_.size())
        grow();
    if (place(print))
        return;
    // Which of them goes hardly matters, and a fingerprint is as good as a die.
    bucket(print)[(print[0] >> 8u) & (kWays - 1)] = print;
}

// False where there is no free place.
bool CleanFiles::place(const Fingerprint &print)
{
    auto *const begin = bucket(print);
    for (auto *at = begin; at != begin + kWays; ++at) {
        if (*at == print)
            return true;
        if (*at == Fingerprint{}) {
            *at = print;
            ++used_;
            return true;
        }
    }
    return false;
}

void CleanFiles::grow()
{
    std::vector<Fingerprint> before(
        std::min(most_, std::max(std::min(kFirstSize, most_), places_.size() * 2)));
    before.swap(places_);
    used_ = 0;
    for (const Fingerprint &print : before)
        if (print != Fingerprint{})
            place(print);
}

} // namespace talo::scan
