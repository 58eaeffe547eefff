// Counts ahead of a scan what it will come to.
#pragma once

#include "files/identity.h"
#include "scan/job.h"
#include "scan/jobcontrol.h"

#include <optional>

namespace talo::scan
{

// Walks like the scan but opens no file, which is so much faster that the count is there soon.
// Rests while the job is paused; nothing if the job ends first.
std::optional<Tally> countAhead(std::vector<std::string> roots,
                                std::vector<files::Identity> leaveOut, JobControl &control);

} // namespace talo::scan
