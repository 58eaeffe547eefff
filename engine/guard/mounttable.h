// What is mounted where, as the kernel lists it.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace talo::guard
{

struct Mount {
    int id = 0; // never given to two mounts that stand at the same time
    dev_t device = 0;
    std::string path;
    std::string type;   // of the file system
    std::string source; // "/dev/sdb1"; whatever whoever mounted it chose to write
};

// In the order in which they were mounted. Lines that cannot be understood are left out.
std::vector<Mount> parseMounts(std::string_view mountinfo);
std::vector<Mount> readMounts(const std::string &file);

} // namespace talo::guard
