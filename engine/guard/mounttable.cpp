#include "guard/mounttable.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/sysmacros.h>

namespace talo::guard
{

namespace
{

bool isOctal(char digit)
{
    return digit >= '0' && digit <= '7';
}

// Blanks, line feeds and backslashes come as three octal digits.
std::string unescaped(const std::string &text)
{
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1]) &&
            isOctal(text[at + 2]) && isOctal(text[at + 3])) {
            out += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 +
                                     (text[at + 3] - '0'));
            at += 3;
        } else {
            out += text[at];
        }
    }
    return out;
}

// "36 35 8:17 / /media/stick rw,nosuid shared:1 - vfat /dev/sdb1 rw"
bool parseLine(const std::string &line, Mount &mount)
{
    std::istringstream words(line);
    int parent = 0;
    unsigned majorNumber = 0;
    unsigned minorNumber = 0;
    char colon = 0;
    std::string root;
    std::string word;
    if (!(words >> mount.id >> parent >> majorNumber >> colon >> minorNumber >> root >>
          mount.path) ||
        colon != ':')
        return false;
    while (words >> word && word != "-") {
    }
    if (!(words >> mount.type >> mount.source))
        return false;
    mount.device = makedev(majorNumber, minorNumber);
    mount.path = unescaped(mount.path);
    mount.source = unescaped(mount.source);
    return true;
}

} // namespace

std::vector<Mount> parseMounts(std::string_view mountinfo)
{
    std::vector<Mount> mounts;
    std::istringstream lines{std::string(mountinfo)};
    for (std::string line; std::getline(lines, line);) {
        Mount mount;
        if (parseLine(line, mount))
            mounts.push_back(mount);
    }
    return mounts;
}

std::vector<Mount> readMounts(const std::string &file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return parseMounts(text.str());
}

} // namespace talo::guard
