// Starting the programs that look inside hostile files.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace talo::scan
{

// Starts the program with the given descriptors as its numbers 3, 4, … and no others, with nothing
// of ours in its surroundings. 0, or an errno value.
int spawnBare(const std::string &program, const std::vector<int> &descriptors, pid_t &pid);

} // namespace talo::scan
