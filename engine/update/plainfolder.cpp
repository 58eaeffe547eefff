#include "update/plainfolder.h"

#include "files/result.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace talo::update
{

namespace
{

using files::UniqueFd;

UniqueFd openPlain(const std::string &path, struct stat &status)
{
    UniqueFd fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd && fstat(fd.get(), &status) != 0)
        fd.reset();
    if (fd && !S_ISREG(status.st_mode)) {
        fd.reset();
        errno = EINVAL;
    }
    return fd;
}

bool writeAll(int fd, const char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = write(fd, bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

// 0, or an errno value.
int copyContent(int from, int to)
{
    std::array<char, 65536> part{};
    std::uint64_t copied = 0;
    for (;;) {
        const ssize_t count = read(from, part.data(), part.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return 0;
        copied += static_cast<std::uint64_t>(count);
        if (copied > kLargestDatabase)
            return EFBIG;
        if (!writeAll(to, part.data(), static_cast<std::size_t>(count)))
            return errno;
    }
}

} // namespace

std::string because(const std::string &what, int error)
{
    return what + ": " + files::systemError(error).text;
}

std::vector<std::string> plainFiles(const std::string &folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        if (std::filesystem::is_regular_file(entry->symlink_status(unknown)))
            names.push_back(entry->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string copyFile(const std::string &from, const std::string &to, const CopyRule &rule)
{
    struct stat status {
    };
    const UniqueFd source = openPlain(from, status);
    if (!source)
        return because(from + " cannot be read", errno);
    if (rule.from && (status.st_uid != *rule.from || status.st_nlink != 1))
        return from + " is not what the download made of it";
    const UniqueFd target(
        open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!target)
        return because(to + " cannot be made", errno);
    int error = copyContent(source.get(), target.get());
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    const auto failed = [](int result) { return result != 0 ? errno : 0; };
    if (error == 0 && geteuid() == 0)
        error = failed(fchown(target.get(), rule.owner, rule.group));
    if (error == 0)
        error = failed(fchmod(target.get(), rule.mode));
    if (error == 0)
        error = failed(futimens(target.get(), times.data()));
    if (error == 0 && rule.flush)
        error = failed(fsync(target.get()));
    return error == 0 ? std::string() : because(to + " cannot be written", error);
}

bool sameContent(const std::string &one, const std::string &other)
{
    struct stat first {
    };
    struct stat second {
    };
    const UniqueFd left = openPlain(one, first);
    const UniqueFd right = openPlain(other, second);
    if (!left || !right || first.st_size != second.st_size)
        return false;
    std::array<char, 65536> a{};
    std::array<char, 65536> b{};
    for (off_t at = 0; at < first.st_size;) {
        const ssize_t count = pread(left.get(), a.data(), a.size(), at);
        if (count <= 0 ||
            pread(right.get(), b.data(), static_cast<std::size_t>(count), at) != count)
            return false;
        if (std::memcmp(a.data(), b.data(), static_cast<std::size_t>(count)) != 0)
            return false;
        at += count;
    }
    return true;
}

std::string flushFolder(const std::string &folder)
{
    const UniqueFd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && fsync(fd.get()) == 0 ? std::string()
                                      : because(folder + " cannot be flushed", errno);
}

void removeTree(const std::string &path)
{
    std::error_code error;
    std::filesystem::remove_all(path, error);
}

} // namespace talo::update
