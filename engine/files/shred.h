// Destruction of files: content overwritten where it lies, name overwritten and removed.
//
// Everything is done on descriptors that are opened once and without following a link, so that
// whoever exchanges folders or files meanwhile changes nothing about what is overwritten.
#pragma once

#include "files/result.h"
#include "files/shredlayout.h"
#include "files/uniquefd.h"

#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace talo::files
{

struct ShredSettings {
    int passes = 1;
    std::vector<std::string> ownFolders; // nothing below them is ever shredded
};

enum class ShredFault {
    None = 0,
    NotFound = 1,
    NotAFile = 2, // or reached through a link
    NotPermitted = 3,
    OtherNames = 4,
    WriteFailed = 5,
    OwnFile = 6,
};

// With NotPermitted and all that comes before the first write the file is as it was. After
// WriteFailed a part of it may be noise.
struct ShredResult {
    ShredFault fault = ShredFault::None;
    std::string text;                // why, in words; empty where it succeeded
    std::vector<std::string> doubts; // why traces may remain nevertheless
};

// Called after each write, on the caller's thread, with bytes of all passes.
using ShredProgress = std::function<void(long long written, long long planned)>;

// Shreds any number of files. What can be done once for all of them is done by finish().
class FileShredder
{
public:
    explicit FileShredder(ShredSettings settings) : settings_(std::move(settings)) {}

    ShredResult shred(const std::string &path, const ShredProgress &progress = {});

    // Clears what still mentions the files that are gone: the journal, which may hold their names,
    // and places on drives that move data around. Both take an administrator's rights. Returns
    // doubts; calling it is not necessary for the content's destruction.
    std::vector<std::string> finish();

private:
    struct Touched {
        UniqueFd place;
        std::vector<PhysicalRange> freed;
    };

    ShredSettings settings_;
    std::map<dev_t, Touched> touched_;
};

} // namespace talo::files
