// The administrator's configuration file: groups of keys, as in an INI file.
#pragma once

#include "files/result.h"

#include <map>
#include <string>

namespace talo::files
{

struct ConfigurationValue {
    std::string text;
    int line = 0; // where it stands, counted from 1
};
using ConfigurationGroup = std::map<std::string, ConfigurationValue>;

// One group's keys and values, without the blanks around them; empty where the file has no such
// group. Other groups are not looked at. An error unless the file belongs to root or to this
// process's user and others may not write it, or where a line is no key, a key comes twice or a
// value holds a control character. Errors tell a line's number and never the line, which may hold a
// password.
Result<ConfigurationGroup> readConfigurationGroup(const std::string &file,
                                                  const std::string &group);

} // namespace talo::files
