#include "guard/firewallrules.h"

namespace talo::guard
{

namespace
{

// To delete or empty what is not there is an error, so it is made first.
constexpr char kDelete[] = R"(
table inet taloantivirus
delete table inet taloantivirus
)";
constexpr char kEmpty[] = R"(
table inet taloantivirus
flush table inet taloantivirus
)";

// A desktop's: it may ask everybody and is asked by nobody.
//
// Neighbour discovery and listener reports keep IPv6 itself going; a hop limit of 255 and addresses
// of the link show that they were not sent from afar. DHCP answers come before the address that a
// connection could be remembered by, and mDNS questions go to a group, so neither is "established".
//
// Echo requests are counted before connections are looked at: to the kernel all requests with one
// identifier are one connection, and the first answer would free the rest from the limit.
constexpr char kBeforeRunning[] = R"(
table inet taloantivirus {
  comment "TALO Antivirus; the service puts it back while the firewall is on"
  counter dropped { }
  chain input {
    type filter hook input priority filter - 5; policy drop;
    iif "lo" accept
    icmp type echo-request limit rate 5/second burst 10 packets accept
    icmp type echo-request drop
    icmpv6 type echo-request limit rate 5/second burst 10 packets accept
    icmpv6 type echo-request drop
    ct state established,related accept
    ct state invalid drop
)";

// The kernel tracks connections only from the moment somebody's rules need it. One that is older is
// known by its socket; a listening one answers such a packet with a reset and opens nothing.
constexpr char kRunning[] = R"(
    tcp flags & syn == 0x0 ct state new socket wildcard 0 accept
)";

constexpr char kAfterRunning[] = R"(
    icmpv6 type { nd-neighbor-solicit, nd-neighbor-advert, nd-router-advert, nd-redirect } ip6 hoplimit 255 accept
    icmpv6 type { mld-listener-query, mld-listener-report, mld-listener-done, mld2-listener-report } ip6 saddr fe80::/10 accept
    icmpv6 type { destination-unreachable, packet-too-big, time-exceeded, parameter-problem } accept
    icmp type { destination-unreachable, time-exceeded, parameter-problem } accept
    ip daddr 224.0.0.0/4 ip protocol igmp accept
    udp sport 67 udp dport 68 accept
    ip6 daddr fe80::/10 udp dport 546 accept
    ip daddr 224.0.0.251 udp dport 5353 accept
    ip6 daddr ff02::fb udp dport 5353 accept
    counter name "dropped"
  }
}
)";

} // namespace

std::string firewallRules(Older connections)
{
    return std::string(kEmpty) + kBeforeRunning + (connections == Older::GoOn ? kRunning : "") +
           kAfterRunning;
}

std::string noFirewallRules()
{
    return kDelete;
}

} // namespace talo::guard
