// A whole run of a scan in a window, from the application object to the exit code.
#pragma once

#include "programs/scanrequest.h"

namespace talo::programs
{

// Writes nothing to standard output or error, and lives on when whoever started it ends.
int runScanWindow(int &argc, char **argv, const ScanRequest &request);

} // namespace talo::programs
