// What talod and talo-disinfect say to each other.
//
// talo-disinfect is started for one file. It unpacks one part after the other into a file in memory
// that talod made, and asks about each; talod has the scan workers judge that memory. So talod
// never takes a descriptor from a process that parses hostile content, and whatever that process
// says or does not say of a part: what counts is that its result is found clean afterwards.
#pragma once

#include "scan/workerprotocol.h"

namespace talo::scan::disinfection
{

using protocol::Header;
using protocol::Kind;
using protocol::kMagic;
using protocol::kVersion;
using protocol::Text;

// Descriptors the program is started with.
constexpr int kSocketFd = 3;
constexpr int kOriginalFd = 4; // to be read, by position
constexpr int kResultFd = 5;   // to be written
constexpr int kPartFd = 6;     // the memory for one part

// More than this is not attempted.
constexpr std::uint32_t kMaxParts = 10000;
constexpr std::uint64_t kMaxPart = 256ull << 20;
constexpr std::uint64_t kMaxResult = 1ull << 30;

// The part in the memory is to be judged.
struct Judge {
    static constexpr Kind kKind = Kind{100};
    Header header{kMagic, kVersion, kKind};
};

enum class Fate : std::uint32_t { Keep, Drop };

// talod's answer.
struct Judged {
    static constexpr Kind kKind = Kind{101};
    Header header{kMagic, kVersion, kKind};
    Fate fate = Fate::Drop;
    std::uint32_t reserved = 0;
};

// The result is complete.
struct Finished {
    static constexpr Kind kKind = Kind{102};
    Header header{kMagic, kVersion, kKind};
    std::uint32_t removed = 0;
    std::uint32_t reserved = 0;
};

// There is no result.
struct Refused {
    static constexpr Kind kKind = Kind{103};
    Header header{kMagic, kVersion, kKind};
    Text reason;
};

} // namespace talo::scan::disinfection
