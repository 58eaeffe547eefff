// The pieces of quickScanRoots().
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace talo::scan
{

// The files that a process runs, from the text of its /proc/…/maps: each mapping that may be
// executed and has a file that is still there.
std::vector<std::string> programFilesIn(std::string_view maps);

// A user's places, whether they exist or not: Downloads and Desktop under whatever name the user's
// language gives them, and where programs start from.
std::vector<std::string> placesInHome(const std::string &home);

} // namespace talo::scan
