// One run of freshclam: as somebody without rights, limited, and ended with all it has started.
#pragma once

#include "update/freshclamoutput.h"
#include "update/workfolder.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace talo::update
{

struct FreshclamTask {
    std::vector<std::string> arguments; // the program first
    std::string folder;                 // its working folder, which is its own
    Identity identity;
    std::chrono::seconds patience{0}; // ended when it has said nothing for so long
    std::chrono::seconds longest{0};  // ended after so long in any case
    int stop = -1;                    // ended when this descriptor becomes readable
    std::function<void(const FreshclamOutput &)> heard;
};

struct FreshclamEnd {
    enum class By { Exit, Signal, Stop, TooLong, NotStarted } by = By::NotStarted;
    int number = 0; // exit code, signal or errno value
};

// Blocks until it has ended. Its output is given to `output`.
FreshclamEnd runFreshclam(const FreshclamTask &task, FreshclamOutput &output);

} // namespace talo::update
