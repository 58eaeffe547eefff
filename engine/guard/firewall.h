// The product's own table of rules in the kernel.
#pragma once

#include "guard/nft.h"

#include <string>
#include <vector>

namespace talo::guard
{

// Needs the right to administer the network. One thread at a time. Texts that changes return say
// why they could not be made; empty for done.
class Firewall
{
public:
    std::string raise(); // also where it stands already, whole or not
    std::string lower();

    enum class Standing {
        Absent,
        Whole,
        Altered, // not as this process has put it in place
        Unknown, // the kernel could not be asked
    };
    struct State {
        Standing standing = Standing::Unknown;
        std::string failure;
    };
    // As the kernel has it now.
    State state();

    // Firewalls beside this one that are at work, by name. What one of them drops no other accepts
    // again, so whoever wonders about a connection must know of them.
    std::vector<std::string> others();

private:
    std::string put(const std::string &before);
    files::Result<std::string> listing(); // empty where there is no table

    Nft nft_;
    std::string asRaised_;
};

} // namespace talo::guard
