// Whether this machine has a way out, told from the kernel's routing tables without any traffic.
#pragma once

#include <istream>
#include <set>
#include <string>

namespace talo::client
{

// `ipv4` and `ipv6` are in the form of /proc/net/route and /proc/net/ipv6_route; `up` names the
// interfaces that are up and have a carrier.
bool hasDefaultRoute(std::istream &ipv4, std::istream &ipv6, const std::set<std::string> &up);

bool hasDefaultRoute();

} // namespace talo::client
