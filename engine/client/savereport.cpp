#include "client/savereport.h"

#include "client/reporttext.h"
#include "client/wholefile.h"

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

} // namespace

bool saveReport(const std::string &folder, const std::string &text)
{
    const UniqueFd place = openPlace(folder);
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
    if (!writeWhole(file.get(), text)) {
        unlinkat(place.get(), name.c_str(), 0);
        return false;
    }
    return flushPlace(place.get());
}

} // namespace talo::client
