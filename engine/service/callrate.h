// How many questions a user has, so that one who floods the service costs the others little.
#pragma once

#include <chrono>
#include <map>

namespace talo::service
{

// By user and not by connection, of which a user may open hundreds.
class CallRate
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr unsigned kPerSecond = 200;
    static constexpr unsigned kAtOnce = 400;

    // Takes one of the user's calls; false where none is left at this moment.
    bool admits(unsigned user, Clock::time_point now = Clock::now());

private:
    struct Allowance {
        double calls = kAtOnce;
        Clock::time_point reckoned;
    };
    static void reckon(Allowance &allowance, Clock::time_point now);

    std::map<unsigned, Allowance> users_;
};

} // namespace talo::service
