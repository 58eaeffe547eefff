// Shredding as the administrator has configured it, with the caller's rights.
#pragma once

#include "files/shred.h"

#include <string>
#include <vector>

namespace talo::client
{

// One pass by default: on a drive that overwrites in place a single pass of noise leaves nothing
// to be read; on others (see docs/security.md) no number of passes reaches what was left elsewhere.
constexpr int kUsualPasses = 1;
constexpr int kMostPasses = 35;

struct ShredConfiguration {
    int passes = kUsualPasses;
    std::vector<std::string> faults; // for people; the usual value stands for what is faulty
};

// The key Passes of the group Shredder. Of several files the last one that has it counts: the main
// file may hold a password and then is not for users to read. A file that does not exist is no
// fault.
ShredConfiguration readShredConfiguration(const std::vector<std::string> &files);

// The product's folders, and those of a service that this user runs for himself.
std::vector<std::string> productFolders();

// A shredder with all that, and at least so many passes; faults of the configuration are told to
// the log.
files::FileShredder configuredShredder(int leastPasses = 1);

// What should be known later goes to the system's log; never a file's name, which the shredder
// takes pains to destroy.
void logShredding(const std::string &text);

} // namespace talo::client
