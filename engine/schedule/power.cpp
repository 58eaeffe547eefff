#include "schedule/power.h"

#include <filesystem>
#include <fstream>

namespace talo::schedule
{

namespace
{

std::string attribute(const std::filesystem::path &supply, const char *name)
{
    std::ifstream file(supply / name);
    std::string value;
    std::getline(file, value);
    return value;
}

} // namespace

bool onBattery(const std::string &supplies)
{
    std::error_code error;
    bool unplugged = false;
    bool emptied = false;
    std::filesystem::directory_iterator supply(supplies, error);
    for (; !error && supply != std::filesystem::directory_iterator(); supply.increment(error)) {
        if (attribute(*supply, "scope") == "Device") // of a mouse, say
            continue;
        const std::string type = attribute(*supply, "type");
        if (type == "Mains" || type.rfind("USB", 0) == 0) {
            if (attribute(*supply, "online") == "1")
                return false;
            unplugged = unplugged || type == "Mains";
        } else if (type == "Battery") {
            emptied = emptied || attribute(*supply, "status") == "Discharging";
        }
    }
    return emptied || unplugged;
}

} // namespace talo::schedule
