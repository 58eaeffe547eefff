// Whether the machine runs on its battery.
#pragma once

#include <string>

namespace talo::schedule
{

inline constexpr char kPowerSupplies[] = "/sys/class/power_supply";

// By the kernel's power supply class: no mains or USB charger is there that feeds the machine, and
// one is known that does not, or a battery of the machine's own is emptied. Where nothing can be
// read the answer is no.
bool onBattery(const std::string &supplies = kPowerSupplies);

} // namespace talo::schedule
