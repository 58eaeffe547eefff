// Small helpers for the kernel's tree of devices.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace talo::guard::sysfs
{

// The names in a folder, sorted; none where it cannot be read.
std::vector<std::string> entries(const std::string &folder);

// A file's first line; empty where it cannot be read.
std::string read(const std::string &file);

// Empty for done, otherwise why not.
std::string write(const std::string &file, const std::string &value);

// The device number in a folder's file "dev".
std::optional<dev_t> number(const std::string &folder);

// Every block device below a device, and what is built on it (encryption, volumes), by folder.
std::vector<std::string> blockDevices(const std::string &root, const std::string &device);

} // namespace talo::guard::sysfs
