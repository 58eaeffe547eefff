// Which signatures are used, and what can be said of them without loading them.
#pragma once

#include <ctime>
#include <string>

namespace talo::service
{

struct SignatureSet {
    std::string kind; // "chosen", "updated", "system" or "built-in"
    std::string folder;
    std::string version;
    std::time_t time = 0;    // of the newest file; 0 if unknown
    std::time_t updated = 0; // when an update brought it; otherwise the same as `time`

    bool operator==(const SignatureSet &other) const
    {
        return kind == other.kind && folder == other.folder && version == other.version &&
               time == other.time;
    }
    bool operator!=(const SignatureSet &other) const { return !(*this == other); }
};

// The set of the given folder, or else the best there is: an updated one, the distribution's, the
// one that came with the product.
SignatureSet chooseSignatures(const std::string &chosenFolder, const std::string &stateFolder);

// "built-in, 2 signatures, 21 Nov 2026"; the number is left out while it is not known.
std::string describe(const SignatureSet &set, unsigned count);

} // namespace talo::service
