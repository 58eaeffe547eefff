#include "guard/sysfs.h"

#include "files/result.h"
#include "files/uniquefd.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace talo::guard::sysfs
{

namespace
{

// A tree of devices is shallow; a loop in one could only come from a faulty driver.
constexpr int kDeepest = 16;

std::string below(std::string folder, const std::string &name)
{
    folder += '/';
    return folder += name;
}

bool isFolder(const std::string &path)
{
    struct stat status {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void addBuiltOn(const std::string &root, const std::string &folder, std::vector<std::string> &found,
                int depth)
{
    if (depth > kDeepest || std::find(found.begin(), found.end(), folder) != found.end())
        return;
    found.push_back(folder);
    const std::string all = root + "/class/block/";
    for (const std::string &holder : entries(folder + "/holders"))
        addBuiltOn(root, all + holder, found, depth + 1);
}

void addBelow(const std::string &root, const std::string &folder, std::vector<std::string> &found,
              int depth)
{
    if (depth > kDeepest)
        return;
    for (const std::string &name : entries(folder)) {
        const std::string path = below(folder, name);
        if (!isFolder(path))
            continue;
        if (name != "block") {
            addBelow(root, path, found, depth + 1);
            continue;
        }
        for (const std::string &disk : entries(path)) {
            const std::string whole = below(path, disk);
            addBuiltOn(root, whole, found, 0);
            for (const std::string &entry : entries(whole))
                if (const std::string part = below(whole, entry); number(part))
                    addBuiltOn(root, part, found, 0);
        }
    }
}

} // namespace

std::vector<std::string> entries(const std::string &folder)
{
    struct Close {
        void operator()(DIR *open) const { closedir(open); }
    };
    std::vector<std::string> names;
    const std::unique_ptr<DIR, Close> open(opendir(folder.c_str()));
    if (!open)
        return names;
    while (const dirent *const entry = readdir(open.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string read(const std::string &file)
{
    std::string line;
    std::ifstream stream(file);
    std::getline(stream, line);
    return line;
}

std::string write(const std::string &file, const std::string &value)
{
    const files::UniqueFd fd(open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!fd || ::write(fd.get(), value.data(), value.size()) != static_cast<ssize_t>(value.size()))
        return files::systemError(errno).text;
    return {};
}

std::optional<dev_t> number(const std::string &folder)
{
    unsigned majorNumber = 0;
    unsigned minorNumber = 0;
    char colon = 0;
    std::ifstream stream(folder + "/dev");
    if (!(stream >> majorNumber >> colon >> minorNumber) || colon != ':')
        return std::nullopt;
    return makedev(majorNumber, minorNumber);
}

std::vector<std::string> blockDevices(const std::string &root, const std::string &device)
{
    std::vector<std::string> found;
    addBelow(root, device, found, 0);
    return found;
}

} // namespace talo::guard::sysfs
