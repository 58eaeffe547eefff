#include "client/wholefile.h"

#include "files/safeopen.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::client
{

using files::UniqueFd;

namespace
{

constexpr int kMostNumbers = 100;

// A new file beside the one that it will replace; its name begins with a dot.
UniqueFd makeTemporary(int place, const std::string &name, std::string &temporary)
{
    for (int number = 0; number < kMostNumbers; ++number) {
        temporary =
            "." + name + "." + std::to_string(getpid()) + "." + std::to_string(number) + ".tmp";
        UniqueFd file(openat(place, temporary.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (file || errno != EEXIST)
            return file;
    }
    return UniqueFd();
}

} // namespace

UniqueFd openPlace(const std::string &folder)
{
    if (folder.empty() || folder.find('\0') != std::string::npos)
        return UniqueFd();
    return UniqueFd(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

bool writeWhole(int fd, const std::string &text)
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

bool flushPlace(int place)
{
    const UniqueFd readable(openat(place, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !readable || fsync(readable.get()) == 0 || errno == EINVAL;
}

bool replaceFile(int place, const std::string &name, const std::string &text)
{
    std::string temporary;
    const UniqueFd file = makeTemporary(place, name, temporary);
    if (!file)
        return false;
    if (!writeWhole(file.get(), text) ||
        renameat(place, temporary.c_str(), place, name.c_str()) != 0) {
        unlinkat(place, temporary.c_str(), 0);
        return false;
    }
    return flushPlace(place);
}

ReadResult readWhole(int place, const std::string &name, std::size_t most, std::string &text)
{
    const auto opened = files::openForReading(place, name);
    if (!opened || !S_ISREG(opened->status.st_mode))
        return ReadResult::Unreadable;
    text.clear();
    std::array<char, 65536> part{};
    for (;;) {
        const ssize_t count = read(opened->fd.get(), part.data(), part.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return ReadResult::Unreadable;
        if (count == 0)
            return ReadResult::Done;
        text.append(part.data(), static_cast<std::size_t>(count));
        if (text.size() > most)
            return ReadResult::TooLarge;
    }
}

} // namespace talo::client
