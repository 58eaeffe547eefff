// The running firewall.
#pragma once

#include "engine/export.h"

class TALO_ENGINE_EXPORT Firewall
{
public:
    // 1 puts the product's own rules in place, 2 takes them away; no other table is touched.
    // Returns 0 once the kernel has accepted the change, any other value for failure. Any thread.
    static int TriggerFirewall(int state);
};
