#include "files/duplicates/groupkey.h"

#include "files/printable.h"

#include <algorithm>
#include <cstdio>

namespace talo::files
{

namespace
{

constexpr std::size_t kLongestName = 120;
constexpr std::size_t kFewestDigits = 4;

} // namespace

std::string readableSize(std::uint64_t bytes)
{
    if (bytes < 1000)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    constexpr const char *kUnits[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // 999.5 would be shown as 1000.
    while (value >= 999.5) {
        value /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, value < 99.95 ? "%.1f %s" : "%.0f %s", value, kUnits[unit]);
    return text;
}

std::string groupKey(std::size_t rank, std::size_t groups, const DuplicateGroup &group)
{
    std::string key = std::to_string(rank);
    const std::size_t digits = std::max(kFewestDigits, std::to_string(groups).size());
    key.insert(0, digits - std::min(digits, key.size()), '0');
    const std::string &path = group.copies.front().path;
    key += "  " + printable(path.substr(path.rfind('/') + 1), kLongestName);
    key += "  " + std::to_string(group.copies.size()) + " copies of " + readableSize(group.size);
    return key;
}

} // namespace talo::files
