#include "scan/remaining.h"

#include <algorithm>
#include <cmath>

namespace talo::scan
{

namespace
{

using std::chrono::milliseconds;

// To open a file and pass it to a worker takes about as long as searching this many bytes.
constexpr double kBytesPerFile = 16384;
constexpr milliseconds kFirstTold{3000};
constexpr milliseconds kSample{1000};
// How long the past weighs. Files differ so much that a shorter memory makes the figure jump.
constexpr double kMemory = 20000;

double work(const Tally &tally)
{
    return static_cast<double>(tally.bytes) + kBytesPerFile * static_cast<double>(tally.files);
}

} // namespace

milliseconds RemainingTime::estimate(const Tally &done, const Tally &total, milliseconds elapsed)
{
    const double now = work(done);
    const milliseconds passed = elapsed - lastTime_;
    if (passed >= kSample) {
        const double span = static_cast<double>(passed.count());
        const double current = (now - lastWork_) / span;
        // A young scan knows nothing but its average.
        const double weight =
            std::max(1 - std::exp(-span / kMemory), span / static_cast<double>(elapsed.count()));
        rate_ += weight * (current - rate_);
        lastWork_ = now;
        lastTime_ = elapsed;
    }
    if (total.files == 0 || elapsed < kFirstTold || rate_ <= 0)
        return milliseconds{-1};
    // From the last sample on, so that the figure falls between samples too.
    const double left = (work(total) - lastWork_) / rate_;
    const double since = static_cast<double>((elapsed - lastTime_).count());
    return milliseconds{static_cast<milliseconds::rep>(std::max(0.0, left - since))};
}

} // namespace talo::scan
