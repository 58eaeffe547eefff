// Overwriting parts of an open file with noise.
#pragma once

#include "files/result.h"
#include "files/shred.h"
#include "files/shredlayout.h"

#include <optional>
#include <vector>

namespace talo::files
{

struct Overwritten {
    std::optional<Error> error;
    long long written = 0; // 0 with an error: the file is as it was
};

// Overwrites all ranges, `passes` times, each time down to the device. Several threads make noise
// and write it by turns, so that the device always has something to do.
Overwritten overwrite(int file, const std::vector<FileRange> &ranges, int passes,
                      const ShredProgress &progress);

} // namespace talo::files
