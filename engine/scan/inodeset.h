// The files a walk has met, whatever their names.
//
// File systems hand out inode numbers close together, so one bit each, 64 to a word, remembers
// millions of files in a few megabytes.
#pragma once

#include "files/identity.h"

#include <cstdint>
#include <unordered_map>

namespace talo::scan
{

class InodeSet
{
public:
    // False if it was there already.
    bool insert(const files::Identity &file)
    {
        std::uint64_t &word = words_[{file.device, file.inode / 64}];
        const std::uint64_t bit = std::uint64_t{1} << (file.inode % 64);
        const bool isNew = (word & bit) == 0;
        word |= bit;
        return isNew;
    }

private:
    struct Hash {
        std::size_t operator()(const files::Identity &key) const
        {
            // Multiplying by an odd constant spreads neighbouring numbers over all bits.
            const std::uint64_t mixed = (key.inode ^ (key.device << 40u)) * 0x9E3779B97F4A7C15u;
            return static_cast<std::size_t>(mixed ^ (mixed >> 32u));
        }
    };
    std::unordered_map<files::Identity, std::uint64_t, Hash> words_;
};

} // namespace talo::scan
