// Which files were found clean with one set of signatures, so that the next scan need not look into
// what has not changed since.
#pragma once

#include "scan/verdict.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <sys/stat.h>
#include <vector>

namespace talo::scan
{

// Any thread. Only in memory: what is on a disk can be altered while we are away.
//
// A file is known by device, inode, size, and the times of its last change to the nanosecond; the
// time of the last change of status cannot be set by whoever may only write the file. Fingerprints
// are keyed with a secret, so that nobody can make one file's equal to another's.
class CleanFiles
{
public:
    // A file is remembered from the second scan on in which it has been left alone for so long:
    // writes through a memory map may be recorded late.
    static constexpr std::int64_t kSettledSeconds = 60;
    // 64 MiB; beyond that, an old one goes for each new one.
    static constexpr std::size_t kMost = std::size_t{1} << 22u;

    explicit CleanFiles(std::size_t most = kMost); // a power of two
    CleanFiles(const CleanFiles &) = delete;
    CleanFiles &operator=(const CleanFiles &) = delete;

    bool has(const struct stat &file, ScanOptions options) const;
    void add(const struct stat &file, ScanOptions options);

    // Whether the file has been left alone for long enough.
    static bool settled(const struct stat &file, std::time_t now);

private:
    using Fingerprint = std::array<std::uint64_t, 2>; // two zeros: an empty place
    using Key = std::array<unsigned char, 16>;
    static constexpr std::size_t kWays = 4; // places that a fingerprint may have

    Fingerprint fingerprint(const struct stat &file, ScanOptions options) const;
    Fingerprint *bucket(const Fingerprint &print);
    bool place(const Fingerprint &print);
    void grow();

    const std::size_t most_;
    Key key_;
    mutable std::mutex mutex_; // for all below
    std::vector<Fingerprint> places_;
    std::size_t used_ = 0;
};

} // namespace talo::scan
