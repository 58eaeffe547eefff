// What the settings leave out of a scan, asked for every entry that a walk meets: the answer takes
// as long for ten thousand exclusions as for one.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace talo::scan
{

struct ExclusionPatterns {
    std::vector<std::string> locations;  // absolute, without slashes at the end
    std::vector<std::string> extensions; // in lower case, without the dot
};

class Exclusions
{
public:
    Exclusions() = default; // nothing
    // A location is left out under the name it was given and, where links lead there that only the
    // administrator could have placed, under the name that a walk meets it by.
    explicit Exclusions(const ExclusionPatterns &patterns);

    // Whether this very path is a location. A walk that comes from above asks nothing more.
    bool isLocation(const std::string &path) const;
    // Whether it is one or lies below one.
    bool coversPath(const std::string &path) const;
    // By what follows the last dot in a file's name; a dot that begins it makes no extension. The
    // case of the letters A to Z does not count.
    bool hasExtension(std::string_view fileName) const;

private:
    std::unordered_set<std::string> locations_;
    std::unordered_set<std::string> extensions_;
    std::size_t longestExtension_ = 0;
};

} // namespace talo::scan
