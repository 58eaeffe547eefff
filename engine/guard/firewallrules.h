// The firewall's rules, as text for the kernel.
#pragma once

#include <string>

namespace talo::guard
{

inline constexpr char kFirewallTable[] = "taloantivirus";

// Connections that are older than the rules. For these to go on the kernel must be able to look for
// a packet's socket, which not every kernel is built for.
enum class Older { GoOn, MayHang };

// Each is one transaction and touches no table of others. The rules replace those that the table
// has and keep the table itself: while one takes another's place, single packets pass both.
std::string firewallRules(Older connections);
std::string noFirewallRules();

} // namespace talo::guard
