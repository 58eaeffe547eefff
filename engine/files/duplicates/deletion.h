// Deleting copies of a file, and never the last one.
//
// A file goes only while another file of its group, which stays, is held open and under its path,
// and both have been compared byte by byte with nobody writing to them in between. It is captured
// first (see removal.h), so that nothing that took its name meanwhile can go in its place. Two
// processes that delete each other's copies both look for the other copy after they have captured
// their own: at most one of them finds it.
//
// Killed at any moment, this leaves every content under the path of the copy that stays. The copy
// that was about to go may be left in a folder .talo-capture-… beside its place, where the next
// search finds it.
#pragma once

#include "files/duplicates/protectedplaces.h"
#include "files/identity.h"
#include "files/result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace talo::files
{

// What a search saw of a file.
struct SeenFile {
    Identity identity;
    std::uint64_t size = 0;
    std::uint64_t stamp = 0; // see timesStamp()
};

enum class Wish { Keep, Delete };

struct GroupMember {
    std::string path; // absolute; bytes
    Wish wish = Wish::Keep;
    std::optional<SeenFile> seen; // it must still be this; without it, only the content counts
};

enum class Fate {
    Kept,    // as wished, or as the last copy
    Deleted, // its content is under another path
    Refused, // was to be deleted and still exists
};

struct MemberFate {
    Fate fate = Fate::Kept;
    Error reason; // of a refusal
};

// Deletes what is wished of one group. Where that is every member, the first stays that is still
// there and what it was. Files of other users, and in protected places, are refused. A fate for
// each member, in their order.
std::vector<MemberFate> thinGroup(const std::vector<GroupMember> &group,
                                  const ProtectedPlaces &protectedPlaces);

} // namespace talo::files
