#include "service/callrate.h"

#include <algorithm>
#include <iterator>

namespace talo::service
{

namespace
{

// Who may make up users (in user namespaces) must not have them all remembered.
constexpr std::size_t kManyUsers = 256;

} // namespace

void CallRate::reckon(Allowance &allowance, Clock::time_point now)
{
    const std::chrono::duration<double> passed = now - allowance.reckoned;
    allowance.calls =
        std::min(double{kAtOnce}, allowance.calls + std::max(0.0, passed.count()) * kPerSecond);
    allowance.reckoned = now;
}

bool CallRate::admits(unsigned user, Clock::time_point now)
{
    if (users_.size() >= kManyUsers) {
        for (auto at = users_.begin(); at != users_.end();) {
            reckon(at->second, now);
            at = at->second.calls >= kAtOnce ? users_.erase(at) : std::next(at);
        }
    }
    Allowance &allowance = users_.try_emplace(user, Allowance{kAtOnce, now}).first->second;
    reckon(allowance, now);
    if (allowance.calls < 1)
        return false;
    allowance.calls -= 1;
    return true;
}

} // namespace talo::service
