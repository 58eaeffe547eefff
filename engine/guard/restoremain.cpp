// talo-firewall-restore: puts the firewall in place while the machine starts, before there is a
// network and long before the service.
#include "guard/firewall.h"

#include <cstdio>

int main()
{
    talo::guard::Firewall firewall;
    const std::string failure = firewall.raise();
    if (failure.empty())
        return 0;
    std::fprintf(stderr, "<3>%s\n", failure.c_str());
    return 1;
}
