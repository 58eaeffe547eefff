// talo-firewall-restore: puts the firewall in place while the machine starts, before there is a
// network and long before the service. With --lower it takes it away, for when the product goes.
#include "guard/firewall.h"

#include <cstdio>
#include <cstring>

int main(int argc, char **argv)
{
    const bool lower = argc == 2 && std::strcmp(argv[1], "--lower") == 0;
    if (argc > 1 && !lower) {
        std::fputs("usage: talo-firewall-restore [--lower]\n", stderr);
        return 2;
    }
    talo::guard::Firewall firewall;
    const std::string failure = lower ? firewall.lower() : firewall.raise();
    if (failure.empty())
        return 0;
    std::fprintf(stderr, "<3>%s\n", failure.c_str());
    return 1;
}
