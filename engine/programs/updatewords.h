// What is said of an update in the terminal.
#pragma once

#include "interface/types.h"

#include <QString>

namespace talo::programs
{

// "Downloading   42%  1.2 MB of 3.1 MB  800 KB/s"
QString updateLine(const interface::UpdateProgress &progress);

// What a run with a final status came to: "The signatures were updated."
QString updateOutcome(const interface::UpdateProgress &progress);

// Whether the latest is in use now.
bool isGoodUpdate(uint status);

} // namespace talo::programs
