#include "client/network.h"

#include <fstream>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/route.h>
#include <sstream>

namespace talo::client
{

namespace
{

bool usable(unsigned flags)
{
    return (flags & RTF_UP) != 0 && (flags & RTF_REJECT) == 0;
}

std::set<std::string> runningInterfaces()
{
    std::set<std::string> names;
    ifaddrs *first = nullptr;
    if (getifaddrs(&first) != 0)
        return names;
    for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
        const unsigned flags = entry->ifa_flags;
        if ((flags & IFF_UP) != 0 && (flags & IFF_RUNNING) != 0 && (flags & IFF_LOOPBACK) == 0)
            names.insert(entry->ifa_name);
    }
    freeifaddrs(first);
    return names;
}

bool ipv4Default(std::istream &table, const std::set<std::string> &up)
{
    std::string line;
    std::getline(table, line); // the headings
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string name;
        std::string destination;
        std::string gateway;
        std::string mask;
        std::string ignored;
        unsigned flags = 0;
        fields >> name >> destination >> gateway >> std::hex >> flags;
        fields >> ignored >> ignored >> ignored >> mask;
        if (fields && destination == "00000000" && mask == "00000000" && usable(flags) &&
            up.count(name) != 0)
            return true;
    }
    return false;
}

bool ipv6Default(std::istream &table, const std::set<std::string> &up)
{
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string destination;
        std::string length;
        std::string ignored;
        unsigned flags = 0;
        std::string name;
        fields >> destination >> length;
        for (int field = 0; field < 6; ++field)
            fields >> ignored;
        fields >> std::hex >> flags >> name;
        if (fields && length == "00" && destination == std::string(32, '0') && usable(flags) &&
            up.count(name) != 0)
            return true;
    }
    return false;
}

} // namespace

bool hasDefaultRoute(std::istream &ipv4, std::istream &ipv6, const std::set<std::string> &up)
{
    return ipv4Default(ipv4, up) || ipv6Default(ipv6, up);
}

bool hasDefaultRoute()
{
    std::ifstream ipv4("/proc/net/route");
    std::ifstream ipv6("/proc/net/ipv6_route");
    return hasDefaultRoute(ipv4, ipv6, runningInterfaces());
}

} // namespace talo::client
