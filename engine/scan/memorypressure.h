// Whether anybody has to wait for memory, as the kernel tells it ("pressure stall information").
#pragma once

#include <string>
#include <vector>

namespace talo::scan
{

// The kernel's reports that concern this process: the machine's, and its control group's, which in
// a container is the one that tells of its neighbours. None where the kernel makes none.
std::vector<std::string> pressureReports();

// The share of the last ten seconds in which somebody waited for memory, in percent: the highest of
// the reports. One that cannot be read counts as none.
double memoryPressure(const std::vector<std::string> &reports);

} // namespace talo::scan
