#include "files/duplicates/beneath.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>

namespace talo::files
{

namespace
{

// What the system takes in one call, with the zero byte.
constexpr std::size_t kLongest = PATH_MAX - 1;

// Goes down as far as it must for the rest of the path to fit into one call.
Result<UniqueFd> approach(int from, std::string &path)
{
    UniqueFd place;
    while (path.size() > kLongest) {
        const std::size_t cut = path.rfind('/', kLongest);
        if (cut == std::string::npos || cut == 0)
            return systemError(ENAMETOOLONG);
        auto opened = openFolderAsPlace(place ? place.get() : from, path.substr(0, cut));
        if (!opened)
            return opened.error();
        place = std::move(opened->fd);
        path.erase(0, cut + 1);
    }
    return place;
}

using Open = Result<OpenedFile> (*)(int parent, const std::string &path);

Result<OpenedFile> openBeneath(int root, std::string path, Open open)
{
    if (path.size() <= kLongest)
        return open(root, path.empty() ? "." : path);
    auto place = approach(root, path);
    if (!place)
        return place.error();
    return open(place->get(), path);
}

} // namespace

Result<OpenedFile> openFileBeneath(int root, const std::string &relative)
{
    return openBeneath(root, relative, openForReading);
}

Result<OpenedFile> openFolderBeneath(int root, const std::string &relative)
{
    return openBeneath(root, relative, openFolder);
}

Result<PlaceAndName> openPlaceOf(const std::string &absolute)
{
    const std::size_t slash = absolute.rfind('/');
    if (absolute.empty() || absolute.front() != '/')
        return Error{EINVAL, "it is not an absolute path"};
    std::string name = absolute.substr(slash + 1);
    if (name.empty() || name == "." || name == "..")
        return systemError(EISDIR);
    if (name.find('\0') != std::string::npos)
        return Error{EINVAL, "its name holds a zero byte"};
    auto folder =
        openBeneath(AT_FDCWD, absolute.substr(0, slash == 0 ? 1 : slash), openFolderAsPlace);
    if (!folder)
        return folder.error();
    return PlaceAndName{std::move(*folder), std::move(name)};
}

} // namespace talo::files
