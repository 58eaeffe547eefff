// What scans leave out: which texts can be an entry, and when two mean the same.
#pragma once

#include <string>
#include <string_view>

namespace talo::store
{

enum class ExclusionKind { Location = 401, Extension = 402 };

struct Exclusion {
    ExclusionKind kind = ExclusionKind::Location;
    std::string text; // UTF-8, as it was given
};

inline bool operator==(const Exclusion &a, const Exclusion &b)
{
    return a.kind == b.kind && a.text == b.text;
}

// Codes of the exclusions' interface.
enum class ExclusionCode {
    Done = 0,
    DotOrSpace = 701,   // in an extension
    AlreadyThere = 702, // or one that means the same
    Unfit = 703,
    Refused = 704, // no room, or the store cannot be written
    NoSuchEntry = 705,
};

// Done, DotOrSpace or Unfit: empty, longer than 4,096 bytes, not UTF-8, with a control character or
// a comma (lists are joined by commas), or a location that is not absolute.
ExclusionCode fitness(const Exclusion &entry);

// Entries with the same pattern leave out the same. Of a location, repeated slashes, "." and
// slashes at the end do not count; ".." and links do, since where they lead is not in the text. Of
// an extension, the case of the letters A to Z does not count.
std::string patternOf(const Exclusion &entry);

} // namespace talo::store
