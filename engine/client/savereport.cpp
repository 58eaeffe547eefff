#include "client/savereport.h"

#include "client/reporttext.h"
#include "files/uniquefd.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace talo::client
{

namespace
{

using files::UniqueFd;

constexpr int kMostNumbers = 1000;

std::string stemFor(const std::string &text)
{
    std::string key = keyIn(text);
    if (key.empty())
        return "TALO Report";
    // FAT and Windows shares know no colon.
    std::replace(key.begin(), key.end(), ':', '-');
    return "TALO Report " + key;
}

bool writeAll(int fd, const std::string &text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t part = write(fd, text.data() + written, text.size() - written);
        if (part < 0 && errno == EINTR)
            continue;
        if (part <= 0)
            return false;
        written += static_cast<std::size_t>(part);
    }
    return fsync(fd) == 0;
}

} // namespace

bool saveReport(const std::string &folder, const std::string &text)
{
    if (folder.empty() || folder.find('\0') != std::string::npos)
        return false;
    const UniqueFd place(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!place)
        return false;
    const std::string stem = stemFor(text);
    std::string name = stem + ".txt";
    UniqueFd file;
    for (int number = 2;; ++number) {
        file.reset(openat(place.get(), name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (file || errno != EEXIST || number > kMostNumbers)
            break;
        name = stem + " (" + std::to_string(number) + ").txt";
    }
    if (!file)
        return false;
    if (!writeAll(file.get(), text)) {
        unlinkat(place.get(), name.c_str(), 0);
        return false;
    }
    // A folder that may be written but not read cannot be flushed; the file itself is.
    const UniqueFd readable(openat(place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !readable || fsync(readable.get()) == 0 || errno == EINVAL;
}

} // namespace talo::client
