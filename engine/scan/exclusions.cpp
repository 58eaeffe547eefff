#include "scan/exclusions.h"

#include "scan/mounts.h"
#include "scan/trustedlinks.h"

#include <algorithm>

namespace talo::scan
{

Exclusions::Exclusions(const ExclusionPatterns &patterns)
    : extensions_(patterns.extensions.begin(), patterns.extensions.end())
{
    if (!patterns.locations.empty()) {
        const Mounts mounts;
        for (const std::string &location : patterns.locations) {
            locations_.insert(location);
            locations_.insert(followTrustedLinks(location, mounts));
        }
    }
    for (const std::string &extension : extensions_)
        longestExtension_ = std::max(longestExtension_, extension.size());
}

bool Exclusions::isLocation(const std::string &path) const
{
    return !locations_.empty() && locations_.count(path) != 0;
}

bool Exclusions::coversPath(const std::string &path) const
{
    if (isLocation(path) || isLocation("/"))
        return true;
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        if (isLocation(path.substr(0, slash)))
            return true;
    return false;
}

bool Exclusions::hasExtension(std::string_view fileName) const
{
    const std::size_t dot = fileName.rfind('.');
    if (extensions_.empty() || dot == fileName.npos || dot == 0)
        return false;
    const std::string_view extension = fileName.substr(dot + 1);
    if (extension.size() > longestExtension_)
        return false;
    std::string folded(extension);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return extensions_.count(folded) != 0;
}

} // namespace talo::scan
