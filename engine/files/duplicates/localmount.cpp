#include "files/duplicates/localmount.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string>

namespace talo::files
{

namespace
{

// Local, though no block device stands behind them in the kernel's eyes.
constexpr std::array<std::string_view, 5> kLocalWithoutDevice = {"tmpfs", "ramfs", "overlay", "zfs",
                                                                 "bcachefs"};

std::string contentOf(const char *path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::string_view takeLine(std::string_view &text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

// "id parent device root place options tags… - type source options"
std::string_view typeOf(std::uint64_t mountId, std::string_view mountinfo)
{
    constexpr std::string_view kBeforeType = " - ";
    const std::string begin = std::to_string(mountId) + ' ';
    while (!mountinfo.empty()) {
        const std::string_view line = takeLine(mountinfo);
        const std::size_t dash = line.find(kBeforeType);
        if (line.substr(0, begin.size()) != begin || dash == std::string_view::npos)
            continue;
        const std::string_view rest = line.substr(dash + kBeforeType.size());
        return rest.substr(0, rest.find(' '));
    }
    return {};
}

// "nodev<tab>type" or "<tab>type"
bool hasDevice(std::string_view type, std::string_view filesystems)
{
    const std::string wanted = '\t' + std::string(type);
    while (!filesystems.empty()) {
        if (takeLine(filesystems) == wanted)
            return true;
    }
    return false;
}

} // namespace

bool isLocalMount(std::uint64_t mountId, std::string_view mountinfo, std::string_view filesystems)
{
    const std::string_view type = typeOf(mountId, mountinfo);
    if (type.empty())
        return false;
    return hasDevice(type, filesystems) ||
           std::find(kLocalWithoutDevice.begin(), kLocalWithoutDevice.end(), type) !=
               kLocalWithoutDevice.end();
}

bool isLocalMount(std::uint64_t mountId)
{
    return isLocalMount(mountId, contentOf("/proc/self/mountinfo"), contentOf("/proc/filesystems"));
}

} // namespace talo::files
