// How long a scan will go on, told steadily.
#pragma once

#include "scan/job.h"

#include <chrono>

namespace talo::scan
{

class RemainingTime
{
public:
    // `elapsed` does not grow while the scan is paused. -1 until it can be told.
    std::chrono::milliseconds estimate(const Tally &done, const Tally &total,
                                       std::chrono::milliseconds elapsed);

private:
    double rate_ = 0; // work per millisecond
    double lastWork_ = 0;
    std::chrono::milliseconds lastTime_{0};
};

} // namespace talo::scan
